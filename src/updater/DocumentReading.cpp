// Reading pool documents: the temporary document, archive members through unzip, and the two XML readers.
#include "ChildProcess.h"
#include "UpdaterInternals.h"

#include "model/Errors.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QUuid>
#include <QXmlStreamReader>

namespace OfficialUpdates {

namespace {

constexpr qint64 memberLimit = 30'000'000;

// Paragraph reader over word/document.xml: runs of one paragraph are joined, breaks start a new line.
class Paragraphs
{
public:
    QStringList lines;

    void start(QStringView name)
    {
        if (name == u"w:p")
            m_line.clear();
        else if (name == u"w:t")
            m_reading = true;
        else if (name == u"w:br")
            m_line += QLatin1Char('\n');
    }
    void characters(QStringView text)
    {
        if (m_reading)
            m_line += text;
    }
    void end(QStringView name)
    {
        if (name == u"w:t")
            m_reading = false;
        else if (name == u"w:p")
            lines.append(m_line);
    }

private:
    QString m_line;
    bool m_reading = false;
};

// Relationship reader: the targets of embedded (not linked) images inside the media folder.
class Relationships
{
public:
    QStringList images;

    void start(QStringView name, const QXmlStreamAttributes& attributes)
    {
        if (name != u"Relationship")
            return;
        if (!attributes.hasAttribute(QLatin1StringView("Type")) ||
            !attributes.value(QLatin1StringView("Type")).endsWith(u"/image"))
            return;
        if (attributes.hasAttribute(QLatin1StringView("TargetMode")) &&
            attributes.value(QLatin1StringView("TargetMode")) == u"External")
            return;
        if (!attributes.hasAttribute(QLatin1StringView("Target")) ||
            !attributes.value(QLatin1StringView("Target")).startsWith(u"media/"))
            return;
        images.append(attributes.value(QLatin1StringView("Target")).toString());
    }
    void characters(QStringView) {}
    void end(QStringView) {}
};

// Drives a reader over the XML. Elements are told by their qualified names ("w:p"), prefixes kept.
// External entities are never fetched: a part that declares or uses one is refused.
template <typename Reader> void readXml(const QByteArray& xml, Reader& reader)
{
    QXmlStreamReader parser(xml);
    // Names are compared as written, prefix included; a part need not declare the prefixes it uses.
    parser.setNamespaceProcessing(false);
    while (!parser.atEnd()) {
        switch (parser.readNext()) {
        case QXmlStreamReader::StartElement:
            if constexpr (std::is_same_v<Reader, Relationships>)
                reader.start(parser.qualifiedName(), parser.attributes());
            else
                reader.start(parser.qualifiedName());
            break;
        case QXmlStreamReader::Characters:
            reader.characters(parser.text());
            break;
        case QXmlStreamReader::EndElement:
            reader.end(parser.qualifiedName());
            break;
        case QXmlStreamReader::DTD:
            // Pool parts never declare entities; one that points outside the part is refused, never fetched.
            for (const QXmlStreamEntityDeclaration& entity : parser.entityDeclarations()) {
                if (!entity.systemId().isEmpty() || !entity.publicId().isEmpty())
                    throw UpdateError(UpdateError::format);
            }
            break;
        case QXmlStreamReader::EntityReference:
            throw UpdateError(UpdateError::format);
        default:
            break;
        }
    }
    if (parser.hasError())
        throw UpdateError(UpdateError::format);
}

} // namespace

QString sha256Hex(const QByteArray& bytes, int bytesKept)
{
    return QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).left(bytesKept).toHex());
}

QStringList readParagraphs(const QByteArray& xml)
{
    Paragraphs reader;
    readXml(xml, reader);
    return reader.lines;
}

QStringList readRelationships(const QByteArray& xml)
{
    Relationships reader;
    readXml(xml, reader);
    return reader.images;
}

TemporaryDocument::TemporaryDocument(const QByteArray& data)
    : m_path(QDir(QDir::tempPath())
                 .filePath(QStringLiteral("kestovan-pool-") +
                           QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper() + QStringLiteral(".docx")))
{
    QSaveFile file(m_path);
    if (!file.open(QIODevice::WriteOnly) || file.write(data) != data.size() || !file.commit())
        throw FileError(file.errorString());
}

TemporaryDocument::~TemporaryDocument()
{
    QFile::remove(m_path);
}

QByteArray member(const QString& archive, const QString& name)
{
    if (name.contains(QLatin1StringView("..")) || name.startsWith(QLatin1Char('/')))
        throw UpdateError(UpdateError::format);
    const ProcessOutput run =
        runProcess(QStringLiteral("/usr/bin/unzip"), {QStringLiteral("-p"), archive, name}, memberLimit - 1);
    if (!run.succeeded || run.overLimit)
        throw UpdateError(UpdateError::format);
    return run.output;
}

} // namespace OfficialUpdates
