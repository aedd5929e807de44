// The store's release check: one at a time, its status texts, and the release it offers.
#include "Config.h"
#include "store/Store.h"
#include "support/Fixtures.h"
#include "support/TestEnvironment.h"

#include <QSignalSpy>
#include <QTest>
#include <QThread>

#include <atomic>

using namespace Qt::StringLiterals;

namespace {

AppRelease release(const QString& version, qint64 build)
{
    return AppRelease{version, build,
                      QUrl(u"https://"_s + QLatin1StringView(Config::makerHost) + u"/software/aerowen"_s)};
}

} // namespace

class StoreReleaseTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void secondCallStartsNoRequest();
    void outcomes_data();
    void outcomes();

private:
    QTemporaryDir m_dir;
    std::unique_ptr<Store> m_store;
    QString running() const { return runningVersion(QString::fromUtf8(Config::version)); }
    qint64 build() const { return runningBuild(QString::fromUtf8(Config::buildNumber)); }
    void runCheck()
    {
        QSignalSpy finished(m_store.get(), &Store::releaseCheckFinished);
        m_store->checkApplicationUpdates();
        QVERIFY(finished.wait(10000));
        QVERIFY(!m_store->checkingApp());
    }
};

void StoreReleaseTest::init()
{
    m_store.reset();
    Fixtures::writeFile(m_dir.filePath(u"pools.json"_s), Fixtures::threeLevelPack().toBytes());
    m_store = std::make_unique<Store>(m_dir.filePath(u"pools.json"_s), m_dir.filePath(u"storage"_s));
}

void StoreReleaseTest::secondCallStartsNoRequest()
{
    std::atomic<int> requests = 0;
    m_store->setReleaseFetcher([&] {
        ++requests;
        QThread::msleep(300);
        return release(u"99.0.0"_s, 1);
    });
    QSignalSpy finished(m_store.get(), &Store::releaseCheckFinished);
    m_store->checkApplicationUpdates();
    QVERIFY(m_store->checkingApp());
    QCOMPARE(m_store->appUpdateStatus(), u"Checking for application updates…"_s);
    m_store->checkApplicationUpdates();
    QVERIFY(finished.wait(10000));
    QTest::qWait(100);
    QCOMPARE(requests.load(), 1);
    QCOMPARE(finished.count(), 1);
    QVERIFY(!m_store->checkingApp());
}

void StoreReleaseTest::outcomes_data()
{
    // A first check and then a second one, to see what the second keeps of the first.
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("second");
    QTest::addColumn<QString>("status");
    QTest::addColumn<QString>("offered");

    QTest::newRow("newer version") << ""
                                   << "99.0.0"
                                   << "Aerowen 99.0.0 is available. Download it to update."
                                   << "99.0.0";
    QTest::newRow("same version, later build")
        << ""
        << "same+1" << u"Aerowen %1 is available. Download it to update."_s << "same+1";
    QTest::newRow("same version and build") << "99.0.0"
                                            << "same" << u"Aerowen %1 is up to date."_s << "";
    QTest::newRow("older version clears the offer") << "99.0.0"
                                                    << "0.9.0" << u"Aerowen %1 is up to date."_s << "";
    QTest::newRow("failure keeps the offer") << "99.0.0"
                                             << "fail"
                                             << "Application update check unavailable. Try again later."
                                             << "99.0.0";
    QTest::newRow("failure without offer") << ""
                                           << "fail"
                                           << "Application update check unavailable. Try again later."
                                           << "";
}

void StoreReleaseTest::outcomes()
{
    QFETCH(QString, first);
    QFETCH(QString, second);
    QFETCH(QString, status);
    QFETCH(QString, offered);
    const auto make = [&](const QString& what) -> std::function<AppRelease()> {
        if (what == "fail"_L1)
            return []() -> AppRelease { throw DataError(DataError::invalid); };
        if (what == "same"_L1)
            return [this] { return release(running(), build()); };
        if (what == "same+1"_L1)
            return [this] { return release(running(), build() + 1); };
        return [what] { return release(what, 1); };
    };
    if (!first.isEmpty()) {
        m_store->setReleaseFetcher(make(first));
        runCheck();
    }
    m_store->setReleaseFetcher(make(second));
    runCheck();
    QCOMPARE(m_store->appUpdateStatus(), status.contains("%1"_L1) ? status.arg(running()) : status);
    if (offered.isEmpty()) {
        QVERIFY(!m_store->availableRelease());
    } else {
        QVERIFY(m_store->availableRelease());
        QCOMPARE(m_store->availableRelease()->version, offered == "same+1"_L1 ? running() : offered);
    }
}

AEROWEN_TEST_MAIN(StoreReleaseTest, QCoreApplication)
#include "StoreReleaseTest.moc"
