// On-device text recognition of figure captions with Tesseract.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <memory>

namespace OfficialUpdates {

// Reads the figure labels printed in official images. The English model is loaded on first use and kept for the
// recognizer's life, so a check that reads many images loads it once.
class TextRecognizer
{
public:
    TextRecognizer();
    ~TextRecognizer();
    TextRecognizer(const TextRecognizer&) = delete;
    TextRecognizer& operator=(const TextRecognizer&) = delete;

    // The figure labels printed in the image, in canonical form and reading order, duplicates kept. The page is
    // read with automatic segmentation first; when that finds no label, once more as sparse text, which finds
    // captions standing apart from a drawing.
    QStringList labels(const QByteArray& image);

    // How the page is cut into text before recognition.
    enum class Layout { automatic, sparse, singleBlock };
    // The best candidate of every recognised text line, joined with line feeds, in compatibility-normalised form
    // (the model writes ligatures such as "ﬁ", which must read as "fi").
    QString text(const QByteArray& image, Layout layout);

private:
    struct Engine;
    std::unique_ptr<Engine> m_engine;
};

} // namespace OfficialUpdates
