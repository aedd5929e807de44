// Store operations that find and decode a question's figure in the pack in use.
#include "Store.h"

#include "model/Modules.h"
#include "modules/Entries.h"
#include "updater/OfficialUpdates.h"

#include <QImage>

namespace {

// Older packs named some figures by these placeholders; a figure named after the question's label wins over them.
const QStringList placeholderFigures{QStringLiteral("extra-1.jpg"), QStringLiteral("extra-2.jpg"),
                                     QStringLiteral("extra-3.jpg")};

std::optional<QByteArray> strictBase64(const QString& text)
{
    const auto decoded = QByteArray::fromBase64Encoding(text.toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    // The decoder refuses foreign characters and line breaks but tolerates a missing padding; a stored value must
    // have whole groups of four.
    if (!decoded || text.size() % 4 != 0)
        return std::nullopt;
    return decoded.decoded;
}

std::optional<QImage> pdfImage(const QByteArray& bytes)
{
    auto* const render = Modules::entry<Entries::RenderFirstPage>(Entries::pdfModule, Entries::renderFirstPage);
    QImage image;
    if (!render || !render(bytes, image))
        return std::nullopt;
    return image;
}

} // namespace

std::optional<QString> Store::diagramFile(const Question& question) const
{
    if (question.figure && !placeholderFigures.contains(*question.figure))
        return question.figure;
    const QList<QStringList> mentions = OfficialUpdates::matches(OfficialUpdates::figureLabelPattern, question.prompt);
    if (!mentions.isEmpty()) {
        const QString label = OfficialUpdates::normalFigure(mentions.first().at(1));
        const QString extension = label.startsWith(QLatin1Char('T'))   ? QStringLiteral(".jpg")
                                  : label.startsWith(QLatin1Char('G')) ? QStringLiteral(".pdf")
                                                                       : QStringLiteral(".png");
        const QString file = label + extension;
        if (m_pack.assets.contains(file))
            return file;
    }
    return question.figure;
}

std::optional<QImage> Store::image(const QString& name) const
{
    const auto value = m_pack.assets.constFind(name);
    if (value == m_pack.assets.cend())
        return std::nullopt;
    const std::optional<QByteArray> bytes = strictBase64(value.value());
    if (!bytes)
        return std::nullopt;
    if (bytes->startsWith("%PDF"))
        return pdfImage(*bytes);
    const QImage image = QImage::fromData(*bytes);
    if (image.isNull())
        return std::nullopt;
    return image;
}
