// On-device text recognition of figure captions with Tesseract.
//
// The Tesseract library is loaded on first use rather than linked: with its own dependencies (Leptonica, the image
// codecs, curl and archive support) it nearly doubles the symbols the loader must bind at every start, while only a
// pool update ever reads an image.
#include "TextRecognition.h"

#include "OfficialUpdates.h"
#include "model/Cancellation.h"

#include <QImage>
#include <QLibrary>

#include <tesseract/capi.h>
#include <tesseract/version.h>

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

TessPageSegMode segmentation(TextRecognizer::Layout layout)
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

// The entry points of the library's C interface, resolved once per process; all null when the library (of the major
// version built against) is not installed.
struct Tesseract
{
#define AEROWEN_TESSERACT_ENTRY(name) decltype(&::name) name = nullptr;
#define AEROWEN_TESSERACT_ENTRIES(X)                                                                                   \
    X(TessBaseAPICreate)                                                                                               \
    X(TessBaseAPIDelete)                                                                                               \
    X(TessBaseAPIInit4)                                                                                                \
    X(TessBaseAPISetVariable)                                                                                          \
    X(TessBaseAPISetPageSegMode)                                                                                       \
    X(TessBaseAPISetImage)                                                                                             \
    X(TessBaseAPIRecognize)                                                                                            \
    X(TessBaseAPIGetIterator)                                                                                          \
    X(TessBaseAPIClear)                                                                                                \
    X(TessBaseAPIEnd)                                                                                                  \
    X(TessResultIteratorGetUTF8Text)                                                                                   \
    X(TessResultIteratorNext)                                                                                          \
    X(TessResultIteratorDelete)                                                                                        \
    X(TessDeleteText)                                                                                                  \
    X(TessMonitorCreate)                                                                                               \
    X(TessMonitorDelete)                                                                                               \
    X(TessMonitorSetCancelFunc)
    AEROWEN_TESSERACT_ENTRIES(AEROWEN_TESSERACT_ENTRY)
#undef AEROWEN_TESSERACT_ENTRY

    bool available() const { return TessMonitorSetCancelFunc != nullptr; }

    static const Tesseract& instance()
    {
        static const Tesseract loaded = load();
        return loaded;
    }

private:
    static Tesseract load()
    {
        // The library stays loaded for the life of the process, as a linked one would.
        QLibrary library(QStringLiteral("tesseract"), TESSERACT_MAJOR_VERSION);
        Tesseract entries;
        if (!library.load())
            return entries;
        bool complete = true;
#define AEROWEN_TESSERACT_RESOLVE(name)                                                                                \
    entries.name = reinterpret_cast<decltype(entries.name)>(library.resolve(#name));                                   \
    complete = complete && entries.name;
        AEROWEN_TESSERACT_ENTRIES(AEROWEN_TESSERACT_RESOLVE)
#undef AEROWEN_TESSERACT_RESOLVE
#undef AEROWEN_TESSERACT_ENTRIES
        return complete ? entries : Tesseract();
    }
};

} // namespace

struct TextRecognizer::Engine
{
    const Tesseract& tess = Tesseract::instance();
    TessBaseAPI* api = nullptr;
    bool ready = false;
    bool failed = false;

    Engine()
    {
        if (tess.available())
            api = tess.TessBaseAPICreate();
        failed = !api;
    }
    ~Engine()
    {
        if (!api)
            return;
        if (ready)
            tess.TessBaseAPIEnd(api);
        tess.TessBaseAPIDelete(api);
    }
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;
};

TextRecognizer::TextRecognizer() = default;

TextRecognizer::~TextRecognizer() = default;

QString TextRecognizer::text(const QByteArray& image, Layout layout)
{
    const QImage pixels = paper(image);
    if (pixels.isNull())
        return {};
    if (!m_engine)
        m_engine = std::make_unique<Engine>();
    if (m_engine->failed)
        return {};
    const Tesseract& tess = m_engine->tess;
    TessBaseAPI* api = m_engine->api;
    if (!m_engine->ready) {
        // No dictionaries: labels such as E6-1 are not words, and language correction would only bend them.
        char systemDawg[] = "load_system_dawg";
        char freqDawg[] = "load_freq_dawg";
        char off[] = "0";
        char* names[] = {systemDawg, freqDawg};
        char* values[] = {off, off};
        if (tess.TessBaseAPIInit4(api, nullptr, "eng", tesseract::OEM_LSTM_ONLY, nullptr, 0, names, values, 2, false) != 0) {
            m_engine->failed = true;
            return {};
        }
        m_engine->ready = true;
        // Tesseract's own notes ("Empty page!!") would only clutter the learner's terminal.
        tess.TessBaseAPISetVariable(api, "debug_file", "/dev/null");
    }
    tess.TessBaseAPISetPageSegMode(api, segmentation(layout));
    tess.TessBaseAPISetImage(api, pixels.constBits(), pixels.width(), pixels.height(), 1, int(pixels.bytesPerLine()));
    // No resolution is declared: official images carry none, and a guessed one makes the layout analysis drop
    // captions as noise or as specks. Tesseract estimates it from the size of the text it finds.
    // Recognition of a large image takes a while; a quitting application abandons it.
    const std::unique_ptr<ETEXT_DESC, decltype(tess.TessMonitorDelete)> monitor(tess.TessMonitorCreate(),
                                                                               tess.TessMonitorDelete);
    tess.TessMonitorSetCancelFunc(monitor.get(), [](void*, int) { return cancellationRequested(); });
    QStringList lines;
    if (tess.TessBaseAPIRecognize(api, monitor.get()) == 0 && !cancellationRequested()) {
        const std::unique_ptr<TessResultIterator, decltype(tess.TessResultIteratorDelete)> it(
            tess.TessBaseAPIGetIterator(api), tess.TessResultIteratorDelete);
        if (it) {
            do {
                char* line = tess.TessResultIteratorGetUTF8Text(it.get(), tesseract::RIL_TEXTLINE);
                const QString read = line ? QString::fromUtf8(line).trimmed() : QString();
                tess.TessDeleteText(line);
                if (!read.isEmpty())
                    lines.append(read);
            } while (tess.TessResultIteratorNext(it.get(), tesseract::RIL_TEXTLINE));
        }
    }
    tess.TessBaseAPIClear(api);
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
