// Benchmark: how many official figures text recognition identifies on its own, with the known-figures table
// bypassed, and whether a sheet of several figures is still refused.
// Usage: bench-recognition [--verbose] [NCVEC_DOWNLOADS_FOLDER]
// Reads every embedded image of the official documents, recognises its caption once in single-block layout (for
// comparison) and once as the updater does (automatic layout, sparse text as a second pass), and compares the
// verified label with the one the known-figures table gives. Then draws four official figures on one sheet, as
// the sample review does, and checks that recognition yields no single label for it.
#include "updater/OfficialUpdates.h"
#include "updater/TextRecognition.h"
#include "updater/UpdaterInternals.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QTextStream>

using namespace OfficialUpdates;

namespace {

QString verdict(const QStringList& labels, const QSet<QString>& referenced)
{
    try {
        const QStringList verified = verifiedLabels(labels, referenced);
        return verified.isEmpty() ? QStringLiteral("none") : verified.first();
    } catch (const UpdateError&) {
        return QStringLiteral("several");
    }
}

QByteArray sheet(const QList<QByteArray>& figures)
{
    QImage canvas(1200, 1000, QImage::Format_RGB32);
    canvas.fill(Qt::white);
    QPainter painter(&canvas);
    for (int i = 0; i < figures.size(); ++i) {
        const QImage figure = QImage::fromData(figures.at(i));
        const double scale = std::min(560.0 / std::max(figure.width(), 1), 440.0 / std::max(figure.height(), 1));
        const QSizeF size(figure.width() * scale, figure.height() * scale);
        const QPointF origin((i % 2) * 600 + (600 - size.width()) / 2, (i / 2) * 500 + (500 - size.height()) / 2);
        painter.drawImage(QRectF(origin, size), figure);
    }
    painter.end();
    QByteArray png;
    QBuffer buffer(&png);
    canvas.save(&buffer, "PNG");
    return png;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    QStringList args = app.arguments();
    const bool verbose = args.removeAll(QStringLiteral("--verbose")) > 0;
    const QString folder =
        args.size() > 1 ? args.at(1) : QStringLiteral(KESTOVAN_SOURCE_DIR "/../shared/ncvec/downloads");
    const QStringList documents = QDir(folder).entryList({QStringLiteral("*.docx")}, QDir::Files, QDir::Name);
    if (documents.isEmpty()) {
        out << "no official documents in " << folder << "\n";
        return 1;
    }
    QSet<QString> referenced;
    for (const QString& label : knownFigures())
        referenced.insert(label);

    TextRecognizer recognizer;
    QMap<QString, QByteArray> byLabel;
    int images = 0, singleBlock = 0, updater = 0;
    double seconds = 0;
    for (const QString& name : documents) {
        QFile file(QDir(folder).filePath(name));
        if (!file.open(QIODevice::ReadOnly))
            return 1;
        const TemporaryDocument document(file.readAll());
        const QStringList targets =
            readRelationships(member(document.path(), QStringLiteral("word/_rels/document.xml.rels")));
        for (const QString& target : targets) {
            const QByteArray bytes = member(document.path(), QStringLiteral("word/") + target);
            const QString expected = knownFigures().value(sha256Hex(bytes));
            if (expected.isEmpty())
                continue;
            ++images;
            byLabel.insert(expected, bytes);
            QStringList blockLabels;
            for (const QStringList& m :
                 matches(figureLabelPattern, recognizer.text(bytes, TextRecognizer::Layout::singleBlock)))
                blockLabels.append(normalFigure(m.at(1)));
            QElapsedTimer clock;
            clock.start();
            const QString found = verdict(recognizer.labels(bytes), referenced);
            seconds += double(clock.nsecsElapsed()) / 1e9;
            const QString block = verdict(blockLabels, referenced);
            singleBlock += block == expected;
            updater += found == expected;
            if (found != expected && verbose) {
                for (auto layout : {TextRecognizer::Layout::automatic, TextRecognizer::Layout::sparse})
                    out << "  read: " << recognizer.text(bytes, layout).replace(QLatin1Char('\n'), QLatin1String(" | "))
                        << "\n";
            }
            out << qSetFieldWidth(6) << Qt::left << expected << qSetFieldWidth(0)
                << " single block: " << qSetFieldWidth(8) << block << qSetFieldWidth(0) << " updater: " << found
                << "\n";
        }
    }
    out << "identified by recognition alone: " << updater << "/" << images << " (single block: " << singleBlock << "/"
        << images << "), " << QString::number(seconds / std::max(images, 1), 'f', 2) << " s per image\n";

    const QList<QByteArray> four{byLabel.value(QStringLiteral("E6-1")), byLabel.value(QStringLiteral("E6-2")),
                                 byLabel.value(QStringLiteral("E6-3")), byLabel.value(QStringLiteral("E7-1"))};
    const QStringList sheetLabels = recognizer.labels(sheet(four));
    const QString sheetVerdict = verdict(sheetLabels, referenced);
    out << "sheet of four figures: read " << sheetLabels.join(QLatin1Char(' ')) << " -> "
        << (sheetVerdict == QLatin1StringView("several") ? "refused (several figures)" : sheetVerdict) << "\n";
    const bool sheetRefused = sheetVerdict == QLatin1StringView("several") || sheetVerdict == QLatin1StringView("none");
    return updater == images && sheetRefused ? 0 : 1;
}
