// The figures behind the progress charts: accuracy per subelement and scores over time.
#pragma once

#include "model/Learner.h"

#include <QList>
#include <QString>

// One bar of a pool's subelement chart: the learner's answers to the questions of one subelement.
struct SubelementBar
{
    QString code;  // "T5"
    QString title; // the subelement's title, or "Subelement" when the pool has none
    qint64 attempts = 0;
    qint64 correct = 0;
    bool weak = true; // never answered, or below 80 % correct (the rule of "Weak Topics")

    bool operator==(const SubelementBar&) const = default;
    // Whole percent correct, truncated; 0 without answers.
    qint64 percent() const;
    // The bar's figures in words, for its tooltip and assistive tools.
    QString description() const;
};

// One bar per subelement, in the pool's order (T1 … T9, T0).
QList<SubelementBar> subelementBars(const Pool& pool, const QMap<QString, Stat>& stats, const QUuid& profile);

// One point of a score chart.
struct ScorePoint
{
    Dates::Instant finished = 0;
    qint64 score = 0;
    qint64 questions = 0;
    bool passed = false; // at or above the pool's pass mark, as a share of the questions asked

    bool operator==(const ScorePoint&) const = default;
    double fraction() const { return questions > 0 ? double(score) / double(questions) : 0.0; }
};

// The scores of results, oldest first, at most the last `last` of them.
QList<ScorePoint> scorePoints(const QList<Result>& oldestFirst, qsizetype last);
