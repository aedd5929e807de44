// Subelement accuracy and score series.
#include "Trends.h"

#include "Results.h"
#include "Seeded.h"

#include <QHash>
#include <cmath>

qint64 SubelementBar::percent() const
{
    return attempts > 0 ? qint64(std::trunc(double(correct) * 100.0 / double(attempts))) : 0;
}

QString SubelementBar::description() const
{
    const QString head = code + QStringLiteral(" ") + title + QStringLiteral(": ");
    if (attempts == 0)
        return head + QStringLiteral("not studied");
    return head + QStringLiteral("%1% correct, %2 answers").arg(percent()).arg(attempts) +
           (weak ? QStringLiteral(", needs practice") : QString());
}

QList<SubelementBar> subelementBars(const Pool& pool, const QMap<QString, Stat>& stats, const QUuid& profile)
{
    QList<SubelementBar> bars;
    QHash<QString, GroupTally> tallies;
    for (const Question& q : pool.questions) {
        const QString code = q.group.left(2);
        if (!tallies.contains(code)) {
            bars.append({code, pool.topics.value(code, QStringLiteral("Subelement"))});
            tallies.insert(code, {});
        }
        const auto stat = stats.constFind(statKey(profile, pool.id, q.id));
        if (stat == stats.cend())
            continue;
        GroupTally& tally = tallies[code];
        tally.recorded = true;
        tally.attempts += stat->attempts;
        tally.correct += stat->correct;
    }
    for (SubelementBar& bar : bars) {
        const GroupTally& tally = tallies[bar.code];
        bar.attempts = tally.attempts;
        bar.correct = tally.correct;
        bar.weak = isWeak(tally);
    }
    return bars;
}

QList<ScorePoint> scorePoints(const QList<Result>& oldestFirst, qsizetype last)
{
    QList<ScorePoint> points;
    for (const Result& r : oldestFirst.mid(std::max<qsizetype>(0, oldestFirst.size() - last))) {
        const qint64 questions = r.session.questions.size();
        const qint64 score = r.score();
        // The pool's pass mark as a share, so that practice of any length is judged like an exam.
        const bool passed = questions > 0 && score * r.session.pool.examCount >= r.session.pool.passCount * questions;
        points.append({r.finished, score, questions, passed});
    }
    return points;
}
