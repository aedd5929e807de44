// The application release check and its status line.
#include "Store.h"

#include "Config.h"

#include <QFutureWatcher>
#include <QtConcurrent/QtConcurrentRun>

void Store::checkApplicationUpdates()
{
    if (m_checkingApp)
        return;
    setCheckingApp(true);
    setAppUpdateStatus(QStringLiteral("Checking for application updates…"));

    const ReleaseFetcher fetcher = m_releaseFetcher ? m_releaseFetcher : ReleaseFetcher(&AppRelease::fetch);
    // Every failure reads the same to the learner, so the worker only says whether a record came back.
    auto* watcher = new QFutureWatcher<std::optional<AppRelease>>(this);
    connect(watcher, &QFutureWatcherBase::finished, this, [this, watcher] {
        const std::optional<AppRelease> release = watcher->result();
        watcher->deleteLater();
        if (release) {
            const QString version = runningVersion(QString::fromUtf8(Config::version));
            const qint64 build = runningBuild(QString::fromUtf8(Config::buildNumber));
            if (release->isNewer(version, build)) {
                setAvailableRelease(release);
                setAppUpdateStatus(QStringLiteral("Aerowen ") + release->version +
                                   QStringLiteral(" is available. Download it to update."));
            } else {
                setAvailableRelease(std::nullopt);
                setAppUpdateStatus(QStringLiteral("Aerowen ") + version + QStringLiteral(" is up to date."));
            }
        } else {
            setAppUpdateStatus(QStringLiteral("Application update check unavailable. Try again later."));
        }
        setCheckingApp(false);
        emit releaseCheckFinished();
    });
    watcher->setFuture(m_workers.run([fetcher]() -> std::optional<AppRelease> {
        try {
            return fetcher();
        } catch (...) {
            return std::nullopt;
        }
    }));
}
