// The release record (its rules, version order, fetching it from a local HTTPS server), the release check as the
// store and the release updater run it, and the updater front with its hook and postponed relaunch.
#include "Config.h"
#include "appupdate/KestovanUpdates.h"
#include "appupdate/ReleaseUpdater.h"
#include "store/Store.h"
#include "support/Fixtures.h"
#include "support/LocalHttpsSite.h"
#include "support/TestEnvironment.h"

#include <QNetworkRequest>
#include <QSignalSpy>
#include <QSslConfiguration>

using namespace Qt::StringLiterals;

namespace {

const QString host = QString::fromLatin1(Config::makerHost);
const QString page = u"https://"_s + host + u"/software/aerowen"_s;

QByteArray record(const QString& version, qint64 build, const QString& url = page)
{
    return u"{\"version\":\"%1\",\"build\":%2,\"url\":\"%3\"}"_s.arg(version).arg(build).arg(url).toUtf8();
}

} // namespace

class AppUpdateTest : public QObject
{
    Q_OBJECT

    QTemporaryDir m_root;
    LocalHttpsSite m_site;
    const QString m_running = runningVersion(QString::fromUtf8(Config::version));
    const qint64 m_build = runningBuild(QString::fromUtf8(Config::buildNumber));

private slots:
    void initTestCase()
    {
        QCOMPARE(m_site.start(m_root.path()), QString());
        QSslConfiguration ssl = QSslConfiguration::defaultConfiguration();
        ssl.addCaCertificates(m_site.certificatePath());
        AppRelease::setRequestHookForTesting([ssl](QNetworkRequest& request) { request.setSslConfiguration(ssl); });
    }

    void isNewerComparesDigitRunsThenBuild()
    {
        // release version and build, running version and build, whether the release is newer
        const std::tuple<const char*, int, const char*, int, bool> rows[] = {
            {"1.0.1", 9, "1.0.1", 8, true},    {"1.0.1", 8, "1.0.1", 8, false},  {"1.0.1", 7, "1.0.1", 8, false},
            {"1.0.0", 99, "1.0.1", 8, false},  {"1.0.10", 1, "1.0.1", 8, true},  {"1.10.0", 1, "1.9.9", 50, true},
            {"1.9.9", 50, "1.10.0", 1, false}, {"2.0.0", 1, "1.99.99", 1, true}, {"01.0.0", 9, "1.0.0", 8, true}};
        for (const auto& [version, build, running, runBuild, newer] : rows) {
            const AppRelease release{QString::fromLatin1(version), build, {}};
            QVERIFY2(release.isNewer(QString::fromLatin1(running), runBuild) == newer, version);
        }
        // Without a valid build number the running build counts as 8; without a version, as 1.0.1.
        for (const auto& [text, build] : {std::pair{"12", 12}, {"", 8}, {"abc", 8}, {"12a", 8}, {"0x1F", 8}})
            QCOMPARE(runningBuild(QString::fromLatin1(text)), build);
        QVERIFY(runningVersion(QString()) == u"1.0.1"_s && runningVersion(u"1.0.2"_s) == u"1.0.2"_s);
    }

    void releaseCheckFetchesChecksAndReports_data()
    {
        QTest::addColumn<QUrl>("address");    // of the record
        QTest::addColumn<bool>("blocked");    // an exam runs when the updater would open the download page
        QTest::addColumn<QString>("outcome"); // the store's status line, or the kind of failure the fetch throws
        int files = 0;
        const auto at = [&](const QString& name) { return QUrl(u"https://localhost:%1/"_s.arg(m_site.port()) + name); };
        const auto serve = [&](const QByteArray& body) {
            Fixtures::writeFile(m_root.filePath(QString::number(++files)), body);
            return at(QString::number(files));
        };
        const auto offer = [](const QString& v) { return u"Aerowen %1 is available. Download it to update."_s.arg(v); };
        const QString upToDate = u"Aerowen "_s + m_running + u" is up to date."_s;
        const QByteArray newer = record(u"99.0.0"_s, m_build + 1), padding(16383 - newer.size(), ' ');
        QTest::newRow("newer version") << serve(newer) << false << offer(u"99.0.0"_s);
        QTest::newRow("newer while an exam runs") << serve(newer) << true << offer(u"99.0.0"_s);
        QTest::newRow("later build") << serve(record(m_running, m_build + 1)) << false << offer(m_running);
        QTest::newRow("same version and build") << serve(record(m_running, m_build)) << false << upToDate;
        QTest::newRow("older version, later build") << serve(record(u"0.9.0"_s, m_build + 1)) << false << upToDate;
        QTest::newRow("16383 bytes") << serve(padding + newer) << false << offer(u"99.0.0"_s);
        QTest::newRow("trailing slash") << serve(record(u"9.0.0"_s, 1, page + u"/"_s)) << false << offer(u"9.0.0"_s);
        QTest::newRow("16384 bytes") << serve(padding + ' ' + newer) << false << "DataError";
        QTest::newRow("not JSON") << serve("<html>maintenance</html>") << false << "DecodeError";
        QTest::newRow("not found") << at(u"none.json"_s) << false << "DataError";
        // The record is fine where the redirect leads; only the changed address makes the fetch fail.
        Fixtures::writeFile(m_root.filePath(u"moved.json.redirect"_s), serve(newer).path().toUtf8());
        QTest::newRow("redirect") << at(u"moved.json"_s) << false << "DataError";
        QTest::newRow("connection refused") << QUrl(u"https://localhost:0/r.json"_s) << false << "NetworkError";
        for (const char* version : {"1.2", "1.2.3.4", "1.2.3-beta", "v1.2.3", ""})
            QTest::addRow("version '%s'", version) << serve(record(version, 5)) << false << "DataError";
        QTest::newRow("build 0") << serve(record(u"99.0.0"_s, 0)) << false << "DataError";
        QTest::newRow("build -4") << serve(record(u"99.0.0"_s, -4)) << false << "DataError";
        for (const QString& url : QStringList{
                 u"http://"_s + host + u"/software/aerowen"_s, u"https://example.com/software/aerowen"_s,
                 u"https://www."_s + host + u"/software/aerowen"_s, u"https:/software/aerowen"_s, page + u"/x"_s,
                 u"https://"_s + host + u"/"_s, page + u"//"_s, page + u"?a=1"_s, page + u"?"_s, page + u"#top"_s,
                 u"https://me@"_s + host + u"/software/aerowen"_s, u"https://me:pw@"_s + host + u"/software/aerowen"_s,
                 // The host is compared as written, letter case included.
                 u"https://"_s + host.toUpper() + u"/software/aerowen"_s})
            QTest::addRow("%s", qPrintable(url)) << serve(record(u"99.0.0"_s, 5, url)) << false << "DataError";
    }
    void releaseCheckFetchesChecksAndReports()
    {
        QFETCH(QUrl, address);
        QFETCH(bool, blocked);
        QFETCH(QString, outcome);
        AppRelease::setRecordAddressForTesting(address);
        QString thrown; // the kind of failure: the name of the type thrown
        try {
            AppRelease::fetch();
        } catch (const Failure& e) {
            thrown = QString::fromLatin1(typeid(e).name());
        }
        QAtomicInt fetches = 0;
        const auto fetch = [&] { return ++fetches, AppRelease::fetch(); };
        // The store already offers an earlier release: a success replaces the offer, a failure keeps it.
        QTemporaryDir storage;
        Store store(Fixtures::sourcePackPath(), storage.path());
        QSignalSpy finished(&store, &Store::releaseCheckFinished);
        store.setReleaseFetcher([] { return AppRelease{u"98.0.0"_s, 1, page}; });
        store.checkApplicationUpdates();
        QVERIFY(finished.wait(10000));
        store.setReleaseFetcher(fetch);
        store.checkApplicationUpdates();
        QVERIFY(store.checkingApp());
        QCOMPARE(store.appUpdateStatus(), u"Checking for application updates…"_s);
        store.checkApplicationUpdates(); // a check already runs: no second one
        QVERIFY(finished.wait(10000) && !store.checkingApp());
        const bool failed = !outcome.startsWith(u"Aerowen"_s), newer = outcome.endsWith(u"update."_s);
        const QString status = failed ? u"Application update check unavailable. Try again later."_s : outcome;
        QVERIFY2(failed ? thrown.endsWith(outcome) : thrown.isEmpty(), qPrintable(thrown));
        QCOMPARE(store.appUpdateStatus(), status);
        const QString offered = newer ? outcome.section(u' ', 1, 1) : failed ? u"98.0.0"_s : QString();
        QCOMPARE(store.availableRelease() ? store.availableRelease()->version : QString(), offered);

        // The release updater checks once too, then tells the outcome or opens the release's download page.
        QList<QUrl> opened;
        QStringList notes;
        auto owned = std::make_unique<ReleaseUpdater>(fetch, [&](const QUrl& url) { return opened.append(url), true; });
        owned->setNotifier([&](const QString& title, const QString& text) { notes.append(title + u": "_s + text); });
        KestovanUpdates updates(std::move(owned));
        updates.setBlockedReason([&] { return blocked ? std::optional(u"An exam runs."_s) : std::nullopt; });
        QSignalSpy canCheck(&updates, &KestovanUpdates::canCheckChanged);
        updates.check();
        updates.check();
        QTRY_COMPARE(canCheck.count(), 2);  // disabled while it runs, then enabled again
        QCOMPARE(fetches.loadRelaxed(), 2); // one for the store, one for the updater
        const QString note = blocked ? u"An exam runs."_s : newer ? QString() : status;
        QCOMPARE(notes, note.isEmpty() ? QStringList() : QStringList{u"Check for Updates: "_s + note});
        QCOMPARE(opened, note.isEmpty() ? QList<QUrl>{store.availableRelease()->address()} : QList<QUrl>());
    }

    void frontFollowsTheUpdaterAndHoldsTheRelaunch()
    {
        QVERIFY(ReleaseUpdater().automaticallyChecksForUpdates()); // on until the learner turns it off
        ReleaseUpdater().setAutomaticallyChecksForUpdates(false);
        KestovanUpdates updates(std::make_unique<ReleaseUpdater>());
        QVERIFY(updates.canCheck() && !updates.automaticChecks()); // the updater's state, taken at once
        updates.toggleAutomaticChecks();
        QTRY_VERIFY(updates.automaticChecks());
        updates.setAutomaticChecks(false);
        QTRY_VERIFY(!updates.automaticChecks());

        std::optional<QString> reason = u"An exam is in progress."_s;
        updates.setBlockedReason([&] { return reason; });
        QCOMPARE(updates.shouldProceedWithUpdate(), reason);
        QStringList alerts, ran;
        updates.setAlert([&](const QString& m, const QString& i) { alerts.append(m + u" | "_s + i); });
        QVERIFY(updates.shouldPostponeRelaunch([&] { ran.append(u"first"_s); }));
        QVERIFY(updates.shouldPostponeRelaunch([&] { ran.append(u"second"_s); })); // replaces the first
        QVERIFY(alerts.isEmpty()); // the updater has its answer before the alert opens
        QTRY_COMPARE(alerts,
                     QStringList(2, u"Update waiting | An exam is in progress. The update will continue when it is "
                                    u"safe to restart."_s));
        QTest::qWait(1200); // still blocked at a poll: nothing runs
        QVERIFY(ran.isEmpty() && updates.postponed());
        reason.reset();
        QTRY_COMPARE_WITH_TIMEOUT(ran, QStringList{u"second"_s}, 1300); // within about a second
        // Without a reason nothing is postponed: the updater relaunches by itself.
        QVERIFY(!updates.postponed() && !updates.shouldPostponeRelaunch([&] { ran.append(u"x"_s); }) &&
                !updates.postponed());
    }
};

AEROWEN_TEST(AppUpdateTest)
AEROWEN_TEST_PROGRAM(QCoreApplication)
#include "AppUpdateTest.moc"
