// Pool document builders for the updater tests.
#include "FixtureDocuments.h"

#include "Fixtures.h"
#include "model/Pack.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>

namespace FixtureDocuments {

QByteArray documentXml(const QStringList& lines)
{
    QString xml =
        QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
                       "<w:document xmlns:w=\"http://schemas.openxmlformats.org/wordprocessingml/2006/main\"><w:body>");
    for (const QString& line : lines)
        xml += QStringLiteral("<w:p><w:r><w:t xml:space=\"preserve\">") + line.toHtmlEscaped() +
               QStringLiteral("</w:t></w:r></w:p>");
    xml += QStringLiteral("</w:body></w:document>");
    return xml.toUtf8();
}

QByteArray relationshipsXml(const QList<Relationship>& relationships)
{
    QString xml =
        QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
                       "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">");
    int n = 1;
    for (const Relationship& r : relationships) {
        xml += QStringLiteral("<Relationship Id=\"rId%1\" Type=\"%2\" Target=\"%3\"")
                   .arg(n++)
                   .arg(r.type.toHtmlEscaped(), r.target.toHtmlEscaped());
        if (!r.targetMode.isEmpty())
            xml += QStringLiteral(" TargetMode=\"%1\"").arg(r.targetMode.toHtmlEscaped());
        xml += QStringLiteral("/>");
    }
    xml += QStringLiteral("</Relationships>");
    return xml.toUtf8();
}

QByteArray archive(const QMap<QString, QByteArray>& members)
{
    QTemporaryDir dir;
    if (!dir.isValid())
        qFatal("no temporary folder for a fixture document");
    const QString content = dir.filePath(QStringLiteral("content"));
    for (auto it = members.cbegin(); it != members.cend(); ++it) {
        const QString path = content + QLatin1Char('/') + it.key();
        QDir().mkpath(QFileInfo(path).path());
        Fixtures::writeFile(path, it.value());
    }
    QProcess zip;
    zip.setWorkingDirectory(content);
    zip.setStandardOutputFile(QProcess::nullDevice());
    QStringList arguments{QStringLiteral("-q"), QStringLiteral("-X"), dir.filePath(QStringLiteral("out.docx"))};
    arguments += members.keys();
    zip.start(QStringLiteral("/usr/bin/zip"), arguments);
    if (!zip.waitForFinished(-1) || zip.exitCode() != 0)
        qFatal("zip failed: %s", zip.readAllStandardError().constData());
    return Fixtures::readFile(dir.filePath(QStringLiteral("out.docx")));
}

QByteArray document(const QStringList& lines, const QMap<QString, QByteArray>& media,
                    const QList<Relationship>& relationships)
{
    QList<Relationship> rels = relationships;
    if (rels.isEmpty()) {
        for (auto it = media.cbegin(); it != media.cend(); ++it)
            rels.append({it.key()});
    }
    QMap<QString, QByteArray> members{{QStringLiteral("word/document.xml"), documentXml(lines)},
                                      {QStringLiteral("word/_rels/document.xml.rels"), relationshipsXml(rels)}};
    for (auto it = media.cbegin(); it != media.cend(); ++it)
        members.insert(QStringLiteral("word/") + it.key(), it.value());
    return archive(members);
}

QStringList poolLines(const QString& level, int perGroup)
{
    const QString letter = levelLetter(level);
    const int groups = level == QLatin1StringView("extra") ? 50 : 35;
    QStringList lines{
        QStringLiteral("Question pool for tests"),
        QStringLiteral("SUBELEMENT %1%2 – COMMISSION’S RULES [6 Exam Questions – 6 Groups]").arg(letter).arg(1)};
    static const QString letters = QStringLiteral("ABCD");
    for (int g = 0; g < groups; ++g) {
        const QString group = letter + QString::number(1 + g / 26) + QChar(u'A' + g % 26);
        for (int n = 1; n <= perGroup; ++n) {
            const QString id = group + QStringLiteral("%1").arg(n, 2, 10, QLatin1Char('0'));
            lines << QStringLiteral("%1 (%2) [97.%3]").arg(id, letters.at(n % 4)).arg(n)
                  << QStringLiteral("What is %1?").arg(id);
            for (const QChar a : letters)
                lines << QStringLiteral("%1. Answer %1 of %2").arg(a).arg(id);
            lines << QStringLiteral("~~");
        }
    }
    return lines;
}

qsizetype questionLine(const QStringList& lines, const QString& id)
{
    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (lines.at(i).startsWith(id + QLatin1Char(' ')) || lines.at(i) == id)
            return i;
    }
    return -1;
}

QUrl source(const QString& fileName)
{
    return QUrl(QStringLiteral("https://www.ncvec.org/downloads/") +
                    QString::fromLatin1(QUrl::toPercentEncoding(fileName)),
                QUrl::StrictMode);
}

QUrl technicianSource()
{
    return source(QStringLiteral("2026-2030 Technician Pool and Syllabus Public Release Feb 19 2026.docx"));
}

QByteArray png(unsigned int rgb, int width, int height)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(rgb);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

void isolateTemporaryFolder()
{
    static QTemporaryDir folder; // removed with its contents when the test program ends
    qputenv("TMPDIR", QFile::encodeName(folder.path()));
    if (QDir::tempPath() != QDir(folder.path()).canonicalPath() && QDir::tempPath() != folder.path())
        qFatal("the temporary folder could not be moved");
}

QStringList leftoverDocuments()
{
    return QDir(QDir::tempPath()).entryList({QStringLiteral("kestovan-pool-*.docx")}, QDir::Files);
}

} // namespace FixtureDocuments
