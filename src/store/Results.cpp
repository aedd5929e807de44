// Boards, durations, history, readiness and coverage.
#include "Results.h"

#include "Seeded.h"

#include <QHash>
#include <algorithm>
#include <cmath>

namespace {

bool isSpaceNotBreak(QChar c)
{
    return c == QLatin1Char('\t') || c.category() == QChar::Separator_Space;
}

} // namespace

QList<Result> leaderboard(const QList<Result>& results, const QString& poolId, const QString& challenge)
{
    QList<Result> kept;
    for (const Result& r : results) {
        if (r.eligible() && r.session.pool.id == poolId && r.session.challenge == challenge)
            kept.append(r);
    }
    std::stable_sort(kept.begin(), kept.end(), [](const Result& a, const Result& b) {
        const qint64 sa = a.score(), sb = b.score();
        if (sa != sb)
            return sa > sb;
        if (a.seconds != b.seconds)
            return a.seconds < b.seconds;
        return a.finished < b.finished;
    });
    // Names, not profiles, are the learners here: each name appears once, with its best attempt.
    QSet<QString> seen;
    QList<Result> board;
    for (const Result& r : std::as_const(kept)) {
        const QString name = r.session.name.trimmed().toLower();
        if (seen.contains(name))
            continue;
        seen.insert(name);
        board.append(r);
        if (board.size() == 10)
            break;
    }
    return board;
}

QString boardChallengeCode(const QString& typed)
{
    qsizetype start = 0, end = typed.size();
    while (start < end && isSpaceNotBreak(typed.at(start)))
        ++start;
    while (end > start && isSpaceNotBreak(typed.at(end - 1)))
        --end;
    return typed.mid(start, end - start).toUpper();
}

QList<Pool> rankingPools(const QList<Pool>& pools, const QList<Result>& results, const QSet<QString>& completedLevels)
{
    QList<Pool> all = pools;
    for (const Result& r : results)
        all.append(r.session.pool);
    QSet<QString> seen;
    QList<Pool> ranked;
    for (const Pool& p : std::as_const(all)) {
        if (completedLevels.contains(p.level) || seen.contains(p.id))
            continue;
        seen.insert(p.id);
        ranked.append(p);
    }
    return ranked;
}

QString duration(double seconds)
{
    // The timer never produces a non-finite or huge value; such input shows as zero rather than overflowing.
    qint64 n = 0;
    if (std::isfinite(seconds) && seconds > 0 && seconds < 9.2e18)
        n = qint64(seconds);
    return QString::asprintf("%02lld:%02lld:%02lld", n / 3600, (n % 3600) / 60, n % 60);
}

QList<Result> history(const QList<Result>& results, const QUuid& profile)
{
    QList<Result> list;
    for (auto it = results.crbegin(); it != results.crend(); ++it) {
        if (!it->session.isGuest() && it->session.profile == profile)
            list.append(*it);
    }
    return list;
}

std::optional<QString> resultStatusLine(const Result& result)
{
    if (result.session.isGuest())
        return QStringLiteral("Guest result — not saved to history, progress or the top 10.");
    if (result.session.isExam()) {
        if (result.eligible())
            return QStringLiteral("Eligible for the local top 10. Score ranks first; time breaks ties.");
        return QStringLiteral("Practice result — excluded from rankings because it was interrupted.");
    }
    return std::nullopt;
}

GroupTally groupTally(const Pool& pool, const QString& group, const QMap<QString, Stat>& stats, const QUuid& profile)
{
    GroupTally tally;
    for (const Question& q : pool.questions) {
        if (q.group != group)
            continue;
        const auto it = stats.constFind(statKey(profile, pool.id, q.id));
        if (it == stats.constEnd())
            continue;
        tally.recorded = true;
        tally.attempts += it->attempts;
        tally.correct += it->correct;
    }
    return tally;
}

bool isWeak(const GroupTally& tally)
{
    return !tally.recorded || tally.attempts == 0 || double(tally.correct) / double(tally.attempts) < 0.8;
}

QSet<QString> weakGroups(const Pool& pool, const QMap<QString, Stat>& stats, const QUuid& profile)
{
    QSet<QString> weak;
    for (const QString& group : pool.groups()) {
        if (isWeak(groupTally(pool, group, stats, profile)))
            weak.insert(group);
    }
    return weak;
}

QList<Result> freshExams(const QList<Result>& results, const QString& poolId, const QUuid& profile)
{
    // Complete, uninterrupted ordinary exams of this pool; club challenges do not count.
    QList<Result> fresh;
    for (const Result& r : results) {
        if (r.session.profile == profile && r.session.pool.id == poolId && r.session.mode == Modes::exam &&
            r.eligible())
            fresh.append(r);
    }
    return fresh;
}

PoolProgress poolProgress(const Pool& pool, const Saved& saved, const QUuid& profile)
{
    PoolProgress progress;
    progress.pool = pool;
    progress.total = pool.questions.size();
    for (const Question& q : pool.questions) {
        if (saved.stats.contains(statKey(profile, pool.id, q.id)))
            ++progress.studied;
    }
    progress.coverage = QString::asprintf("Pool coverage: %lld/%lld", progress.studied, progress.total);

    const QList<Result> fresh = freshExams(saved.results, pool.id, profile);
    const QList<Result> recent = fresh.mid(std::max<qsizetype>(0, fresh.size() - 5));
    if (recent.isEmpty()) {
        progress.readiness = QStringLiteral("Take a fresh exam to begin tracking readiness.");
    } else {
        const qint64 passed = std::count_if(recent.cbegin(), recent.cend(), [](const Result& r) { return r.passed(); });
        const qint64 count = recent.size();
        progress.readiness = QString::asprintf("Recent fresh exams: %lld/%lld passed.", passed, count) +
                             (count == 5 && passed == 5 ? QStringLiteral(" Consistent passing results.")
                                                        : QStringLiteral(" Keep practising for consistency."));
    }
    progress.caption = readinessCaption;

    for (const QString& group : pool.groups()) {
        GroupRow row;
        row.group = group;
        row.topic = pool.topics.value(group.left(2), QStringLiteral("Question group"));
        const GroupTally tally = groupTally(pool, group, saved.stats, profile);
        if (tally.attempts == 0) {
            row.accuracy = QStringLiteral("Not studied");
        } else {
            const auto percent = qint64(std::trunc(double(tally.correct) * 100.0 / double(tally.attempts)));
            row.accuracy = QString::asprintf("%lld", percent) + QStringLiteral("% · ") +
                           QString::asprintf("%lld", tally.attempts) + QStringLiteral(" answers");
        }
        progress.rows.append(row);
    }
    return progress;
}

QList<PoolProgress> progress(const QList<Pool>& studyPools, const Saved& saved, const QUuid& profile,
                             const QString& today)
{
    QList<PoolProgress> list;
    for (const Pool& p : studyPools) {
        if (p.current(today))
            list.append(poolProgress(p, saved, profile));
    }
    return list;
}
