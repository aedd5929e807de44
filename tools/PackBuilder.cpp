// Building the built-in pack from official documents with the same parse the updater runs.
#include "PackBuilder.h"

#include "model/Errors.h"
#include "updater/OfficialUpdates.h"

#include <QFile>
#include <QRegularExpression>

namespace PackBuilder {

QUrl downloadAddress(const QString& fileName)
{
    return QUrl(QStringLiteral("https://www.ncvec.org/downloads/") +
                    QString::fromLatin1(QUrl::toPercentEncoding(fileName)),
                QUrl::StrictMode);
}

namespace {

QByteArray readAll(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw FileError(file.errorString());
    return file.readAll();
}

bool hasFormatOf(const QByteArray& bytes, const QString& fileName)
{
    if (fileName.endsWith(QLatin1StringView(".jpg")))
        return bytes.startsWith("\xFF\xD8\xFF");
    if (fileName.endsWith(QLatin1StringView(".png")))
        return bytes.startsWith("\x89PNG\r\n\x1A\n");
    if (fileName.endsWith(QLatin1StringView(".pdf")))
        return bytes.startsWith("%PDF-");
    return false;
}

// The sample figure review and the figure look-up by label find official figures under their labels alone
// (E6-1.png, T1.jpg, G7-1.pdf); document figures are named by level, year, label and digest.
void addLabelNames(Pack& pack)
{
    static const QRegularExpression documentFigure(QStringLiteral("^[a-z]+-[0-9]{4}-(.+)-[0-9a-f]{16}\\.[^.]+$"));
    const QMap<QString, QString> assets = pack.assets;
    for (auto it = assets.cbegin(); it != assets.cend(); ++it) {
        const QRegularExpressionMatch match = documentFigure.match(it.key());
        if (!match.hasMatch())
            continue;
        const QString alias = labelFileName(match.captured(1));
        if (!pack.assets.contains(alias) && hasFormatOf(QByteArray::fromBase64(it.value().toLatin1()), alias))
            pack.assets.insert(alias, it.value());
    }
}

} // namespace

QString labelFileName(const QString& label)
{
    if (label.startsWith(QLatin1Char('T')))
        return label + QStringLiteral(".jpg");
    if (label.startsWith(QLatin1Char('G')))
        return label + QStringLiteral(".pdf");
    return label + QStringLiteral(".png");
}

Pack build(const QList<Source>& sources, const QList<FigureFile>& figureFiles)
{
    Pack merged;
    merged.schema = 1;
    for (const Source& source : sources) {
        const Pack one = OfficialUpdates::parse(readAll(source.path), source.address, source.level);
        merged.pools.append(one.pools);
        for (auto it = one.assets.cbegin(); it != one.assets.cend(); ++it)
            merged.assets.insert(it.key(), it.value());
    }
    addLabelNames(merged);
    for (const FigureFile& figure : figureFiles)
        merged.assets.insert(figure.name, QString::fromLatin1(readAll(figure.path).toBase64()));
    merged.validate();
    return merged;
}

} // namespace PackBuilder
