// Official figures: the known-image table, label forms, label verification and the figure step of parse.
#include "TextRecognition.h"
#include "UpdaterInternals.h"

#include <QFileInfo>
#include <QImage>

#include <algorithm>

namespace OfficialUpdates {

namespace {

bool opensAsImage(const QByteArray& bytes)
{
    return !QImage::fromData(bytes).isNull();
}

QStringList labelsOf(const QByteArray& image, const FigureInput& input)
{
    if (input.identify)
        return input.identify(image);
    const auto known = knownFigures().constFind(sha256Hex(image));
    if (known != knownFigures().cend())
        return {known.value()};
    return input.recognizer ? input.recognizer->labels(image) : TextRecognizer().labels(image);
}

} // namespace

const QMap<QString, QString>& knownFigures()
{
    static const QMap<QString, QString> table{
        {QStringLiteral("7e5f000404feeae942c625a773f0a02c3ee3b5bafda2218d6b8b0d3653288462"), QStringLiteral("T1")},
        {QStringLiteral("36313bc65ea22bd483e9b0ff2cd8e7dbce3784e2b009046879d8e5959cc9ebf7"), QStringLiteral("T2")},
        {QStringLiteral("6db1d838f067ecd00a1ee8ad1e396c9e4d4415cfbc75764169a7bc868e44dc52"), QStringLiteral("T3")},
        {QStringLiteral("3f40fe6f2f720f7577fd0b9d9ecd9647719e38074a49563245238ad6d7f5bf2f"), QStringLiteral("G7-1")},
        {QStringLiteral("392b375d2f11c9bc04dbfcea36e29ea768ddc7d4d2d1cd55bcb86d667437b599"), QStringLiteral("E5-1")},
        {QStringLiteral("1e39504f553cc93bd0e27d177044bfcb06958e1156270c864e67aa0cc0b1b7dc"), QStringLiteral("E6-1")},
        {QStringLiteral("ad5fcb161914a6dd6ad711cddeb4339b1e3b62037d6e3ca3afd98d560a6d628d"), QStringLiteral("E6-2")},
        {QStringLiteral("36d0f4a0e6e3282767a5982d52a999ba637a1d94fc1f957e73489e4755688a5c"), QStringLiteral("E6-3")},
        {QStringLiteral("e4e82c7b8c2db7db3a65ffa21d00a6f93d0e6176f0aa3700b8c449bbf80dfd63"), QStringLiteral("E7-1")},
        {QStringLiteral("12397bc7db5216e4f9c37b9f2c86902f5a641d296d89b491397eb94d32ca343b"), QStringLiteral("E7-2")},
        {QStringLiteral("8fe2e9a50e600f8b2e46e129ab97d78a0aaa34b882d7443801ec6a21fbbd0753"), QStringLiteral("E7-3")},
        {QStringLiteral("95fbbb54ee84e187103724c380780823c2bf3cd951f17778496e0cd107250bee"), QStringLiteral("E9-1")},
        {QStringLiteral("5f9d206847b717f78f8b072e0e627cc01f91b972e51651d0a810ec9e04749225"), QStringLiteral("E9-2")},
        {QStringLiteral("a56159fd267d8a6d0cb7b247749f9fd4e3b0cfb62d6894380cac0ba8859f7c8f"), QStringLiteral("E9-3")},
    };
    return table;
}

QString normalFigure(const QString& label)
{
    QString result = label.toUpper();
    // Documents print some labels with an en dash (G7–1); the canonical form uses the hyphen.
    result.replace(QChar(0x2013), QLatin1Char('-'));
    // Technician figures are named T1, T2, T3 even where the text prints T-1.
    if (result.startsWith(QLatin1StringView("T-")))
        result.replace(QLatin1StringView("T-"), QLatin1StringView("T"));
    if (result.size() == 3 && !result.contains(QLatin1Char('-')))
        result.insert(2, QLatin1Char('-'));
    return result;
}

QStringList verifiedLabels(const QStringList& labels, const QSet<QString>& referenced)
{
    QSet<QString> distinct;
    for (const QString& label : labels)
        distinct.insert(normalFigure(label));
    if (distinct.size() >= 2)
        throw UpdateError(UpdateError::combinedFigures);
    QStringList result;
    for (const QString& label : distinct) {
        if (referenced.contains(label))
            result.append(label);
    }
    std::sort(result.begin(), result.end());
    return result;
}

FigureOutcome figureStep(const FigureInput& input)
{
    QList<QByteArray> images;
    QSet<QString> ambiguous;
    FigureOutcome out;

    for (const QString& target : input.targets) {
        const QByteArray bytes = member(input.archive, QStringLiteral("word/") + target);
        images.append(bytes);
        QStringList verified;
        try {
            verified = verifiedLabels(labelsOf(bytes, input), input.referenced);
        } catch (const UpdateError&) {
            // A sheet of several figures stays unassigned; its figures come from other images or from crops.
        }
        for (const QString& label : verified) {
            if (ambiguous.contains(label))
                continue;
            if (out.figures.contains(label)) {
                // Two images claim the same label: neither may be trusted. The earlier asset stays in the pack.
                out.figures.remove(label);
                ambiguous.insert(label);
                continue;
            }
            const QString name = input.level + QLatin1Char('-') + QString::number(input.startYear) + QLatin1Char('-') +
                                 label + QLatin1Char('-') + sha256Hex(bytes, 8) + QLatin1Char('.') +
                                 QFileInfo(target).suffix();
            out.figures.insert(label, name);
            out.assets.insert(name, QString::fromLatin1(bytes.toBase64()));
        }
    }

    const QMap<QString, QString> crops = input.corrections.value(input.digest);
    for (auto it = crops.cbegin(); it != crops.cend(); ++it) {
        if (!input.referenced.contains(it.key()))
            continue;
        if (!isStrictBase64(it.value()))
            throw UpdateError(UpdateError::figures);
        const QByteArray crop = QByteArray::fromBase64(it.value().toLatin1());
        if (!opensAsImage(crop))
            throw UpdateError(UpdateError::figures);
        const QString name =
            QStringLiteral("review-") + it.key() + QLatin1Char('-') + sha256Hex(crop, 8) + QStringLiteral(".png");
        out.assets.insert(name, it.value());
        out.figures.insert(it.key(), name);
    }

    QStringList missing;
    for (const QString& label : input.referenced) {
        if (!out.figures.contains(label))
            missing.append(label);
    }
    if (!missing.isEmpty()) {
        std::sort(missing.begin(), missing.end());
        DiagramReview review;
        review.document = input.document;
        review.source = input.source;
        review.level = input.level;
        review.documentKey = input.digest;
        review.images = images;
        review.labels = missing;
        review.questions = input.questions;
        throw ReviewRequest(review);
    }
    return out;
}

} // namespace OfficialUpdates
