// Pieces shared by the updater's own files: document readers, the temporary document and the figure step.
#pragma once

#include "OfficialUpdates.h"
#include "model/DiagramReview.h"

#include <QByteArray>
#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>
#include <optional>

namespace OfficialUpdates {

// Percent-escapes decoded as UTF-8; nullopt when an escape is malformed or the bytes are not UTF-8.
std::optional<QString> percentDecoded(const QString& text);

// Lower-case hexadecimal SHA-256 of bytes, all 64 digits or the first 2 * bytesKept of them.
QString sha256Hex(const QByteArray& bytes, int bytesKept = 32);

// The paragraphs of word/document.xml, one line per paragraph and manual break. Throws UpdateError::format.
QStringList readParagraphs(const QByteArray& xml);
// The embedded image targets of word/_rels/document.xml.rels, in file order. Throws UpdateError::format.
QStringList readRelationships(const QByteArray& xml);

// What the text of a pool document holds: its questions from the first one on (prompt, answers, key, reference and
// the figure label the prompt names), the labels named, and the subelement headings' topics.
struct PoolText
{
    QList<Question> questions;
    QSet<QString> referenced;
    QMap<QString, QString> topics;
};
// Reads the document's text, its paragraphs joined by line ends. Throws UpdateError::format.
PoolText readPoolText(const QString& text);

// The downloaded document on disk for the length of one parse; removed when it goes out of scope.
class TemporaryDocument
{
public:
    // Throws FileError with the platform's description when the file cannot be written.
    explicit TemporaryDocument(const QByteArray& data);
    ~TemporaryDocument();
    TemporaryDocument(const TemporaryDocument&) = delete;
    TemporaryDocument& operator=(const TemporaryDocument&) = delete;
    const QString& path() const { return m_path; }

private:
    QString m_path;
};

// What the figure step needs from parse.
struct FigureInput
{
    QString archive;
    QString level;
    int startYear = 0;
    QStringList targets;
    QSet<QString> referenced;
    QString digest;
    Corrections corrections;
    Identify identify;
    // Reads the captions of images that neither identify nor the known-figures table settles.
    TextRecognizer* recognizer = nullptr;
    // Carried by a review request.
    QByteArray document;
    QString source;
    QList<Question> questions;
};

struct FigureOutcome
{
    // Label → asset file name, for every referenced label.
    QMap<QString, QString> figures;
    // Asset file name → Base64 bytes.
    QMap<QString, QString> assets;
};

// Labels every image, applies reviewed crops, and throws a ReviewRequest when a referenced figure is missing.
FigureOutcome figureStep(const FigureInput& input);

} // namespace OfficialUpdates
