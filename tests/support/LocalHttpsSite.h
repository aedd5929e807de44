// A local HTTPS web site for tests: a folder served on 127.0.0.1 with a certificate made at test time.
#pragma once

#include "Fixtures.h"

#include <QProcess>
#include <QTemporaryDir>

class LocalHttpsSite // not copyable, as its members are not
{
public:
    ~LocalHttpsSite();

    // Serves root (NAME.html also answers NAME; NAME.redirect answers 302; NAME.status answers its status code). In
    // served HTML pages, "ncvec.org" is replaced by replacementHost when one is given. Points curl (CURL_CA_BUNDLE) at
    // the certificate, valid for localhost, www.localhost and 127.0.0.1. Returns why it could not start, or an empty
    // text.
    QString start(const QString& root, const QString& replacementHost = {});

    int port() const { return m_port; }
    QString certificatePath() const { return m_dir.filePath(QStringLiteral("cert.pem")); }
    // Request targets received so far, in order, one a line.
    QString requests() const { return QString::fromUtf8(Fixtures::readFile(m_dir.filePath("requests.log"))); }

private:
    QTemporaryDir m_dir;
    QProcess m_server;
    int m_port = 0;
};
