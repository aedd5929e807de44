// The exam generator, exam composition and the statistics key.
#include "Seeded.h"

#include "model/Json.h"

#include <algorithm>

Seeded::Seeded(const QString& text)
{
    quint64 hash = 0xcbf29ce484222325ULL;
    const QByteArray bytes = text.toUtf8();
    for (const char c : bytes) {
        hash ^= quint64(quint8(c));
        hash *= 0x100000001b3ULL;
    }
    state = hash;
}

quint64 Seeded::next()
{
    state += 0x9e3779b97f4a7c15ULL;
    quint64 z = state;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
    return z ^ (z >> 31);
}

QList<Question> examQuestions(const Pool& pool, const QString& seed)
{
    Seeded generator(pool.id + QLatin1Char('|') + seed);
    QList<Question> picked;
    const QStringList groups = pool.groups();
    picked.reserve(groups.size());
    for (const QString& group : groups) {
        QList<const Question*> candidates;
        for (const Question& q : pool.questions) {
            if (q.group == group)
                candidates.append(&q);
        }
        std::sort(candidates.begin(), candidates.end(),
                  [](const Question* a, const Question* b) { return a->id < b->id; });
        // A draw is made even for a group of one question, so every installation stays in step.
        const quint64 r = generator.next();
        picked.append(*candidates.at(qsizetype(r % quint64(candidates.size()))));
    }
    for (qsizetype i = picked.size() - 1; i >= 1; --i) {
        // Every position draws, also when nothing moves, for the same reason.
        const qsizetype j = qsizetype(generator.next() % quint64(i + 1));
        if (j != i)
            picked.swapItemsAt(i, j);
    }
    return picked;
}

QString statKey(const QUuid& profile, const QString& poolId, const QString& questionId)
{
    return Json::uuidText(profile) + QLatin1Char('|') + poolId + QLatin1Char('|') + questionId;
}
