// The local HTTPS site: certificate by openssl, server by python3 (https_site.py).
#include "LocalHttpsSite.h"

#include "Fixtures.h"

LocalHttpsSite::~LocalHttpsSite()
{
    m_server.kill();
    m_server.waitForFinished(5000);
    qunsetenv("CURL_CA_BUNDLE");
}

QString LocalHttpsSite::start(const QString& root, const QString& replacementHost)
{
    const QString key = m_dir.filePath(QStringLiteral("key.pem"));
    QProcess openssl;
    openssl.setProcessChannelMode(QProcess::MergedChannels);
    openssl.start(QStringLiteral("openssl"), {"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", key, "-out",
                                              certificatePath(), "-days", "2", "-subj", "/CN=localhost", "-addext",
                                              "subjectAltName=DNS:localhost,DNS:www.localhost,IP:127.0.0.1"});
    if (!openssl.waitForFinished(60000) || openssl.exitCode() != 0)
        return QStringLiteral("openssl failed: ") + QString::fromLocal8Bit(openssl.readAll());
    m_server.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_server.start(QStringLiteral("python3"), {QStringLiteral(KESTOVAN_SOURCE_DIR "/tests/support/https_site.py"), root,
                                               certificatePath(), key, m_dir.filePath(QStringLiteral("requests.log")),
                                               replacementHost.isEmpty() ? QStringLiteral("-") : replacementHost});
    while (!m_server.canReadLine()) {
        if (!m_server.waitForReadyRead(20000))
            return QStringLiteral("the local HTTPS server did not report its port");
    }
    m_port = m_server.readLine().trimmed().toInt();
    qputenv("CURL_CA_BUNDLE", certificatePath().toLocal8Bit());
    return m_port > 0 ? QString() : QStringLiteral("the local HTTPS server reported no port");
}

QString LocalHttpsSite::requests() const
{
    return QString::fromUtf8(Fixtures::readFile(m_dir.filePath(QStringLiteral("requests.log"))));
}
