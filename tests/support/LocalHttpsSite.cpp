// The local HTTPS site: certificate by openssl, server by python3's http.server.
#include "LocalHttpsSite.h"

#include <QFile>
#include <QStandardPaths>

LocalHttpsSite::~LocalHttpsSite()
{
    if (m_server.state() != QProcess::NotRunning) {
        m_server.kill();
        m_server.waitForFinished(5000);
    }
}

bool LocalHttpsSite::available()
{
    return !QStandardPaths::findExecutable(QStringLiteral("openssl")).isEmpty() &&
           !QStandardPaths::findExecutable(QStringLiteral("python3")).isEmpty();
}

bool LocalHttpsSite::start(const QString& root, const QString& replacementHost, QString* error)
{
    const auto fail = [error](const QString& text) {
        if (error)
            *error = text;
        return false;
    };
    if (!m_dir.isValid())
        return fail(QStringLiteral("no temporary folder"));

    QProcess openssl;
    openssl.setProcessChannelMode(QProcess::MergedChannels);
    openssl.start(QStringLiteral("openssl"),
                  {QStringLiteral("req"), QStringLiteral("-x509"), QStringLiteral("-newkey"),
                   QStringLiteral("rsa:2048"), QStringLiteral("-nodes"), QStringLiteral("-keyout"),
                   m_dir.filePath(QStringLiteral("key.pem")), QStringLiteral("-out"), certificatePath(),
                   QStringLiteral("-days"), QStringLiteral("2"), QStringLiteral("-subj"),
                   QStringLiteral("/CN=localhost"), QStringLiteral("-addext"),
                   QStringLiteral("subjectAltName=DNS:localhost,DNS:www.localhost,IP:127.0.0.1")});
    if (!openssl.waitForFinished(60000) || openssl.exitCode() != 0)
        return fail(QStringLiteral("openssl failed: ") + QString::fromLocal8Bit(openssl.readAll()));

    QStringList arguments{QStringLiteral(KESTOVAN_SOURCE_DIR "/tests/support/https_site.py"), root, certificatePath(),
                          m_dir.filePath(QStringLiteral("key.pem")), m_dir.filePath(QStringLiteral("requests.log"))};
    if (!replacementHost.isEmpty())
        arguments.append(replacementHost);
    m_server.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_server.start(QStringLiteral("python3"), arguments);
    if (!m_server.waitForStarted(10000))
        return fail(QStringLiteral("python3 did not start"));
    while (!m_server.canReadLine()) {
        if (!m_server.waitForReadyRead(20000))
            return fail(QStringLiteral("the server did not report its port"));
    }
    bool ok = false;
    m_port = m_server.readLine().trimmed().toInt(&ok);
    return ok ? true : fail(QStringLiteral("the server reported no port"));
}

QStringList LocalHttpsSite::requests() const
{
    QFile log(m_dir.filePath(QStringLiteral("requests.log")));
    if (!log.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(log.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}
