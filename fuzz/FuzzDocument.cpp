// The document reader: the same XML given to the paragraph reader and to the relationship reader.
#include "Fuzz.h"
#include "updater/UpdaterInternals.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray xml = Fuzz::bytes(data, size);
    Fuzz::guarded([&] { OfficialUpdates::readParagraphs(xml); });
    return Fuzz::guarded([&] {
        for (const QString& target : OfficialUpdates::readRelationships(xml))
            Fuzz::require(!target.contains(QLatin1StringView("..")) && !target.startsWith(QLatin1Char('/')));
    });
}
