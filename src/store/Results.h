// Figures computed from finished results and statistics: boards, durations, history, readiness and coverage.
#pragma once

#include "model/Dates.h"
#include "model/Learner.h"

#include <QList>
#include <QSet>
#include <QString>
#include <optional>

// Shown for a board without entries.
inline const QString emptyBoardText = QStringLiteral("No qualifying attempts yet.");
// Shown under every pool's readiness line.
inline const QString readinessCaption =
    QStringLiteral("Practice performance is not a guarantee of an official exam result.");

// The best complete exams of a pool id and challenge code (empty for ordinary exams): best score, then shortest
// time, then earliest finish; one entry per learner name (trimmed, any letter case); at most 10.
QList<Result> leaderboard(const QList<Result>& results, const QString& poolId, const QString& challenge);

// The code typed on the top-10 screen as boards compare it: blanks trimmed (line breaks kept), upper-cased.
QString boardChallengeCode(const QString& typed);

// The pools that have boards: the pools in display order, then the pools of stored results (oldest first),
// without the learner's completed levels, each pool id once.
QList<Pool> rankingPools(const QList<Pool>& pools, const QList<Result>& results, const QSet<QString>& completedLevels);

// Whole seconds as "hh:mm:ss"; hours may have more than two digits, negative times show as zero.
QString duration(double seconds);

// The learner's own results, newest first; Guest results never appear.
QList<Result> history(const QList<Result>& results, const QUuid& profile);

// The line under a result: Guest, eligible exam, interrupted exam, or nothing for practice.
std::optional<QString> resultStatusLine(const Result& result);

// One learner's answers to the questions of one group of one pool.
struct GroupTally
{
    bool recorded = false; // at least one question of the group has statistics
    qint64 attempts = 0;
    qint64 correct = 0;

    bool operator==(const GroupTally&) const = default;
};
GroupTally groupTally(const Pool& pool, const QString& group, const QMap<QString, Stat>& stats, const QUuid& profile);
// A group needs practice when it was never answered or is below 80 % correct.
bool isWeak(const GroupTally& tally);
// The groups of the pool (ascending) that need practice.
QSet<QString> weakGroups(const Pool& pool, const QMap<QString, Stat>& stats, const QUuid& profile);

// The learner's fresh exams of a pool (complete, uninterrupted ordinary exams), oldest first.
QList<Result> freshExams(const QList<Result>& results, const QString& poolId, const QUuid& profile);

// One row of a pool on the progress screen.
struct GroupRow
{
    QString group;
    QString topic;    // the subelement's title, or "Question group"
    QString accuracy; // "77% · 9 answers" or "Not studied"

    bool operator==(const GroupRow&) const = default;
};

// Everything the progress screen shows for one pool.
struct PoolProgress
{
    Pool pool;
    qint64 studied = 0;
    qint64 total = 0;
    QString coverage;  // "Pool coverage: 12/350"
    QString readiness; // recent fresh exams, or the invitation to take one
    QString caption;   // always readinessCaption
    QList<GroupRow> rows;
};

// The figures of one pool for one learner.
PoolProgress poolProgress(const Pool& pool, const Saved& saved, const QUuid& profile);
// The figures of every study pool current on the given day, in the given order.
QList<PoolProgress> progress(const QList<Pool>& studyPools, const Saved& saved, const QUuid& profile,
                             const QString& today = Dates::today());
