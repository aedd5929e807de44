// The Linux application updater: checks the maker's release record and opens the release's download page.
#pragma once

#include "AppRelease.h"
#include "Updater.h"
#include "model/Workers.h"

#include <QTimer>

class ReleaseUpdater : public Updater
{
    Q_OBJECT

public:
    using Fetcher = std::function<AppRelease()>;
    using Opener = std::function<bool(const QUrl&)>;
    // Reports the outcome of a check the learner asked for: a title and one line of text.
    using Notifier = std::function<void(const QString& title, const QString& text)>;

    // Defaults: AppRelease::fetch, the desktop's browser, and no notifier.
    explicit ReleaseUpdater(Fetcher fetcher = {}, Opener opener = {}, QObject* parent = nullptr);

    static inline const QString settingsKey = QStringLiteral("automaticallyChecksForUpdates");
    static constexpr int automaticIntervalMs = 86400 * 1000;

    bool canCheckForUpdates() const override { return !m_running; }
    bool automaticallyChecksForUpdates() const override;
    void setAutomaticallyChecksForUpdates(bool on) override;
    void checkForUpdates() override;
    void shutDown(int waitMs) override;

    void setNotifier(Notifier notifier) { m_notifier = std::move(notifier); }

private:
    void run(bool quiet);
    void finish(const std::optional<AppRelease>& release, bool quiet);
    void notify(const QString& text);

    Fetcher m_fetcher;
    Opener m_opener;
    Notifier m_notifier;
    bool m_running = false;
    QTimer m_automatic;
    // Last, so that its threads are stopped before the rest of the updater goes.
    Workers m_workers;
};
