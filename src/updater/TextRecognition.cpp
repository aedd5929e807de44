// On-device text recognition of figure captions with Tesseract.
#include "TextRecognition.h"

#include "OfficialUpdates.h"
#include "model/Cancellation.h"

#include <QImage>

#include <tesseract/baseapi.h>
#include <tesseract/ocrclass.h>
#include <tesseract/resultiterator.h>

#include <string>
#include <vector>

namespace OfficialUpdates {

namespace {

// Tesseract is handed decoded grey pixels, so it never guesses at the file format itself. Transparent areas would
// read as black; the figure is put on white paper as printed.
QImage paper(const QByteArray& image)
{
    QImage pixels = QImage::fromData(image);
    if (pixels.isNull())
        return {};
    if (pixels.hasAlphaChannel()) {
        QImage flat(pixels.size(), QImage::Format_RGB32);
        flat.fill(Qt::white);
        const QImage argb = pixels.convertToFormat(QImage::Format_ARGB32_Premultiplied);
        for (int y = 0; y < argb.height(); ++y) {
            const QRgb* from = reinterpret_cast<const QRgb*>(argb.constScanLine(y));
            QRgb* to = reinterpret_cast<QRgb*>(flat.scanLine(y));
            for (int x = 0; x < argb.width(); ++x) {
                const int a = qAlpha(from[x]);
                to[x] = qRgb(qRed(from[x]) + 255 - a, qGreen(from[x]) + 255 - a, qBlue(from[x]) + 255 - a);
            }
        }
        pixels = flat;
    }
    return pixels.convertToFormat(QImage::Format_Grayscale8);
}

tesseract::PageSegMode segmentation(TextRecognizer::Layout layout)
{
    switch (layout) {
    case TextRecognizer::Layout::automatic:
        return tesseract::PSM_AUTO;
    case TextRecognizer::Layout::sparse:
        return tesseract::PSM_SPARSE_TEXT;
    case TextRecognizer::Layout::singleBlock:
        break;
    }
    return tesseract::PSM_SINGLE_BLOCK;
}

} // namespace

struct TextRecognizer::Engine
{
    tesseract::TessBaseAPI api;
    bool ready = false;
    bool failed = false;
};

TextRecognizer::TextRecognizer() = default;

TextRecognizer::~TextRecognizer()
{
    if (m_engine && m_engine->ready)
        m_engine->api.End();
}

QString TextRecognizer::text(const QByteArray& image, Layout layout)
{
    const QImage pixels = paper(image);
    if (pixels.isNull())
        return {};
    if (!m_engine)
        m_engine = std::make_unique<Engine>();
    if (m_engine->failed)
        return {};
    tesseract::TessBaseAPI& api = m_engine->api;
    if (!m_engine->ready) {
        // No dictionaries: labels such as E6-1 are not words, and language correction would only bend them.
        const std::vector<std::string> names{"load_system_dawg", "load_freq_dawg"};
        const std::vector<std::string> values{"0", "0"};
        if (api.Init(nullptr, "eng", tesseract::OEM_LSTM_ONLY, nullptr, 0, &names, &values, false) != 0) {
            m_engine->failed = true;
            return {};
        }
        m_engine->ready = true;
        // Tesseract's own notes ("Empty page!!") would only clutter the learner's terminal.
        api.SetVariable("debug_file", "/dev/null");
    }
    api.SetPageSegMode(segmentation(layout));
    api.SetImage(pixels.constBits(), pixels.width(), pixels.height(), 1, int(pixels.bytesPerLine()));
    // No resolution is declared: official images carry none, and a guessed one makes the layout analysis drop
    // captions as noise or as specks. Tesseract estimates it from the size of the text it finds.
    // Recognition of a large image takes a while; a quitting application abandons it.
    tesseract::ETEXT_DESC monitor;
    monitor.cancel = [](void*, int) { return cancellationRequested(); };
    QStringList lines;
    if (api.Recognize(&monitor) == 0 && !cancellationRequested()) {
        std::unique_ptr<tesseract::ResultIterator> it(api.GetIterator());
        if (it) {
            do {
                std::unique_ptr<char[]> line(it->GetUTF8Text(tesseract::RIL_TEXTLINE));
                const QString read = line ? QString::fromUtf8(line.get()).trimmed() : QString();
                if (!read.isEmpty())
                    lines.append(read);
            } while (it->Next(tesseract::RIL_TEXTLINE));
        }
    }
    api.Clear();
    if (cancellationRequested())
        throw Cancelled();
    return lines.join(QLatin1Char('\n')).normalized(QString::NormalizationForm_KC);
}

QStringList TextRecognizer::labels(const QByteArray& image)
{
    QStringList found;
    for (Layout layout : {Layout::automatic, Layout::sparse}) {
        for (const QStringList& m : matches(figureLabelPattern, text(image, layout)))
            found.append(normalFigure(m.at(1)));
        if (!found.isEmpty())
            break;
    }
    return found;
}

} // namespace OfficialUpdates
