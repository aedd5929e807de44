// The application's updater front: mirrors the updater's state for the menus and answers its two questions.
#pragma once

#include "Updater.h"

#include <QList>
#include <QObject>
#include <QTimer>
#include <functional>
#include <memory>
#include <optional>

class KestovanUpdates : public QObject, public UpdaterDelegate
{
    Q_OBJECT
    Q_PROPERTY(bool canCheck READ canCheck NOTIFY canCheckChanged)
    Q_PROPERTY(bool automaticChecks READ automaticChecks NOTIFY automaticChecksChanged)

public:
    // Text means an update must wait; the text is the reason shown to the learner.
    using BlockedReason = std::function<std::optional<QString>()>;
    // Shows a modal alert with a message and an informative text; installed by the user interface.
    using Alert = std::function<void(const QString& message, const QString& informative)>;

    static inline const QString errorDomain = QStringLiteral("com.kestovan.aerowen.updates");
    static constexpr int refusalCode = 1;
    static constexpr int pollIntervalMs = 1000;

    // Takes ownership of the updater and becomes its delegate.
    explicit KestovanUpdates(std::unique_ptr<Updater> updater, QObject* parent = nullptr);
    ~KestovanUpdates() override;

    // The one instance of the application, created on first use with the release-record updater unless a
    // backend was installed before.
    static KestovanUpdates& shared();
    // Must be called before the first shared(); tests install a fake updater this way.
    static void setSharedBackend(std::unique_ptr<Updater> updater);

    bool canCheck() const { return m_canCheck; }
    bool automaticChecks() const { return m_automaticChecks; }
    Updater* updater() const { return m_controller.get(); }

    void setBlockedReason(BlockedReason hook) { m_blockedReason = std::move(hook); }
    void setAlert(Alert alert) { m_alert = std::move(alert); }
    // Shows an alert through the installed alert function (nothing happens before one is installed).
    void alert(const QString& message, const QString& informative) const;

    void check();
    void setAutomaticChecks(bool on);
    void toggleAutomaticChecks();

    std::optional<QString> shouldProceedWithUpdate() override;
    bool shouldPostponeRelaunch(std::function<void()> install) override;

    // Whether a relaunch is being held back right now.
    bool postponed() const { return m_timer != nullptr; }

signals:
    void canCheckChanged();
    void automaticChecksChanged();

private:
    std::optional<QString> blockedReason() const;
    void setCanCheck(bool value);
    void setAutomaticChecksMirror(bool value);
    void poll();

    bool m_canCheck = false;
    bool m_automaticChecks = true;
    BlockedReason m_blockedReason;
    Alert m_alert;
    std::unique_ptr<Updater> m_controller;
    QList<QMetaObject::Connection> m_observations;
    std::function<void()> m_pendingInstall;
    std::unique_ptr<QTimer> m_timer;
};
