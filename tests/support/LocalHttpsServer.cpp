// Local HTTPS server for source-access tests: python3's file server wrapped in TLS.
#include "LocalHttpsServer.h"

#include "Fixtures.h"

namespace {

const char* serverScript = R"(import http.server, ssl, sys
root, cert, key = sys.argv[1:4]
class Handler(http.server.SimpleHTTPRequestHandler):
    def __init__(self, *args, **kwargs):
        super().__init__(*args, directory=root, **kwargs)
    def log_message(self, *args):
        pass
server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
context.load_cert_chain(cert, key)
server.socket = context.wrap_socket(server.socket, server_side=True)
print(server.server_address[1], flush=True)
server.serve_forever()
)";

} // namespace

LocalHttpsServer::LocalHttpsServer(const QString& root)
{
    const QString cert = m_dir.filePath(QStringLiteral("cert.pem"));
    const QString key = m_dir.filePath(QStringLiteral("key.pem"));
    QProcess openssl;
    openssl.setProcessChannelMode(QProcess::MergedChannels);
    openssl.start(QStringLiteral("/usr/bin/openssl"),
                  {QStringLiteral("req"), QStringLiteral("-x509"), QStringLiteral("-newkey"),
                   QStringLiteral("rsa:2048"), QStringLiteral("-nodes"), QStringLiteral("-days"), QStringLiteral("1"),
                   QStringLiteral("-subj"), QStringLiteral("/CN=www.localhost"), QStringLiteral("-addext"),
                   QStringLiteral("subjectAltName=DNS:www.localhost,DNS:localhost"), QStringLiteral("-keyout"), key,
                   QStringLiteral("-out"), cert});
    if (!openssl.waitForFinished(60000) || openssl.exitCode() != 0) {
        m_error = QStringLiteral("openssl failed: ") + QString::fromLocal8Bit(openssl.readAll());
        return;
    }
    qputenv("CURL_CA_BUNDLE", cert.toLocal8Bit());

    const QString script = m_dir.filePath(QStringLiteral("server.py"));
    Fixtures::writeFile(script, serverScript);
    m_server.setStandardErrorFile(QProcess::nullDevice());
    m_server.start(QStringLiteral("python3"), {script, root, cert, key});
    if (!m_server.waitForStarted(10000) || !m_server.waitForReadyRead(20000)) {
        m_error = QStringLiteral("the local HTTPS server did not start");
        return;
    }
    m_port = m_server.readLine().trimmed().toInt();
    if (m_port <= 0)
        m_error = QStringLiteral("the local HTTPS server gave no port");
}

LocalHttpsServer::~LocalHttpsServer()
{
    if (m_server.state() != QProcess::NotRunning) {
        m_server.kill();
        m_server.waitForFinished(5000);
    }
    qunsetenv("CURL_CA_BUNDLE");
}
