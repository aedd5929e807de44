// Shared set-up of store tests: the pack on disk, fresh storage folders, a fake clock and question look-ups.
#pragma once

#include "store/Store.h"

#include <QTemporaryDir>
#include <functional>
#include <memory>

namespace StoreFixtures {

QStringList ids(const QList<Question>& questions);
// The questions of the pool with the given ids, in the order asked for.
QList<Question> pick(const Pool& pool, const QStringList& wanted);
// The index of a wrong answer of the question.
inline qint64 wrong(const Question& q)
{
    return (q.correct + 1) % 4;
}

// Stores over the three-level pack, each in a fresh storage folder and on a clock the test moves by hand.
class StoreRig
{
public:
    StoreRig();
    // A new storage folder; when seed is given, a progress file made from the initial state is written first.
    std::unique_ptr<Store> fresh(const std::function<void(Saved&)>& seed = {});
    // Another store over the current storage folder, as after a restart.
    std::unique_ptr<Store> reopen();
    Saved onDisk() const;
    QString progressPath() const;
    const Pool& tech() const { return pack.pools.at(0); }

private:
    QTemporaryDir m_dir; // first: the pack path below lies inside it
    std::unique_ptr<QTemporaryDir> m_storage;

public:
    Pack pack;
    QString packPath;
    double now = 1000;
};

} // namespace StoreFixtures
