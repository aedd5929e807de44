// The application updater behind KestovanUpdates: checks, the automatic-check setting and two delegate questions.
#pragma once

#include <QObject>
#include <QString>
#include <functional>
#include <optional>

// The questions an updater asks before it installs and before it restarts the application.
class UpdaterDelegate
{
public:
    virtual ~UpdaterDelegate() = default;
    // Nothing lets the update go ahead; a text refuses it and is the reason the updater shows.
    virtual std::optional<QString> shouldProceedWithUpdate() = 0;
    // True keeps the relaunch waiting; the delegate then runs install itself once it is safe.
    virtual bool shouldPostponeRelaunch(std::function<void()> install) = 0;
};

class Updater : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    virtual bool canCheckForUpdates() const = 0;
    virtual bool automaticallyChecksForUpdates() const = 0;
    virtual void setAutomaticallyChecksForUpdates(bool on) = 0;
    // Starts a check now; the updater reports its outcome itself.
    virtual void checkForUpdates() = 0;
    // Stops a running check and waits at most waitMs for it; the application calls it when it quits.
    virtual void shutDown(int waitMs) { Q_UNUSED(waitMs); }

    void setDelegate(UpdaterDelegate* delegate) { m_delegate = delegate; }
    UpdaterDelegate* delegate() const { return m_delegate; }

signals:
    // May be emitted on any thread.
    void canCheckForUpdatesChanged();
    void automaticallyChecksForUpdatesChanged();

private:
    UpdaterDelegate* m_delegate = nullptr;
};
