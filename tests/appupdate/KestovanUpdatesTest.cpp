// The updater front over a fake updater, and the Linux release-record updater with a fake record.
#include "appupdate/KestovanUpdates.h"
#include "Config.h"
#include "appupdate/ReleaseUpdater.h"
#include "support/TestEnvironment.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>
#include <QThread>

#include <atomic>
#include <thread>

namespace {

class FakeUpdater : public Updater
{
public:
    FakeUpdater(bool canCheck, bool automatic) : m_canCheck(canCheck), m_automatic(automatic) {}

    bool canCheckForUpdates() const override { return m_canCheck; }
    bool automaticallyChecksForUpdates() const override { return m_automatic; }
    void setAutomaticallyChecksForUpdates(bool on) override
    {
        m_automatic = on;
        emit automaticallyChecksForUpdatesChanged();
    }
    void checkForUpdates() override { ++checks; }

    void setCanCheck(bool on)
    {
        m_canCheck = on;
        emit canCheckForUpdatesChanged();
    }

    int checks = 0;

private:
    bool m_canCheck;
    bool m_automatic;
};

struct Alerted
{
    QString message;
    QString informative;
};

QString releasePage()
{
    return QStringLiteral("https://") + QLatin1StringView(Config::makerHost) + QStringLiteral("/software/aerowen");
}

} // namespace

class KestovanUpdatesTest : public QObject
{
    Q_OBJECT

private slots:
    void mirrorsInitialValuesAtOnce_data();
    void mirrorsInitialValuesAtOnce();
    void followsUpdaterChanges();
    void switchAndCheckReachTheUpdater();
    void proceedQuestionRefusesWithTheReason();
    void postponedRelaunchRunsOnceSafe();
    void relaunchNotPostponedWithoutReason();
    void newPostponementReplacesPendingAction();
    void sharedInstanceUsesInstalledBackend();
    void releaseUpdaterOpensNewerReleasePage();
    void releaseUpdaterReportsOtherOutcomes_data();
    void releaseUpdaterReportsOtherOutcomes();
    void releaseUpdaterHoldsBackWhileBlocked();
    void releaseUpdaterKeepsAutomaticSetting();
};

void KestovanUpdatesTest::mirrorsInitialValuesAtOnce_data()
{
    QTest::addColumn<bool>("canCheck");
    QTest::addColumn<bool>("automatic");
    QTest::newRow("can check, manual") << true << false;
    QTest::newRow("busy, automatic") << false << true;
    QTest::newRow("busy, manual") << false << false;
}

void KestovanUpdatesTest::mirrorsInitialValuesAtOnce()
{
    QFETCH(bool, canCheck);
    QFETCH(bool, automatic);
    KestovanUpdates updates(std::make_unique<FakeUpdater>(canCheck, automatic));
    QCOMPARE(updates.canCheck(), canCheck);
    QCOMPARE(updates.automaticChecks(), automatic);
}

void KestovanUpdatesTest::followsUpdaterChanges()
{
    auto owned = std::make_unique<FakeUpdater>(false, true);
    FakeUpdater* fake = owned.get();
    KestovanUpdates updates(std::move(owned));
    QSignalSpy canCheckSpy(&updates, &KestovanUpdates::canCheckChanged);
    QSignalSpy automaticSpy(&updates, &KestovanUpdates::automaticChecksChanged);

    fake->setCanCheck(true);
    QTRY_VERIFY(updates.canCheck());
    QCOMPARE(canCheckSpy.count(), 1);

    // A change announced from another thread still lands on the front's thread.
    std::thread([fake] { emit fake->automaticallyChecksForUpdatesChanged(); }).join();
    fake->setAutomaticallyChecksForUpdates(false);
    QTRY_VERIFY(!updates.automaticChecks());
    QCOMPARE(automaticSpy.count(), 1);
}

void KestovanUpdatesTest::switchAndCheckReachTheUpdater()
{
    auto owned = std::make_unique<FakeUpdater>(true, true);
    FakeUpdater* fake = owned.get();
    KestovanUpdates updates(std::move(owned));

    updates.setAutomaticChecks(false);
    QVERIFY(!fake->automaticallyChecksForUpdates());
    QTRY_VERIFY(!updates.automaticChecks()); // the menu switch follows through the observation
    updates.toggleAutomaticChecks();
    QVERIFY(fake->automaticallyChecksForUpdates());
    updates.toggleAutomaticChecks();
    QVERIFY(!fake->automaticallyChecksForUpdates());

    updates.check();
    updates.check();
    QCOMPARE(fake->checks, 2);
}

void KestovanUpdatesTest::proceedQuestionRefusesWithTheReason()
{
    KestovanUpdates updates(std::make_unique<FakeUpdater>(true, true));
    QCOMPARE(updates.shouldProceedWithUpdate(), std::nullopt); // no hook installed: never blocked
    std::optional<QString> reason;
    updates.setBlockedReason([&] { return reason; });
    QCOMPARE(updates.shouldProceedWithUpdate(), std::nullopt);
    reason = QStringLiteral("An exam is in progress.");
    QCOMPARE(updates.shouldProceedWithUpdate(), reason);
}

void KestovanUpdatesTest::postponedRelaunchRunsOnceSafe()
{
    KestovanUpdates updates(std::make_unique<FakeUpdater>(true, true));
    std::optional<QString> reason = QStringLiteral("An exam is in progress.");
    updates.setBlockedReason([&] { return reason; });
    QList<Alerted> alerts;
    updates.setAlert([&](const QString& m, const QString& i) { alerts.append({m, i}); });
    int installs = 0;

    QVERIFY(updates.shouldPostponeRelaunch([&] { ++installs; }));
    QVERIFY(alerts.isEmpty()); // the alert waits until the updater has its answer
    QTRY_COMPARE(alerts.size(), 1);
    QCOMPARE(alerts.first().message, QStringLiteral("Update waiting"));
    QCOMPARE(alerts.first().informative,
             QStringLiteral("An exam is in progress. The update will continue when it is safe to restart."));

    // Still blocked over several polls: nothing runs.
    QTest::qWait(2300);
    QCOMPARE(installs, 0);
    QVERIFY(updates.postponed());

    reason.reset();
    QElapsedTimer clock;
    clock.start();
    QTRY_COMPARE_WITH_TIMEOUT(installs, 1, 1500);
    QVERIFY(clock.elapsed() <= 1300);
    QVERIFY(!updates.postponed());
    QTest::qWait(1200);
    QCOMPARE(installs, 1); // the timer is gone and the action was used up
    QCOMPARE(alerts.size(), 1);
}

void KestovanUpdatesTest::relaunchNotPostponedWithoutReason()
{
    KestovanUpdates updates(std::make_unique<FakeUpdater>(true, true));
    int alerts = 0;
    updates.setAlert([&](const QString&, const QString&) { ++alerts; });
    int installs = 0;
    QVERIFY(!updates.shouldPostponeRelaunch([&] { ++installs; }));
    QVERIFY(!updates.postponed());
    QTest::qWait(1200);
    QCOMPARE(installs, 0); // the updater relaunches by itself; the front keeps nothing
    QCOMPARE(alerts, 0);
}

void KestovanUpdatesTest::newPostponementReplacesPendingAction()
{
    KestovanUpdates updates(std::make_unique<FakeUpdater>(true, true));
    std::optional<QString> reason = QStringLiteral("Busy.");
    updates.setBlockedReason([&] { return reason; });
    QStringList ran;
    QVERIFY(updates.shouldPostponeRelaunch([&] { ran.append(QStringLiteral("first")); }));
    QVERIFY(updates.shouldPostponeRelaunch([&] { ran.append(QStringLiteral("second")); }));
    reason.reset();
    QTRY_COMPARE_WITH_TIMEOUT(ran.size(), 1, 1500);
    QTest::qWait(1200);
    QCOMPARE(ran, QStringList{QStringLiteral("second")});
}

void KestovanUpdatesTest::sharedInstanceUsesInstalledBackend()
{
    auto owned = std::make_unique<FakeUpdater>(true, false);
    FakeUpdater* fake = owned.get();
    KestovanUpdates::setSharedBackend(std::move(owned));
    KestovanUpdates& shared = KestovanUpdates::shared();
    QCOMPARE(&KestovanUpdates::shared(), &shared);
    QCOMPARE(shared.updater(), fake);
    QVERIFY(!shared.automaticChecks());
    shared.check();
    QCOMPARE(fake->checks, 1);
}

void KestovanUpdatesTest::releaseUpdaterOpensNewerReleasePage()
{
    QList<QUrl> opened;
    std::atomic<int> fetches = 0;
    auto owned = std::make_unique<ReleaseUpdater>(
        [&] {
            ++fetches;
            QThread::msleep(100);
            return AppRelease{QStringLiteral("99.0.0"), 1, QUrl(releasePage())};
        },
        [&](const QUrl& url) {
            opened.append(url);
            return true;
        });
    ReleaseUpdater* updater = owned.get();
    KestovanUpdates updates(std::move(owned));
    QVERIFY(updates.canCheck());
    updates.check();
    QVERIFY(!updater->canCheckForUpdates());
    updates.check();                  // a check already runs: no second one
    QTRY_VERIFY(!updates.canCheck()); // the menu item is disabled while it runs
    QTRY_COMPARE(opened, QList<QUrl>{QUrl(releasePage())});
    QTRY_VERIFY(updates.canCheck());
    QCOMPARE(fetches.load(), 1);
}

void KestovanUpdatesTest::releaseUpdaterReportsOtherOutcomes_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<bool>("fails");
    QTest::addColumn<QString>("text");
    const QString running = runningVersion(QString::fromUtf8(Config::version));
    QTest::newRow("up to date") << running << false << QStringLiteral("Aerowen ") + running + " is up to date.";
    QTest::newRow("older") << "0.0.1" << false << QStringLiteral("Aerowen ") + running + " is up to date.";
    QTest::newRow("failure") << "" << true << "Application update check unavailable. Try again later.";
}

void KestovanUpdatesTest::releaseUpdaterReportsOtherOutcomes()
{
    QFETCH(QString, version);
    QFETCH(bool, fails);
    QFETCH(QString, text);
    int opened = 0;
    ReleaseUpdater updater(
        [&] {
            if (fails)
                throw DataError(DataError::invalid);
            // The running build itself: equal versions and builds are not newer.
            return AppRelease{version, runningBuild(QString::fromUtf8(Config::buildNumber)), QUrl(releasePage())};
        },
        [&](const QUrl&) { return bool(++opened); });
    QStringList notes;
    updater.setNotifier([&](const QString&, const QString& t) { notes.append(t); });
    updater.checkForUpdates();
    QTRY_COMPARE(notes.size(), 1);
    QCOMPARE(notes.first(), text);
    QCOMPARE(opened, 0);
}

void KestovanUpdatesTest::releaseUpdaterHoldsBackWhileBlocked()
{
    QList<QUrl> opened;
    auto owned = std::make_unique<ReleaseUpdater>(
        [] {
            return AppRelease{QStringLiteral("99.0.0"), 1, QUrl(releasePage())};
        },
        [&](const QUrl& url) {
            opened.append(url);
            return true;
        });
    ReleaseUpdater* updater = owned.get();
    QStringList notes;
    updater->setNotifier([&](const QString&, const QString& t) { notes.append(t); });
    KestovanUpdates updates(std::move(owned));

    std::optional<QString> reason = QStringLiteral("An exam is in progress.");
    updates.setBlockedReason([&] { return reason; });
    updates.check();
    QTRY_COMPARE(notes, QStringList{*reason}); // refused before anything is opened
    QVERIFY(opened.isEmpty());
}

void KestovanUpdatesTest::releaseUpdaterKeepsAutomaticSetting()
{
    {
        ReleaseUpdater updater([] { return AppRelease{}; }, [](const QUrl&) { return true; });
        QVERIFY(updater.automaticallyChecksForUpdates()); // on until the learner turns it off
        QSignalSpy spy(&updater, &Updater::automaticallyChecksForUpdatesChanged);
        updater.setAutomaticallyChecksForUpdates(false);
        QCOMPARE(spy.count(), 1);
    }
    ReleaseUpdater again([] { return AppRelease{}; }, [](const QUrl&) { return true; });
    QVERIFY(!again.automaticallyChecksForUpdates());
    again.setAutomaticallyChecksForUpdates(true);
    QVERIFY(again.automaticallyChecksForUpdates());
}

AEROWEN_TEST_MAIN(KestovanUpdatesTest, QCoreApplication)
#include "KestovanUpdatesTest.moc"
