// The local HTTPS site: a python3 server (https_site.py) that makes its certificate with openssl.
#include "LocalHttpsSite.h"

LocalHttpsSite::~LocalHttpsSite()
{
    m_server.kill();
    m_server.waitForFinished(5000);
    qunsetenv("CURL_CA_BUNDLE");
}

QString LocalHttpsSite::start(const QString& root, const QString& replacementHost)
{
    m_server.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_server.start("python3", {KESTOVAN_SOURCE_DIR "/tests/support/https_site.py", root, m_dir.path(),
                               replacementHost.isEmpty() ? "-" : replacementHost});
    while (!m_server.canReadLine())
        if (!m_server.waitForReadyRead(60000))
            return QStringLiteral("the local HTTPS server did not start (python3 or openssl missing?)");
    m_port = m_server.readLine().trimmed().toInt();
    qputenv("CURL_CA_BUNDLE", certificatePath().toLocal8Bit());
    return m_port > 0 ? QString() : QStringLiteral("the local HTTPS server reported no port");
}
