// The text stage of reading a pool document: question cutting, answers, keys, topics and figure labels on any text.
#include "Fuzz.h"
#include "updater/UpdaterInternals.h"

#include <QRegularExpression>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    return Fuzz::guarded([&] {
        const OfficialUpdates::PoolText text =
            OfficialUpdates::readPoolText(QString::fromUtf8(Fuzz::bytes(data, size)));
        static const QRegularExpression id(QStringLiteral("^[TGE][0-9][A-Z][0-9]{2}$"));
        for (const Question& q : text.questions) {
            Fuzz::require(id.match(q.id).hasMatch() && q.group == q.id.left(3));
            Fuzz::require(q.answers.size() == 4 && q.correct >= 0 && q.correct < 4);
            Fuzz::require(!q.figure || text.referenced.contains(*q.figure));
        }
    });
}
