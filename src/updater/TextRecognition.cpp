// On-device text recognition of figure captions with Tesseract.
#include "OfficialUpdates.h"

#include <QImage>

#include <tesseract/baseapi.h>
#include <tesseract/resultiterator.h>

#include <memory>
#include <string>
#include <vector>

namespace OfficialUpdates {

QString recognizeText(const QByteArray& image)
{
    // Tesseract is handed decoded pixels, so it never guesses at the file format itself.
    QImage pixels = QImage::fromData(image);
    if (pixels.isNull())
        return {};
    if (pixels.hasAlphaChannel()) {
        // Transparent areas would read as black; put the figure on white paper as printed.
        QImage flat(pixels.size(), QImage::Format_RGB32);
        flat.fill(Qt::white);
        QImage argb = pixels.convertToFormat(QImage::Format_ARGB32_Premultiplied);
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
    pixels = pixels.convertToFormat(QImage::Format_Grayscale8);

    tesseract::TessBaseAPI api;
    // No dictionaries: labels such as E6-1 are not words, and language correction would only bend them.
    const std::vector<std::string> names{"load_system_dawg", "load_freq_dawg"};
    const std::vector<std::string> values{"0", "0"};
    if (api.Init(nullptr, "eng", tesseract::OEM_LSTM_ONLY, nullptr, 0, &names, &values, false) != 0)
        return {};
    api.SetImage(pixels.constBits(), pixels.width(), pixels.height(), 1, int(pixels.bytesPerLine()));
    api.SetSourceResolution(300);
    if (api.Recognize(nullptr) != 0)
        return {};

    QStringList lines;
    std::unique_ptr<tesseract::ResultIterator> it(api.GetIterator());
    if (it) {
        do {
            std::unique_ptr<char[]> text(it->GetUTF8Text(tesseract::RIL_TEXTLINE));
            if (!text)
                continue;
            const QString line = QString::fromUtf8(text.get()).trimmed();
            if (!line.isEmpty())
                lines.append(line);
        } while (it->Next(tesseract::RIL_TEXTLINE));
    }
    api.End();
    return lines.join(QLatin1Char('\n'));
}

} // namespace OfficialUpdates
