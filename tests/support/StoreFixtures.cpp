// Shared set-up of store tests.
#include "StoreFixtures.h"

#include "Fixtures.h"

namespace StoreFixtures {

QStringList ids(const QList<Question>& questions)
{
    QStringList list;
    for (const Question& q : questions)
        list.append(q.id);
    return list;
}

QList<Question> pick(const Pool& pool, const QStringList& wanted)
{
    QList<Question> list;
    for (const QString& id : wanted) {
        for (const Question& q : pool.questions) {
            if (q.id == id)
                list.append(q);
        }
    }
    return list;
}

StoreRig::StoreRig() : pack(Fixtures::threeLevelPack()), packPath(m_dir.filePath(QStringLiteral("pools.json")))
{
    Fixtures::writeFile(packPath, pack.toBytes());
}

std::unique_ptr<Store> StoreRig::fresh(const std::function<void(Saved&)>& seed)
{
    m_storage = std::make_unique<QTemporaryDir>();
    if (seed) {
        Saved saved = Saved::initial();
        seed(saved);
        Fixtures::writeFile(progressPath(), saved.toBytes());
    }
    return reopen();
}

std::unique_ptr<Store> StoreRig::reopen()
{
    auto store = std::make_unique<Store>(packPath, m_storage->path());
    store->setClock([this] { return now; });
    return store;
}

Saved StoreRig::onDisk() const
{
    return Saved::fromBytes(Fixtures::readFile(progressPath()));
}

QString StoreRig::progressPath() const
{
    return m_storage->filePath(QStringLiteral("progress.json"));
}

} // namespace StoreFixtures
