// Due lists and predicted exam scores.
#include "Review.h"

#include "Seeded.h"
#include "model/Memory.h"

#include <QHash>
#include <algorithm>
#include <cmath>

namespace {

// The learner's statistics of one pool by question id. The statistics keys of a learner and pool share one prefix,
// so they lie together in the sorted map, ordered by question id: one search finds them all, and a binary search
// finds each question among them.
class PoolStats
{
public:
    PoolStats(const QString& poolId, const QMap<QString, Stat>& stats, const QUuid& profile)
    {
        const QString prefix = statKey(profile, poolId, QString());
        for (auto it = stats.lowerBound(prefix); it != stats.cend() && it.key().startsWith(prefix); ++it)
            m_sorted.append({QStringView(it.key()).mid(prefix.size()), &it.value()});
    }
    const Stat* find(const QString& questionId) const
    {
        const auto it = std::lower_bound(m_sorted.cbegin(), m_sorted.cend(), QStringView(questionId),
                                         [](const auto& entry, QStringView id) { return entry.first < id; });
        return it != m_sorted.cend() && it->first == questionId ? it->second : nullptr;
    }
    const QList<std::pair<QStringView, const Stat*>>& all() const { return m_sorted; }

private:
    QList<std::pair<QStringView, const Stat*>> m_sorted;
};

bool isDue(const Stat& stat, Dates::Instant now)
{
    return stat.due && *stat.due <= now && Memory::state(stat);
}

} // namespace

ReviewList reviewList(const Pool& pool, const QList<Question>& offered, const QMap<QString, Stat>& stats,
                      const QUuid& profile, Dates::Instant now)
{
    const PoolStats known(pool.id, stats, profile);
    QList<std::pair<double, const Question*>> due;
    ReviewList list;
    for (const Question& q : offered) {
        const Stat* stat = known.find(q.id);
        if (!stat)
            list.fresh.append(q);
        else if (isDue(*stat, now))
            due.append({*Memory::recall(*stat, now), &q});
    }
    std::stable_sort(due.begin(), due.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    for (const auto& [recall, q] : std::as_const(due))
        list.due.append(*q);
    return list;
}

qint64 dueCount(const Pool& pool, const QMap<QString, Stat>& stats, const QUuid& profile, Dates::Instant now)
{
    const PoolStats known(pool.id, stats, profile);
    return std::count_if(known.all().cbegin(), known.all().cend(),
                         [&](const auto& entry) { return isDue(*entry.second, now); });
}

double passChance(const QList<double>& chances, qint64 passCount)
{
    // ways[k]: the chance of exactly k successes among the outcomes seen so far.
    QList<double> ways(chances.size() + 1, 0.0);
    ways[0] = 1;
    for (qsizetype n = 0; n < chances.size(); ++n) {
        const double p = std::clamp(chances[n], 0.0, 1.0);
        for (qsizetype k = n + 1; k > 0; --k)
            ways[k] = ways[k] * (1 - p) + ways[k - 1] * p;
        ways[0] *= 1 - p;
    }
    double chance = 0;
    for (qsizetype k = std::max<qint64>(passCount, 0); k < ways.size(); ++k)
        chance += ways[k];
    return std::min(chance, 1.0);
}

Prediction predict(const Pool& pool, const QMap<QString, Stat>& stats, const QUuid& profile, Dates::Instant now)
{
    const PoolStats known(pool.id, stats, profile);
    struct Group
    {
        double recall = 0;        // sum over questions with memory state
        qsizetype remembered = 0; // how many have one
        qsizetype questions = 0;
        qint64 attempts = 0;
        qint64 correct = 0;
    };
    // Groups in pool order; the questions of a group need not be adjacent.
    QHash<QString, qsizetype> index;
    QList<Group> groups;
    QString lastGroup;
    qsizetype last = 0;
    for (const Question& q : pool.questions) {
        // Questions of one group usually follow each other: the last group is looked at first.
        if (q.group != lastGroup) {
            auto it = index.constFind(q.group);
            if (it == index.cend()) {
                it = index.insert(q.group, groups.size());
                groups.append(Group());
            }
            lastGroup = q.group;
            last = *it;
        }
        Group& g = groups[last];
        ++g.questions;
        const Stat* stat = known.find(q.id);
        if (!stat)
            continue;
        g.attempts += stat->attempts;
        g.correct += stat->correct;
        if (const std::optional<double> r = Memory::recall(*stat, now)) {
            g.recall += *r;
            ++g.remembered;
        }
    }
    Prediction prediction;
    prediction.examCount = pool.examCount;
    QList<double> chances;
    chances.reserve(groups.size());
    for (const Group& g : std::as_const(groups)) {
        const double otherwise = g.attempts > 0 ? double(g.correct) / double(g.attempts) : 0.25;
        const double chance = (g.recall + otherwise * double(g.questions - g.remembered)) / double(g.questions);
        chances.append(chance);
        prediction.score += chance;
    }
    prediction.passChance = passChance(chances, pool.passCount);
    return prediction;
}

QString predictionLine(const Prediction& prediction)
{
    // The chance is cut, not rounded, so that nothing short of certainty shows as 100 %.
    return QStringLiteral("Predicted score ") + QString::number(prediction.score, 'f', 1) + QStringLiteral(" of ") +
           QString::number(prediction.examCount) + QStringLiteral(" · pass chance ") +
           QString::number(qint64(std::trunc(prediction.passChance * 100))) + QStringLiteral(" %");
}
