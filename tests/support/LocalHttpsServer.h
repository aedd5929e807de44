// A local HTTPS server over a folder, with a certificate made at test time, for tests that run the real curl.
#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

class LocalHttpsServer
{
public:
    // Serves root on 127.0.0.1 with a fresh self-signed certificate for www.localhost and points curl's
    // CURL_CA_BUNDLE (for child processes of this test) at it. Check error() before use.
    explicit LocalHttpsServer(const QString& root);
    ~LocalHttpsServer();
    LocalHttpsServer(const LocalHttpsServer&) = delete;
    LocalHttpsServer& operator=(const LocalHttpsServer&) = delete;

    // Empty when the server runs.
    const QString& error() const { return m_error; }
    int port() const { return m_port; }

private:
    QTemporaryDir m_dir;
    QProcess m_server;
    QString m_error;
    int m_port = 0;
};
