// Store operations on learners: the current profile, adding, renaming and completed levels.
#include "Store.h"

#include "Names.h"

#include <algorithm>

Profile Store::profile() const
{
    if (m_saved.selected) {
        for (const Profile& p : m_saved.profiles) {
            if (p.id == *m_saved.selected)
                return p;
        }
    }
    // An absent or unknown selection falls back to the first learner, normally Guest.
    return m_saved.profiles.isEmpty() ? Profile{} : m_saved.profiles.first();
}

void Store::select(const QUuid& id)
{
    m_saved.selected = id;
    emit savedChanged();
    // A change of learner is on disk before it returns, like the work of the learner before.
    save();
    flush();
}

void Store::addProfile(const QString& name)
{
    const QString cleaned = Names::cleanName(name);
    if (cleaned.isEmpty())
        return;
    // Typing an existing name in any capitalisation picks that learner instead of creating a twin.
    for (const Profile& p : std::as_const(m_saved.profiles)) {
        if (Names::sameName(p.name, cleaned)) {
            select(p.id);
            return;
        }
    }
    const Profile added{QUuid::createUuid(), cleaned, std::nullopt};
    m_saved.profiles.append(added);
    m_saved.selected = added.id;
    emit savedChanged();
    save();
    flush();
}

void Store::renameProfile(const QString& name)
{
    const QString cleaned = Names::cleanName(name);
    if (cleaned.isEmpty())
        return;
    const Profile current = profile();
    // Guest always exists under its own name; renaming it means starting a named learner.
    if (Names::sameName(current.name, guestName)) {
        addProfile(cleaned);
        return;
    }
    const bool taken = std::any_of(m_saved.profiles.cbegin(), m_saved.profiles.cend(), [&](const Profile& p) {
        return p.id != current.id && Names::sameName(p.name, cleaned);
    });
    if (taken) {
        setMessage(QStringLiteral("A profile with that name already exists. Select it or use a different name."));
        return;
    }
    for (Profile& p : m_saved.profiles) {
        if (p.id == current.id) {
            if (p.name == cleaned)
                return;
            p.name = cleaned;
            emit savedChanged();
            save();
            return;
        }
    }
}

void Store::setLevelComplete(const QString& level, bool complete)
{
    const QUuid id = profile().id;
    for (Profile& p : m_saved.profiles) {
        if (p.id != id)
            continue;
        QSet<QString> levels = p.completedLevels.value_or(QSet<QString>());
        if (complete)
            levels.insert(level);
        else
            levels.remove(level);
        // Once touched the set stays present, even when empty, so the file records that it was set.
        p.completedLevels = levels;
        emit savedChanged();
        save();
        return;
    }
}

QList<Pool> Store::studyPools() const
{
    const QSet<QString> done = profile().completedLevels.value_or(QSet<QString>());
    QList<Pool> list = pools();
    list.removeIf([&](const Pool& p) { return done.contains(p.level); });
    return list;
}
