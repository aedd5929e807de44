// Building the built-in pack from official documents with the same parse the updater runs.
#include "PackBuilder.h"

#include "model/Errors.h"
#include "updater/OfficialUpdates.h"

#include <QFile>

namespace PackBuilder {

QUrl downloadAddress(const QString& fileName)
{
    return QUrl(QStringLiteral("https://www.ncvec.org/downloads/") +
                    QString::fromLatin1(QUrl::toPercentEncoding(fileName)),
                QUrl::StrictMode);
}

Pack build(const QList<Source>& sources)
{
    Pack merged;
    merged.schema = 1;
    for (const Source& source : sources) {
        QFile file(source.path);
        if (!file.open(QIODevice::ReadOnly))
            throw FileError(file.errorString());
        const Pack one = OfficialUpdates::parse(file.readAll(), source.address, source.level);
        merged.pools.append(one.pools);
        for (auto it = one.assets.cbegin(); it != one.assets.cend(); ++it)
            merged.assets.insert(it.key(), it.value());
    }
    merged.validate();
    return merged;
}

} // namespace PackBuilder
