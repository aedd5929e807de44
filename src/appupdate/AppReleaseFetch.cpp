// Fetching, validating and comparing the maker's release record.
#include "AppRelease.h"

#include "Config.h"
#include "model/Cancellation.h"
#include "model/Modules.h"
#include "modules/Entries.h"

#include <QMutex>
#include <QRegularExpression>

namespace {

constexpr qint64 sizeLimit = 16384;
constexpr int timeoutMs = 20000;

// Test hooks are set before any fetch starts; the mutex only keeps a worker from reading a half-written value.
QMutex hookMutex;
std::optional<QUrl> testAddress;
std::function<void(QNetworkRequest&)> testRequestHook;

} // namespace

QUrl AppRelease::recordAddress()
{
    QMutexLocker lock(&hookMutex);
    if (testAddress)
        return *testAddress;
    return QUrl(QStringLiteral("https://") + QLatin1StringView(Config::makerHost) +
                QStringLiteral("/static/downloads/aerowen-version.json"));
}

void AppRelease::setRecordAddressForTesting(const std::optional<QUrl>& address)
{
    QMutexLocker lock(&hookMutex);
    testAddress = address;
}

void AppRelease::setRequestHookForTesting(const std::function<void(QNetworkRequest&)>& hook)
{
    QMutexLocker lock(&hookMutex);
    testRequestHook = hook;
}

AppRelease AppRelease::fetch()
{
    Entries::Request request;
    request.address = recordAddress();
    request.accept = "application/json";
    request.timeoutMs = timeoutMs;
    request.sizeLimit = sizeLimit;
    // A quitting application aborts the request instead of waiting for its time-out.
    request.stop = cancellationRequested;
    {
        QMutexLocker lock(&hookMutex);
        request.adjust = testRequestHook;
    }
    auto* const get = Modules::entry<Entries::Get>(Entries::networkModule, Entries::get);
    if (!get)
        throw NetworkError(QStringLiteral("The network request failed."));
    Entries::Reply reply;
    get(request, reply);
    if (cancellationRequested())
        throw Cancelled();

    if (reply.tooLarge)
        throw DataError(DataError::invalid);
    if (!reply.status) {
        // No HTTP response at all: the transport failed and its own description is passed on.
        throw NetworkError(reply.errorText.isEmpty() ? QStringLiteral("The network request failed.") : reply.errorText);
    }
    if (*reply.status != 200 || reply.finalAddress != request.address)
        throw DataError(DataError::invalid);
    if (reply.failed)
        throw NetworkError(reply.errorText);
    const QByteArray& body = reply.body;
    if (body.size() >= sizeLimit)
        throw DataError(DataError::invalid);

    AppRelease release = fromBytes(body);
    release.validate();
    return release;
}

void AppRelease::validate() const
{
    const auto require = [](bool ok) {
        if (!ok)
            throw DataError(DataError::invalid);
    };
    static const QRegularExpression versionPattern(QStringLiteral("^[0-9]+\\.[0-9]+\\.[0-9]+$"));
    require(versionPattern.match(version).hasMatch());
    require(build >= 1);
    const QUrl page = address();
    require(page.isValid() && url.startsWith(QLatin1StringView("https://")));
    // The host as written, letter case included: everything between "//" and the path, without a port.
    const QString authority = url.mid(8).section(QRegularExpression(QStringLiteral("[/?#]")), 0, 0);
    require(!authority.contains(QLatin1Char('@')) &&
            authority.section(QLatin1Char(':'), 0, 0) == QLatin1StringView(Config::makerHost));
    require(page.path() == QLatin1StringView("/software/aerowen") ||
            page.path() == QLatin1StringView("/software/aerowen/"));
    require(page.userName().isEmpty() && page.password().isEmpty() && !page.hasQuery() && !page.hasFragment());
}

bool AppRelease::isNewer(const QString& runningVersion, qint64 runningBuild) const
{
    const int order = compareVersions(version, runningVersion);
    if (order != 0)
        return order > 0;
    return runningBuild < build;
}

int compareVersions(const QString& a, const QString& b)
{
    qsizetype i = 0, j = 0;
    while (i < a.size() && j < b.size()) {
        if (a.at(i).isDigit() && b.at(j).isDigit() && a.at(i).unicode() < 128 && b.at(j).unicode() < 128) {
            // Compare the two digit runs by value: skip leading zeros, then the longer run is larger.
            const auto run = [](const QString& s, qsizetype& k) {
                while (k < s.size() && s.at(k) == QLatin1Char('0'))
                    ++k;
                const qsizetype start = k;
                while (k < s.size() && s.at(k).unicode() >= '0' && s.at(k).unicode() <= '9')
                    ++k;
                return QStringView(s).mid(start, k - start);
            };
            const QStringView x = run(a, i), y = run(b, j);
            if (x.size() != y.size())
                return x.size() < y.size() ? -1 : 1;
            const int c = x.compare(y);
            if (c != 0)
                return c < 0 ? -1 : 1;
            continue;
        }
        if (a.at(i) != b.at(j))
            return a.at(i) < b.at(j) ? -1 : 1;
        ++i;
        ++j;
    }
    if (i < a.size())
        return 1;
    if (j < b.size())
        return -1;
    return 0;
}

QString runningVersion(const QString& configured)
{
    return configured.isEmpty() ? QStringLiteral("1.0.1") : configured;
}

qint64 runningBuild(const QString& configured)
{
    bool ok = false;
    const qint64 build = configured.toLongLong(&ok, 10);
    return ok ? build : 8;
}
