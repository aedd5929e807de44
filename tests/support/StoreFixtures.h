// Shared set-up of store tests: the pack on disk, fresh storage folders, a fake clock and question look-ups. All of
// it is inline, in this header.
#pragma once

#include "Fixtures.h"
#include "store/Store.h"

#include <QPointer>
#include <QTemporaryDir>
#include <functional>
#include <memory>

namespace StoreFixtures {

// The ids of questions (or pools), in order.
template <typename T> QStringList ids(const QList<T>& list)
{
    QStringList ids;
    for (const T& item : list)
        ids.append(item.id);
    return ids;
}
// The questions of the pool with the given ids, in the order asked for.
inline QList<Question> pick(const Pool& pool, const QStringList& wanted)
{
    QList<Question> list;
    for (const QString& id : wanted)
        list.append(pool.questions.at(ids(pool.questions).indexOf(id)));
    return list;
}
// The index of a wrong answer of the question.
inline qint64 wrong(const Question& q)
{
    return (q.correct + 1) % 4;
}

// Stores over the three-level pack, each in a fresh storage folder and on a clock the test moves by hand.
class StoreRig
{
public:
    StoreRig() { Fixtures::writeFile(packPath, pack.toBytes()); }
    // A new storage folder; when seed is given, a progress file made from the initial state is written first.
    std::unique_ptr<Store> fresh(const std::function<void(Saved&)>& seed = {})
    {
        m_storage = std::make_unique<QTemporaryDir>();
        if (seed) {
            Saved saved = Saved::initial();
            seed(saved);
            Fixtures::writeFile(progressPath(), saved.toBytes());
        }
        return reopen();
    }
    // Another store over the current storage folder, as after a restart.
    std::unique_ptr<Store> reopen()
    {
        if (m_latest)
            m_latest->flush(); // what the store before wrote is there to be read
        auto store = std::make_unique<Store>(packPath, m_storage->path());
        store->setClock([this] { return now; });
        m_latest = store.get();
        return store;
    }
    // The progress file once the latest store's writer has finished.
    QByteArray fileBytes() const
    {
        if (m_latest)
            m_latest->flush();
        return Fixtures::readFile(progressPath());
    }
    Saved onDisk() const { return Saved::fromBytes(fileBytes()); }
    QString progressPath() const { return m_storage->filePath(QStringLiteral("progress.json")); }
    const Pool& tech() const { return pack.pools.at(0); }

private:
    QTemporaryDir m_dir; // first: the pack path below lies inside it
    std::unique_ptr<QTemporaryDir> m_storage;
    QPointer<Store> m_latest;

public:
    Pack pack = Fixtures::threeLevelPack();
    QString packPath = m_dir.filePath(QStringLiteral("pools.json"));
    double now = 1000;
};

} // namespace StoreFixtures
