// The release record: validation rules, version order, and fetching it from a local HTTPS server.
#include "appupdate/AppRelease.h"
#include "Config.h"
#include "support/LocalHttpsSite.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QSslConfiguration>
#include <QTcpServer>
#include <QTest>
#include <QtConcurrent/QtConcurrentRun>

namespace {

QString makerUrl(const QString& rest)
{
    return QStringLiteral("https://") + QLatin1StringView(Config::makerHost) + rest;
}

QByteArray recordJson(const QString& version, qint64 build, const QString& url)
{
    return QStringLiteral(R"({"version":"%1","build":%2,"url":"%3"})").arg(version).arg(build).arg(url).toUtf8();
}

// What a fetch on a worker thread ended with: the record, or the kind of error it threw.
struct Fetched
{
    std::optional<AppRelease> release;
    QString error;
};

Fetched fetchOnWorker()
{
    return QtConcurrent::run([] {
               Fetched f;
               try {
                   f.release = AppRelease::fetch();
               } catch (const DataError&) {
                   f.error = QStringLiteral("data");
               } catch (const DecodeError&) {
                   f.error = QStringLiteral("decode");
               } catch (const NetworkError&) {
                   f.error = QStringLiteral("network");
               } catch (...) {
                   f.error = QStringLiteral("other");
               }
               return f;
           })
        .result();
}

} // namespace

class AppReleaseTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void validateAppliesEveryRule_data();
    void validateAppliesEveryRule();
    void isNewerComparesDigitRunsThenBuild_data();
    void isNewerComparesDigitRunsThenBuild();
    void runningBuildFallsBackToEight_data();
    void runningBuildFallsBackToEight();
    void fetchChecksResponse_data();
    void fetchChecksResponse();
    void fetchPassesOnTransportFailures();

private:
    LocalHttpsSite m_site;
    QTemporaryDir m_root;
    bool m_siteUp = false;
    QString m_siteError;
    QString recordPath() const { return m_root.filePath(QStringLiteral("static/downloads/aerowen-version.json")); }
};

void AppReleaseTest::initTestCase()
{
    QVERIFY(m_root.isValid());
    QVERIFY(QDir(m_root.path()).mkpath(QStringLiteral("static/downloads")));
    if (LocalHttpsSite::available())
        m_siteUp = m_site.start(m_root.path(), {}, &m_siteError);
    if (m_siteUp) {
        AppRelease::setRecordAddressForTesting(
            QUrl(QStringLiteral("https://localhost:%1/static/downloads/aerowen-version.json").arg(m_site.port())));
        QSslConfiguration ssl = QSslConfiguration::defaultConfiguration();
        ssl.addCaCertificates(m_site.certificatePath());
        AppRelease::setSslConfigurationForTesting(ssl);
    }
}

void AppReleaseTest::cleanupTestCase()
{
    AppRelease::setRecordAddressForTesting(std::nullopt);
    AppRelease::setSslConfigurationForTesting(std::nullopt);
}

void AppReleaseTest::validateAppliesEveryRule_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<qint64>("build");
    QTest::addColumn<QString>("url");
    QTest::addColumn<bool>("valid");

    const QString page = makerUrl(QStringLiteral("/software/aerowen"));
    QTest::newRow("plain") << "1.2.0" << qint64(1) << page << true;
    QTest::newRow("trailing slash") << "10.20.30" << qint64(99) << page + QLatin1Char('/') << true;
    QTest::newRow("two parts") << "1.2" << qint64(5) << page << false;
    QTest::newRow("four parts") << "1.2.3.4" << qint64(5) << page << false;
    QTest::newRow("pre-release") << "1.2.3-beta" << qint64(5) << page << false;
    QTest::newRow("letters") << "v1.2.3" << qint64(5) << page << false;
    QTest::newRow("empty version") << "" << qint64(5) << page << false;
    QTest::newRow("build 0") << "1.2.3" << qint64(0) << page << false;
    QTest::newRow("negative build") << "1.2.3" << qint64(-4) << page << false;
    QTest::newRow("plain http") << "1.2.3" << qint64(5)
                                << QStringLiteral("http://") + QLatin1StringView(Config::makerHost) +
                                       QStringLiteral("/software/aerowen")
                                << false;
    QTest::newRow("other host") << "1.2.3" << qint64(5) << QStringLiteral("https://example.com/software/aerowen")
                                << false;
    QTest::newRow("subdomain") << "1.2.3" << qint64(5)
                               << QStringLiteral("https://www.") + QLatin1StringView(Config::makerHost) +
                                      QStringLiteral("/software/aerowen")
                               << false;
    QTest::newRow("no host") << "1.2.3" << qint64(5) << QStringLiteral("https:/software/aerowen") << false;
    QTest::newRow("other path") << "1.2.3" << qint64(5) << makerUrl(QStringLiteral("/software/aerowen/x")) << false;
    QTest::newRow("root path") << "1.2.3" << qint64(5) << makerUrl(QStringLiteral("/")) << false;
    QTest::newRow("double slash") << "1.2.3" << qint64(5) << makerUrl(QStringLiteral("/software/aerowen//")) << false;
    QTest::newRow("query") << "1.2.3" << qint64(5) << page + QStringLiteral("?a=1") << false;
    QTest::newRow("empty query") << "1.2.3" << qint64(5) << page + QStringLiteral("?") << false;
    QTest::newRow("fragment") << "1.2.3" << qint64(5) << page + QStringLiteral("#top") << false;
    QTest::newRow("user") << "1.2.3" << qint64(5)
                          << QStringLiteral("https://me@") + QLatin1StringView(Config::makerHost) +
                                 QStringLiteral("/software/aerowen")
                          << false;
    QTest::newRow("password") << "1.2.3" << qint64(5)
                              << QStringLiteral("https://me:pw@") + QLatin1StringView(Config::makerHost) +
                                     QStringLiteral("/software/aerowen")
                              << false;
}

void AppReleaseTest::validateAppliesEveryRule()
{
    QFETCH(QString, version);
    QFETCH(qint64, build);
    QFETCH(QString, url);
    QFETCH(bool, valid);
    // Through the JSON reader, as a fetched record would come.
    const AppRelease release = AppRelease::fromBytes(recordJson(version, build, url));
    bool accepted = true;
    try {
        release.validate();
    } catch (const DataError&) {
        accepted = false;
    }
    QCOMPARE(accepted, valid);
}

void AppReleaseTest::isNewerComparesDigitRunsThenBuild_data()
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

void AppReleaseTest::isNewerComparesDigitRunsThenBuild()
{
    QFETCH(QString, version);
    QFETCH(qint64, build);
    QFETCH(QString, running);
    QFETCH(qint64, runningBuild);
    QFETCH(bool, newer);
    const AppRelease release{version, build, QUrl(makerUrl(QStringLiteral("/software/aerowen")))};
    QCOMPARE(release.isNewer(running, runningBuild), newer);
}

void AppReleaseTest::runningBuildFallsBackToEight_data()
{
    QTest::addColumn<QString>("configured");
    QTest::addColumn<qint64>("build");
    QTest::newRow("number") << "12" << qint64(12);
    QTest::newRow("empty") << "" << qint64(8);
    QTest::newRow("text") << "abc" << qint64(8);
    QTest::newRow("trailing letters") << "12a" << qint64(8);
    QTest::newRow("hexadecimal") << "0x1F" << qint64(8);
}

void AppReleaseTest::runningBuildFallsBackToEight()
{
    QFETCH(QString, configured);
    QFETCH(qint64, build);
    QCOMPARE(runningBuild(configured), build);
    QCOMPARE(runningVersion(QString()), QStringLiteral("1.0.1"));
    QCOMPARE(runningVersion(QStringLiteral("1.0.2")), QStringLiteral("1.0.2"));
}

void AppReleaseTest::fetchChecksResponse_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("redirect");
    QTest::addColumn<QString>("error");

    const QByteArray good = recordJson(QStringLiteral("2.1.0"), 14, makerUrl(QStringLiteral("/software/aerowen")));
    // Pads the record with blanks inside the object to an exact size.
    const auto sized = [&](qsizetype size) {
        QByteArray b = good;
        b.insert(1, QByteArray(size - good.size(), ' '));
        return b;
    };
    QTest::newRow("valid") << good << QString() << QString();
    QTest::newRow("16383 bytes") << sized(16383) << QString() << QString();
    QTest::newRow("16384 bytes") << sized(16384) << QString() << QStringLiteral("data");
    QTest::newRow("far too large") << sized(200000) << QString() << QStringLiteral("data");
    QTest::newRow("not JSON") << QByteArray("<html>maintenance</html>") << QString() << QStringLiteral("decode");
    QTest::newRow("missing key") << QByteArray(R"({"version":"2.1.0","build":14})") << QString()
                                 << QStringLiteral("decode");
    QTest::newRow("invalid record") << recordJson(QStringLiteral("2.1"), 14,
                                                  makerUrl(QStringLiteral("/software/aerowen")))
                                    << QString() << QStringLiteral("data");
    QTest::newRow("not found") << QByteArray() << QString() << QStringLiteral("data");
    QTest::newRow("redirect") << good << QStringLiteral("/static/downloads/moved.json") << QStringLiteral("data");
}

void AppReleaseTest::fetchChecksResponse()
{
    if (!m_siteUp)
        QSKIP(qPrintable(QStringLiteral("no local HTTPS server: ") + m_siteError));
    QFETCH(QByteArray, body);
    QFETCH(QString, redirect);
    QFETCH(QString, error);

    QFile::remove(recordPath());
    QFile::remove(recordPath() + QStringLiteral(".redirect"));
    const QString moved = m_root.filePath(QStringLiteral("static/downloads/moved.json"));
    QFile::remove(moved);
    const auto write = [](const QString& path, const QByteArray& bytes) {
        QFile f(path);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(bytes);
    };
    if (!redirect.isEmpty()) {
        // The record itself is fine where the redirect leads; only the changed address makes the fetch fail.
        write(moved, body);
        write(recordPath() + QStringLiteral(".redirect"), redirect.toUtf8());
    } else if (!body.isEmpty()) {
        write(recordPath(), body);
    }

    const Fetched fetched = fetchOnWorker();
    QCOMPARE(fetched.error, error);
    if (error.isEmpty()) {
        QVERIFY(fetched.release);
        QCOMPARE(fetched.release->version, QStringLiteral("2.1.0"));
        QCOMPARE(fetched.release->build, qint64(14));
        QCOMPARE(fetched.release->url, QUrl(makerUrl(QStringLiteral("/software/aerowen"))));
    }
}

void AppReleaseTest::fetchPassesOnTransportFailures()
{
    // A port nobody listens on: the connection is refused and the transport's own error comes through.
    QTcpServer probe;
    QVERIFY(probe.listen(QHostAddress::LocalHost));
    const quint16 port = probe.serverPort();
    probe.close();
    AppRelease::setRecordAddressForTesting(
        QUrl(QStringLiteral("https://localhost:%1/static/downloads/aerowen-version.json").arg(port)));
    const Fetched fetched = fetchOnWorker();
    if (m_siteUp)
        AppRelease::setRecordAddressForTesting(
            QUrl(QStringLiteral("https://localhost:%1/static/downloads/aerowen-version.json").arg(m_site.port())));
    QCOMPARE(fetched.error, QStringLiteral("network"));
}

AEROWEN_TEST_MAIN(AppReleaseTest, QCoreApplication)
#include "AppReleaseTest.moc"
