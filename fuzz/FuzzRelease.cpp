// The release record from the network: decoded and validated; a valid record compares with the running version.
#include "Config.h"
#include "Fuzz.h"
#include "appupdate/AppRelease.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    return Fuzz::guarded([&] {
        const AppRelease release = AppRelease::fromBytes(Fuzz::bytes(data, size));
        release.validate();
        // Only the maker's own page, over HTTPS, is ever offered for opening.
        const QUrl page = release.address();
        Fuzz::require(page.isValid() && page.scheme() == QLatin1StringView("https") && page.port() == -1 &&
                      page.host().compare(QLatin1StringView(Config::makerHost), Qt::CaseInsensitive) == 0);
        const bool newer = release.isNewer(QStringLiteral("1.0.2"), 9);
        Fuzz::require(compareVersions(release.version, release.version) == 0);
        Fuzz::require(!newer || compareVersions(release.version, QStringLiteral("1.0.2")) >= 0);
    });
}
