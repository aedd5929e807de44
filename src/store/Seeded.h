// Exam composition: the reproducible generator, the one-question-per-group draw and the statistics key.
#pragma once

#include "model/Pack.h"

#include <QString>
#include <QUuid>

// A small generator that every installation runs bit for bit alike, so a shared code gives the same exam
// everywhere: the state starts from the 64-bit FNV-1a hash of the seed text and advances by SplitMix64.
struct Seeded
{
    quint64 state = 0;

    Seeded() = default;
    explicit Seeded(quint64 initial) : state(initial) {}
    // The FNV-1a hash of the text's UTF-8 bytes.
    explicit Seeded(const QString& text);

    quint64 next();

    bool operator==(const Seeded&) const = default;
};

// One question of every question group, drawn from a generator seeded with the pool id and the seed text, then
// shuffled by the same generator. The same pool id and seed text always give the same list.
QList<Question> examQuestions(const Pool& pool, const QString& seed);

// The text that identifies one learner's record of one question of one pool: "<UUID>|<pool id>|<question id>".
QString statKey(const QUuid& profile, const QString& poolId, const QString& questionId);
