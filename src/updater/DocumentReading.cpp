// Reading pool documents: the temporary document, archive members through unzip, and the two XML readers.
#include "ChildProcess.h"
#include "UpdaterInternals.h"

#include "model/Errors.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QLibrary>
#include <QUuid>
#include <QXmlStreamReader>

#include <openssl/evp.h>

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

bool isNameChar(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == ':' || c == '_' ||
           c == '-' || c == '.';
}

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// True when the text is nothing but balanced, well-formed tags with plain ASCII names and attribute values free of
// markup: exactly what the XML reader would accept and the paragraph reader would ignore. Anything else (text,
// entities, comments, processing instructions, odd names) is left for the reader to judge.
bool wellFormedTags(QByteArrayView text)
{
    QList<QByteArrayView> open;
    qsizetype i = 0;
    const qsizetype n = text.size();
    const auto name = [&] {
        const qsizetype from = i;
        while (i < n && isNameChar(text[i]))
            ++i;
        return text.sliced(from, i - from);
    };
    const auto blanks = [&] {
        while (i < n && isBlank(text[i]))
            ++i;
    };
    while (i < n) {
        if (text[i++] != '<' || i >= n)
            return false;
        if (text[i] == '/') {
            ++i;
            const QByteArrayView closing = name();
            blanks();
            if (closing.isEmpty() || open.isEmpty() || open.takeLast() != closing || i >= n || text[i++] != '>')
                return false;
            continue;
        }
        const QByteArrayView element = name();
        if (element.isEmpty())
            return false;
        QList<QByteArrayView> attributes;
        for (;;) {
            const qsizetype before = i;
            blanks();
            if (i < n && (text[i] == '>' || text[i] == '/'))
                break;
            const QByteArrayView attribute = name();
            if (attribute.isEmpty() || i == before || attributes.contains(attribute))
                return false;
            attributes.append(attribute);
            blanks();
            if (i >= n || text[i++] != '=')
                return false;
            blanks();
            const char quote = i < n ? text[i++] : 0;
            if (quote != '"' && quote != '\'')
                return false;
            while (i < n && text[i] != quote && text[i] != '<' && text[i] != '&')
                ++i;
            if (i >= n || text[i++] != quote)
                return false;
        }
        if (text[i] == '/') {
            if (++i >= n || text[i] != '>')
                return false;
        } else {
            open.append(element);
        }
        ++i;
    }
    return open.isEmpty();
}

// Word writes run and paragraph properties (fonts, sizes, styles) around nearly every run: more than half of a pool
// document's elements. The paragraph reader ignores them, so blocks of them made of well-formed tags alone are
// dropped before the XML is read, which halves its reading time.
QByteArray withoutPropertyBlocks(const QByteArray& xml, QByteArrayView open, QByteArrayView close)
{
    QByteArray out;
    out.reserve(xml.size());
    const char* data = xml.constData();
    qsizetype copied = 0;
    qsizetype at = 0;
    for (;;) {
        const qsizetype start = xml.indexOf(open, at);
        if (start < 0)
            break;
        qsizetype end = xml.indexOf(close, start + open.size());
        if (end < 0)
            break;
        end += close.size();
        // A nested block of the same name (a recorded change of properties) is left whole.
        const qsizetype nested = xml.indexOf(open, start + open.size());
        if ((nested < 0 || nested >= end) && wellFormedTags(QByteArrayView(data + start, end - start))) {
            out.append(data + copied, start - copied);
            copied = end;
        }
        at = end;
    }
    out.append(data + copied, xml.size() - copied);
    return out;
}

} // namespace

QString sha256Hex(const QByteArray& bytes, int bytesKept)
{
    // Every document and figure is hashed at each parse. The system's cryptography library uses the processor's
    // hashing instructions and is about eight times faster than the toolkit's portable code, which stays as the
    // fallback when the library cannot be loaded. It is loaded on first use, as only a pool update hashes.
    struct Crypto
    {
        decltype(&EVP_Digest) digest = nullptr;
        decltype(&EVP_sha256) sha256 = nullptr;
    };
    static const Crypto crypto = [] {
        QLibrary library(QStringLiteral("crypto"), OPENSSL_VERSION_MAJOR);
        Crypto c;
        if (library.load()) {
            c.digest = reinterpret_cast<decltype(&EVP_Digest)>(library.resolve("EVP_Digest"));
            c.sha256 = reinterpret_cast<decltype(&EVP_sha256)>(library.resolve("EVP_sha256"));
        }
        return c;
    }();
    QByteArray hash(EVP_MAX_MD_SIZE, Qt::Uninitialized);
    unsigned int length = 0;
    if (!crypto.digest || !crypto.sha256 ||
        crypto.digest(bytes.constData(), size_t(bytes.size()), reinterpret_cast<unsigned char*>(hash.data()), &length,
                      crypto.sha256(), nullptr) != 1 ||
        length != 32)
        hash = QCryptographicHash::hash(bytes, QCryptographicHash::Sha256);
    return QString::fromLatin1(hash.left(bytesKept).toHex());
}

QStringList readParagraphs(const QByteArray& xml)
{
    Paragraphs reader;
    // Paragraph properties may hold run properties of their own, so those go first.
    readXml(withoutPropertyBlocks(withoutPropertyBlocks(xml, "<w:pPr>", "</w:pPr>"), "<w:rPr>", "</w:rPr>"), reader);
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
    // A private file under a fresh name, read only by this process's children: it need not reach the disk.
    QFile file(m_path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly) || file.write(data) != data.size() || !file.flush()) {
        const QString error = file.errorString();
        file.close();
        QFile::remove(m_path);
        throw FileError(error);
    }
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
