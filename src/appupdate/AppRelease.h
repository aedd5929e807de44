// The maker's release record: which version is the newest and where to download it.
#pragma once

#include "model/Errors.h"

#include <QJsonObject>
#include <QString>
#include <QUrl>
#include <functional>
#include <optional>

class QNetworkRequest;

struct AppRelease
{
    QString version;
    qint64 build = 0;
    // The download page as the record writes it: kept as text, because a parsed address has its host lower-cased
    // and the host must match the maker's exactly.
    QString url;

    bool operator==(const AppRelease&) const = default;
    static AppRelease fromJson(const QJsonObject& o);
    static AppRelease fromBytes(const QByteArray& bytes);
    QJsonObject toJson() const;

    // Fetches the maker's release record over HTTPS and validates it. Blocks the calling thread (it runs its own
    // event loop), so it belongs on a worker thread. Throws DataError, DecodeError or NetworkError.
    static AppRelease fetch();
    // Throws DataError::invalid unless the record names a plain three-part version, a build and the download page.
    void validate() const;
    // The download page as an address to open.
    QUrl address() const { return QUrl(url, QUrl::StrictMode); }
    // Whether this release is newer than the running version and build.
    bool isNewer(const QString& runningVersion, qint64 runningBuild) const;

    // The fixed address of the release record on the maker's web host.
    static QUrl recordAddress();
    // Test hooks: fetch from a local server instead, and change each request (to trust that server's certificate).
    // Not used by the product.
    static void setRecordAddressForTesting(const std::optional<QUrl>& address);
    static void setRequestHookForTesting(const std::function<void(QNetworkRequest&)>& hook);
};

// The transfer itself failed (no network, refused connection, time-out, TLS); carries the platform's text.
class NetworkError : public Failure
{
public:
    using Failure::Failure;
};

// Compares version texts with runs of digits taken by value, so 1.10.0 is greater than 1.9.9.
int compareVersions(const QString& a, const QString& b);
// The running application's marketing version and build number, with the fallbacks of an unset build.
QString runningVersion(const QString& configured);
qint64 runningBuild(const QString& configured);
