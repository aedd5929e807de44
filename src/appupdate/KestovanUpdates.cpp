// The updater front: state mirrors, the automatic-check switch and the postponed relaunch.
#include "KestovanUpdates.h"

#include "ReleaseUpdater.h"

#include <QCoreApplication>

namespace {

std::unique_ptr<Updater>& pendingBackend()
{
    static std::unique_ptr<Updater> backend;
    return backend;
}

KestovanUpdates*& instance()
{
    static KestovanUpdates* updates = nullptr;
    return updates;
}

} // namespace

KestovanUpdates::KestovanUpdates(std::unique_ptr<Updater> updater, QObject* parent)
    : QObject(parent), m_controller(std::move(updater))
{
    Q_ASSERT(m_controller);
    m_controller->setDelegate(this);
    // The first values are taken at once so the menus start right; later changes may arrive on any thread and
    // are copied on this object's thread, and only while this object exists.
    setCanCheck(m_controller->canCheckForUpdates());
    setAutomaticChecksMirror(m_controller->automaticallyChecksForUpdates());
    Updater* u = m_controller.get();
    m_observations.append(connect(
        u, &Updater::canCheckForUpdatesChanged, this, [this, u] { setCanCheck(u->canCheckForUpdates()); },
        Qt::QueuedConnection));
    m_observations.append(connect(
        u, &Updater::automaticallyChecksForUpdatesChanged, this,
        [this, u] { setAutomaticChecksMirror(u->automaticallyChecksForUpdates()); }, Qt::QueuedConnection));
}

KestovanUpdates::~KestovanUpdates()
{
    for (const QMetaObject::Connection& c : std::as_const(m_observations))
        disconnect(c);
    m_controller->setDelegate(nullptr);
}

KestovanUpdates& KestovanUpdates::shared()
{
    KestovanUpdates*& updates = instance();
    if (!updates) {
        std::unique_ptr<Updater> backend = std::move(pendingBackend());
        if (!backend) {
            auto release = std::make_unique<ReleaseUpdater>();
            // The release updater has no windows of its own; it reports through the front's alert.
            release->setNotifier([](const QString& title, const QString& text) {
                if (KestovanUpdates* updates = instance())
                    updates->alert(title, text);
            });
            backend = std::move(release);
        }
        // Kept for the life of the application; the application object deletes it on the way out.
        updates = new KestovanUpdates(std::move(backend), QCoreApplication::instance());
        QObject::connect(updates, &QObject::destroyed, [] { instance() = nullptr; });
    }
    return *updates;
}

void KestovanUpdates::setSharedBackend(std::unique_ptr<Updater> updater)
{
    Q_ASSERT(!instance());
    pendingBackend() = std::move(updater);
}

void KestovanUpdates::alert(const QString& message, const QString& informative) const
{
    if (m_alert)
        m_alert(message, informative);
}

void KestovanUpdates::check()
{
    m_controller->checkForUpdates();
}

void KestovanUpdates::setAutomaticChecks(bool on)
{
    m_controller->setAutomaticallyChecksForUpdates(on);
}

void KestovanUpdates::toggleAutomaticChecks()
{
    m_controller->setAutomaticallyChecksForUpdates(!m_controller->automaticallyChecksForUpdates());
}

std::optional<QString> KestovanUpdates::blockedReason() const
{
    return m_blockedReason ? m_blockedReason() : std::nullopt;
}

std::optional<QString> KestovanUpdates::shouldProceedWithUpdate()
{
    return blockedReason();
}

bool KestovanUpdates::shouldPostponeRelaunch(std::function<void()> install)
{
    const std::optional<QString> reason = blockedReason();
    if (!reason)
        return false;
    // A newer postponement replaces the previous one with its action.
    m_pendingInstall = std::move(install);
    m_timer = std::make_unique<QTimer>();
    m_timer->setInterval(pollIntervalMs);
    connect(m_timer.get(), &QTimer::timeout, this, &KestovanUpdates::poll);
    m_timer->start();
    // The updater gets its answer first; the modal alert opens afterwards from the event loop.
    QMetaObject::invokeMethod(
        this,
        [this, text = *reason] {
            alert(QStringLiteral("Update waiting"),
                  text + QStringLiteral(" The update will continue when it is safe to restart."));
        },
        Qt::QueuedConnection);
    return true;
}

void KestovanUpdates::poll()
{
    if (blockedReason())
        return;
    // The timer is the sender of this call, so it is stopped now and deleted later.
    QTimer* timer = m_timer.release();
    timer->stop();
    timer->deleteLater();
    std::function<void()> install = std::move(m_pendingInstall);
    m_pendingInstall = nullptr;
    if (install)
        install();
}

void KestovanUpdates::setCanCheck(bool value)
{
    if (m_canCheck == value)
        return;
    m_canCheck = value;
    emit canCheckChanged();
}

void KestovanUpdates::setAutomaticChecksMirror(bool value)
{
    if (m_automaticChecks == value)
        return;
    m_automaticChecks = value;
    emit automaticChecksChanged();
}
