// Spaced review of one learner's pool: the questions due again, and the exam score the memory model predicts.
#pragma once

#include "model/Learner.h"

#include <QList>
#include <QString>
#include <QUuid>

// At most this many never-answered questions follow the due ones in a "Due for Review" session.
inline constexpr qsizetype newPerReview = 10;

// The offered questions of a pool for review at an instant.
struct ReviewList
{
    QList<Question> due;   // due time passed, lowest chance of recall first (ties in offered order)
    QList<Question> fresh; // never answered by the learner, in offered order
};
ReviewList reviewList(const Pool& pool, const QList<Question>& offered, const QMap<QString, Stat>& stats,
                      const QUuid& profile, Dates::Instant now);
// How many of the pool's questions are due at the instant.
qint64 dueCount(const Pool& pool, const QMap<QString, Stat>& stats, const QUuid& profile, Dates::Instant now);

// The chance that the number of independent successes reaches passCount, given each one's chance (exact).
double passChance(const QList<double>& chances, qint64 passCount);

// What the memory model expects of an official exam on the pool taken at an instant.
struct Prediction
{
    double score = 0;      // expected number right
    qint64 examCount = 0;  // number of questions of the exam
    double passChance = 0; // chance of reaching the pass mark

    bool operator==(const Prediction&) const = default;
};
// An exam draws one question of each group: a group's chance is the mean of its questions' chances of recall. A
// question without memory state counts with the learner's accuracy in its group, or 0.25 (a guess) without any.
Prediction predict(const Pool& pool, const QMap<QString, Stat>& stats, const QUuid& profile, Dates::Instant now);
// "Predicted score 29.4 of 35 · pass chance 83 %"
QString predictionLine(const Prediction& prediction);
