// The release record (validation, version order, fetching from a local HTTPS server), the updater front over a
// fake updater, and the release-record updater.
#include "Config.h"
#include "appupdate/AppRelease.h"
#include "appupdate/KestovanUpdates.h"
#include "appupdate/ReleaseUpdater.h"
#include "support/Fixtures.h"
#include "support/LocalHttpsSite.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QSslConfiguration>
#include <QTcpServer>
#include <QTest>
#include <QThread>
#include <QtConcurrent/QtConcurrentRun>

#include <atomic>
#include <thread>

using namespace Qt::StringLiterals;

namespace {

const QString host = QString::fromLatin1(Config::makerHost);
const QString page = u"https://"_s + host + u"/software/aerowen"_s;

QByteArray recordJson(const QString& version, qint64 build, const QString& url)
{
    return QStringLiteral(R"({"version":"%1","build":%2,"url":"%3"})").arg(version).arg(build).arg(url).toUtf8();
}

// Fetches the record on a worker thread; gives the record's fields, or the kind of error thrown.
QString fetchOnWorker()
{
    return QtConcurrent::run([] {
               try {
                   const AppRelease r = AppRelease::fetch();
                   return u"%1 %2 %3"_s.arg(r.version).arg(r.build).arg(r.url.toString());
               } catch (const DataError&) {
                   return u"data"_s;
               } catch (const DecodeError&) {
                   return u"decode"_s;
               } catch (const NetworkError&) {
                   return u"network"_s;
               } catch (...) {
                   return u"other"_s;
               }
           })
        .result();
}

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

const QString examRunning = u"An exam is in progress."_s;

} // namespace

class AppUpdateTest : public QObject
{
    Q_OBJECT

private:
    LocalHttpsSite m_site;
    QTemporaryDir m_root;
    QString m_siteError;
    QString record() const { return m_root.filePath(u"static/downloads/aerowen-version.json"_s); }
    QUrl recordAddress(int port) const
    {
        return QUrl(u"https://localhost:%1/static/downloads/aerowen-version.json"_s.arg(port));
    }

private slots:
    void initTestCase()
    {
        QVERIFY(QDir(m_root.path()).mkpath(u"static/downloads"_s));
        m_siteError = m_site.start(m_root.path());
        AppRelease::setRecordAddressForTesting(recordAddress(m_site.port()));
        QSslConfiguration ssl = QSslConfiguration::defaultConfiguration();
        ssl.addCaCertificates(m_site.certificatePath());
        AppRelease::setSslConfigurationForTesting(ssl);
    }
    void cleanupTestCase()
    {
        AppRelease::setRecordAddressForTesting(std::nullopt);
        AppRelease::setSslConfigurationForTesting(std::nullopt);
    }

    void validateAppliesEveryRule_data()
    {
        QTest::addColumn<QString>("version");
        QTest::addColumn<qint64>("build");
        QTest::addColumn<QString>("url");
        QTest::addColumn<bool>("valid");
        QTest::newRow("plain") << "1.2.0" << qint64(1) << page << true;
        QTest::newRow("trailing slash") << "10.20.30" << qint64(99) << page + u"/"_s << true;
        QTest::newRow("two parts") << "1.2" << qint64(5) << page << false;
        QTest::newRow("four parts") << "1.2.3.4" << qint64(5) << page << false;
        QTest::newRow("pre-release") << "1.2.3-beta" << qint64(5) << page << false;
        QTest::newRow("letters") << "v1.2.3" << qint64(5) << page << false;
        QTest::newRow("empty version") << "" << qint64(5) << page << false;
        QTest::newRow("build 0") << "1.2.3" << qint64(0) << page << false;
        QTest::newRow("negative build") << "1.2.3" << qint64(-4) << page << false;
        QTest::newRow("plain http") << "1.2.3" << qint64(5) << u"http://"_s + host + u"/software/aerowen"_s << false;
        QTest::newRow("other host") << "1.2.3" << qint64(5) << u"https://example.com/software/aerowen"_s << false;
        QTest::newRow("subdomain") << "1.2.3" << qint64(5) << u"https://www."_s + host + u"/software/aerowen"_s
                                   << false;
        QTest::newRow("no host") << "1.2.3" << qint64(5) << u"https:/software/aerowen"_s << false;
        QTest::newRow("other path") << "1.2.3" << qint64(5) << page + u"/x"_s << false;
        QTest::newRow("root path") << "1.2.3" << qint64(5) << u"https://"_s + host + u"/"_s << false;
        QTest::newRow("double slash") << "1.2.3" << qint64(5) << page + u"//"_s << false;
        QTest::newRow("query") << "1.2.3" << qint64(5) << page + u"?a=1"_s << false;
        QTest::newRow("empty query") << "1.2.3" << qint64(5) << page + u"?"_s << false;
        QTest::newRow("fragment") << "1.2.3" << qint64(5) << page + u"#top"_s << false;
        QTest::newRow("user") << "1.2.3" << qint64(5) << u"https://me@"_s + host + u"/software/aerowen"_s << false;
        QTest::newRow("password") << "1.2.3" << qint64(5) << u"https://me:pw@"_s + host + u"/software/aerowen"_s
                                  << false;
    }
    void validateAppliesEveryRule()
    {
        QFETCH(QString, version);
        QFETCH(qint64, build);
        QFETCH(QString, url);
        QFETCH(bool, valid);
        bool accepted = true;
        try { // through the JSON reader, as a fetched record would come
            AppRelease::fromBytes(recordJson(version, build, url)).validate();
        } catch (const DataError&) {
            accepted = false;
        }
        QCOMPARE(accepted, valid);
    }

    void isNewerComparesDigitRunsThenBuild_data()
    {
        QTest::addColumn<QString>("version");
        QTest::addColumn<qint64>("build");
        QTest::addColumn<QString>("running");
        QTest::addColumn<qint64>("runningBuild");
        QTest::addColumn<bool>("newer");
        QTest::newRow("same version, higher build") << "1.0.1" << qint64(9) << "1.0.1" << qint64(8) << true;
        QTest::newRow("same version and build") << "1.0.1" << qint64(8) << "1.0.1" << qint64(8) << false;
        QTest::newRow("same version, lower build") << "1.0.1" << qint64(7) << "1.0.1" << qint64(8) << false;
        QTest::newRow("older version, high build") << "1.0.0" << qint64(99) << "1.0.1" << qint64(8) << false;
        QTest::newRow("1.0.10 after 1.0.1") << "1.0.10" << qint64(1) << "1.0.1" << qint64(8) << true;
        QTest::newRow("1.10.0 after 1.9.9") << "1.10.0" << qint64(1) << "1.9.9" << qint64(50) << true;
        QTest::newRow("1.9.9 before 1.10.0") << "1.9.9" << qint64(50) << "1.10.0" << qint64(1) << false;
        QTest::newRow("major first") << "2.0.0" << qint64(1) << "1.99.99" << qint64(1) << true;
    }
    void isNewerComparesDigitRunsThenBuild()
    {
        QFETCH(QString, version);
        QFETCH(qint64, build);
        QFETCH(QString, running);
        QFETCH(qint64, runningBuild);
        QFETCH(bool, newer);
        QCOMPARE((AppRelease{version, build, QUrl(page)}.isNewer(running, runningBuild)), newer);
    }

    void runningBuildFallsBackToEight()
    {
        QCOMPARE(runningBuild(u"12"_s), 12);
        for (const QString& bad : {u""_s, u"abc"_s, u"12a"_s, u"0x1F"_s})
            QCOMPARE(runningBuild(bad), 8);
        QCOMPARE(runningVersion(QString()), u"1.0.1"_s);
        QCOMPARE(runningVersion(u"1.0.2"_s), u"1.0.2"_s);
    }

    void fetchChecksResponse_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<bool>("redirected");
        QTest::addColumn<QString>("result");
        const QByteArray good = recordJson(u"2.1.0"_s, 14, page);
        const auto sized = [&](qsizetype size) {
            return QByteArray(good).insert(1, QByteArray(size - good.size(), ' '));
        };
        const QString fields = u"2.1.0 14 "_s + page;
        QTest::newRow("valid") << good << false << fields;
        QTest::newRow("16383 bytes") << sized(16383) << false << fields;
        QTest::newRow("16384 bytes") << sized(16384) << false << "data";
        QTest::newRow("far too large") << sized(200000) << false << "data";
        QTest::newRow("not JSON") << QByteArray("<html>maintenance</html>") << false << "decode";
        QTest::newRow("missing key") << QByteArray(R"({"version":"2.1.0","build":14})") << false << "decode";
        QTest::newRow("invalid record") << recordJson(u"2.1"_s, 14, page) << false << "data";
        QTest::newRow("not found") << QByteArray() << false << "data";
        // The record is fine where the redirect leads; only the changed address makes the fetch fail.
        QTest::newRow("redirect") << good << true << "data";
    }
    void fetchChecksResponse()
    {
        if (!m_siteError.isEmpty())
            QSKIP(qPrintable(m_siteError));
        QFETCH(QByteArray, body);
        QFETCH(bool, redirected);
        QFETCH(QString, result);
        const QString moved = m_root.filePath(u"static/downloads/moved.json"_s);
        for (const QString& file : QStringList{record(), record() + u".redirect"_s, moved})
            QFile::remove(file);
        if (redirected)
            Fixtures::writeFile(record() + u".redirect"_s, "/static/downloads/moved.json");
        if (!body.isEmpty())
            Fixtures::writeFile(redirected ? moved : record(), body);
        QCOMPARE(fetchOnWorker(), result);
    }

    void fetchPassesOnTransportFailures()
    {
        // A port nobody listens on: the connection is refused and the transport's own error comes through.
        QTcpServer probe;
        QVERIFY(probe.listen(QHostAddress::LocalHost));
        const quint16 port = probe.serverPort();
        probe.close();
        AppRelease::setRecordAddressForTesting(recordAddress(port));
        const QString fetched = fetchOnWorker();
        AppRelease::setRecordAddressForTesting(recordAddress(m_site.port()));
        QCOMPARE(fetched, u"network"_s);
    }

    void frontMirrorsInitialValuesAtOnce_data()
    {
        QTest::addColumn<bool>("canCheck");
        QTest::addColumn<bool>("automatic");
        QTest::newRow("can check, manual") << true << false;
        QTest::newRow("busy, automatic") << false << true;
        QTest::newRow("busy, manual") << false << false;
    }
    void frontMirrorsInitialValuesAtOnce()
    {
        QFETCH(bool, canCheck);
        QFETCH(bool, automatic);
        KestovanUpdates updates(std::make_unique<FakeUpdater>(canCheck, automatic));
        QCOMPARE(updates.canCheck(), canCheck);
        QCOMPARE(updates.automaticChecks(), automatic);
    }

    void frontFollowsAndDrivesTheUpdater()
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

        updates.toggleAutomaticChecks();
        QVERIFY(fake->automaticallyChecksForUpdates());
        updates.setAutomaticChecks(false);
        QVERIFY(!fake->automaticallyChecksForUpdates());
        updates.check();
        updates.check();
        QCOMPARE(fake->checks, 2);

        QCOMPARE(updates.shouldProceedWithUpdate(), std::nullopt); // no hook installed: never blocked
        std::optional<QString> reason;
        updates.setBlockedReason([&] { return reason; });
        QCOMPARE(updates.shouldProceedWithUpdate(), std::nullopt);
        reason = examRunning;
        QCOMPARE(updates.shouldProceedWithUpdate(), reason);
    }

    void postponedRelaunchRunsOnceSafe()
    {
        KestovanUpdates updates(std::make_unique<FakeUpdater>(true, true));
        std::optional<QString> reason = examRunning;
        updates.setBlockedReason([&] { return reason; });
        QStringList alerts;
        updates.setAlert([&](const QString& m, const QString& i) { alerts.append(m + u" | "_s + i); });
        int installs = 0;
        QVERIFY(updates.shouldPostponeRelaunch([&] { ++installs; }));
        QVERIFY(alerts.isEmpty()); // the alert waits until the updater has its answer
        QTRY_COMPARE(alerts, QStringList{u"Update waiting | An exam is in progress. The update will continue when it "
                                         u"is safe to restart."_s});
        QTest::qWait(2300); // still blocked over several polls: nothing runs
        QCOMPARE(installs, 0);
        QVERIFY(updates.postponed());

        reason.reset();
        QElapsedTimer clock;
        clock.start();
        QTRY_COMPARE_WITH_TIMEOUT(installs, 1, 1500);
        QVERIFY(clock.elapsed() <= 1300);
        QVERIFY(!updates.postponed());
        // Without a reason nothing is postponed: the updater relaunches by itself and the front keeps nothing.
        QVERIFY(!updates.shouldPostponeRelaunch([&] { installs += 10; }));
        QVERIFY(!updates.postponed());
        QTest::qWait(1200);
        QCOMPARE(installs, 1); // the timer is gone and the action was used up
        QCOMPARE(alerts.size(), 1);
    }

    void newPostponementReplacesPendingAction()
    {
        KestovanUpdates updates(std::make_unique<FakeUpdater>(true, true));
        std::optional<QString> reason = examRunning;
        updates.setBlockedReason([&] { return reason; });
        QStringList ran;
        QVERIFY(updates.shouldPostponeRelaunch([&] { ran.append(u"first"_s); }));
        QVERIFY(updates.shouldPostponeRelaunch([&] { ran.append(u"second"_s); }));
        reason.reset();
        QTRY_COMPARE_WITH_TIMEOUT(ran.size(), 1, 1500);
        QTest::qWait(1200);
        QCOMPARE(ran, QStringList{u"second"_s});
    }

    void releaseUpdaterChecksOnceAndReports_data()
    {
        QTest::addColumn<QString>("version"); // empty: the fetch fails
        QTest::addColumn<QString>("text");    // empty: the release page is opened instead
        const QString running = runningVersion(QString::fromUtf8(Config::version));
        QTest::newRow("newer") << "99.0.0"
                               << "";
        QTest::newRow("up to date") << running << u"Aerowen "_s + running + u" is up to date."_s;
        QTest::newRow("older") << "0.0.1" << u"Aerowen "_s + running + u" is up to date."_s;
        QTest::newRow("failure") << "" << u"Application update check unavailable. Try again later."_s;
        QTest::newRow("blocked") << "99.0.0" << examRunning; // refused before anything is opened
    }
    void releaseUpdaterChecksOnceAndReports()
    {
        QFETCH(QString, version);
        QFETCH(QString, text);
        QList<QUrl> opened;
        std::atomic<int> fetches = 0;
        auto owned = std::make_unique<ReleaseUpdater>(
            [&] {
                ++fetches;
                QThread::msleep(100);
                if (version.isEmpty())
                    throw DataError(DataError::invalid);
                // The running build itself: equal versions and builds are not newer.
                return AppRelease{version, runningBuild(QString::fromUtf8(Config::buildNumber)), QUrl(page)};
            },
            [&](const QUrl& url) {
                opened.append(url);
                return true;
            });
        QStringList notes;
        owned->setNotifier([&](const QString&, const QString& t) { notes.append(t); });
        KestovanUpdates updates(std::move(owned));
        updates.setBlockedReason([&] { return text == examRunning ? std::optional(examRunning) : std::nullopt; });
        QVERIFY(updates.canCheck());
        updates.check();
        updates.check();                  // a check already runs: no second one
        QTRY_VERIFY(!updates.canCheck()); // the menu item is disabled while it runs
        QTRY_VERIFY(updates.canCheck());
        QCOMPARE(fetches.load(), 1);
        QCOMPARE(notes, text.isEmpty() ? QStringList() : QStringList{text});
        QCOMPARE(opened, text.isEmpty() ? QList<QUrl>{QUrl(page)} : QList<QUrl>());
    }

    void releaseUpdaterKeepsAutomaticSetting()
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
    }
};

AEROWEN_TEST_MAIN(AppUpdateTest, QCoreApplication)
#include "AppUpdateTest.moc"
