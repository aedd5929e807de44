// The Linux application updater over the maker's release record.
#include "ReleaseUpdater.h"

#include "Config.h"
#include "store/Settings.h"

#include <QDesktopServices>
#include <QFutureWatcher>

ReleaseUpdater::ReleaseUpdater(Fetcher fetcher, Opener opener, QObject* parent)
    : Updater(parent), m_fetcher(fetcher ? std::move(fetcher) : Fetcher(&AppRelease::fetch)),
      m_opener(opener ? std::move(opener) : Opener([](const QUrl& url) { return QDesktopServices::openUrl(url); }))
{
    // Background checks are quiet: they only speak up when a newer release exists.
    m_automatic.setInterval(automaticIntervalMs);
    connect(&m_automatic, &QTimer::timeout, this, [this] { run(true); });
    if (automaticallyChecksForUpdates())
        m_automatic.start();
}

bool ReleaseUpdater::automaticallyChecksForUpdates() const
{
    return Settings::open()->value(settingsKey, true).toBool();
}

void ReleaseUpdater::setAutomaticallyChecksForUpdates(bool on)
{
    if (on == automaticallyChecksForUpdates())
        return;
    Settings::open()->setValue(settingsKey, on);
    if (on)
        m_automatic.start();
    else
        m_automatic.stop();
    emit automaticallyChecksForUpdatesChanged();
}

void ReleaseUpdater::checkForUpdates()
{
    run(false);
}

void ReleaseUpdater::run(bool quiet)
{
    if (m_running)
        return;
    m_running = true;
    emit canCheckForUpdatesChanged();
    auto* watcher = new QFutureWatcher<std::optional<AppRelease>>(this);
    connect(watcher, &QFutureWatcherBase::finished, this, [this, watcher, quiet] {
        const std::optional<AppRelease> release = watcher->result();
        watcher->deleteLater();
        m_running = false;
        emit canCheckForUpdatesChanged();
        finish(release, quiet);
    });
    watcher->setFuture(m_workers.run([fetcher = m_fetcher]() -> std::optional<AppRelease> {
        try {
            return fetcher();
        } catch (...) {
            return std::nullopt;
        }
    }));
}

void ReleaseUpdater::finish(const std::optional<AppRelease>& release, bool quiet)
{
    if (!release) {
        if (!quiet)
            notify(QStringLiteral("Application update check unavailable. Try again later."));
        return;
    }
    const QString version = runningVersion(QString::fromUtf8(Config::version));
    if (!release->isNewer(version, runningBuild(QString::fromUtf8(Config::buildNumber)))) {
        if (!quiet)
            notify(QStringLiteral("Aerowen ") + version + QStringLiteral(" is up to date."));
        return;
    }
    if (quiet) {
        // A background check never opens the browser by itself; it only tells the learner what is available.
        notify(QStringLiteral("Aerowen ") + release->version + QStringLiteral(" is available. Download it to update."));
        return;
    }
    if (UpdaterDelegate* d = delegate()) {
        if (const std::optional<QString> refusal = d->shouldProceedWithUpdate()) {
            notify(*refusal);
            return;
        }
    }
    // Installing on Linux means handing the learner the release's download page; the delegate may hold it back
    // the way it would hold back a restart.
    const QUrl page = release->address();
    std::function<void()> install = [opener = m_opener, page] { opener(page); };
    if (UpdaterDelegate* d = delegate(); d && d->shouldPostponeRelaunch(install))
        return;
    install();
}

void ReleaseUpdater::notify(const QString& text)
{
    if (m_notifier)
        m_notifier(QStringLiteral("Check for Updates"), text);
}

void ReleaseUpdater::shutDown(int waitMs)
{
    m_automatic.stop();
    m_workers.shutDown(waitMs);
}
