// The document reader: the same XML given to the paragraph reader and to the relationship reader.
#include "Fuzz.h"
#include "updater/UpdaterInternals.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray xml = Fuzz::bytes(data, size);
    Fuzz::guarded([&] { OfficialUpdates::readParagraphs(xml); });
    // Only images inside the archive's media folder are listed. A name that could still climb out of it
    // ("media/../x") is listed like any other and refused when the member is read: names with ".." anywhere, a
    // harmless "image..png" included, never reach unzip.
    return Fuzz::guarded([&] {
        for (const QString& target : OfficialUpdates::readRelationships(xml))
            Fuzz::require(target.startsWith(QLatin1StringView("media/")));
    });
}
