// Pool document and figure builders for the updater tests.
#include "FixtureDocuments.h"

#include "Fixtures.h"

#include <QBuffer>
#include <QPainter>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

QByteArray FixtureDocuments::documentXml(const QStringList& lines)
{
    QString xml = QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<w:document xmlns:w=\""
                                 "http://schemas.openxmlformats.org/wordprocessingml/2006/main\"><w:body>");
    for (const QString& line : lines)
        xml += "<w:p><w:r><w:t xml:space=\"preserve\">" + line.toHtmlEscaped() + "</w:t></w:r></w:p>";
    return (xml + "</w:body></w:document>").toUtf8();
}

QByteArray FixtureDocuments::relationshipsXml(const QList<QStringList>& relationships)
{
    QString xml = "<?xml version=\"1.0\"?>\n<Relationships>";
    for (const QStringList& r : relationships)
        xml += QStringLiteral("<Relationship Id=\"r%1\" Type=\"%2\" Target=\"%3\"%4/>")
                   .arg(QString::number(xml.size()),
                        r.value(1, "http://schemas.openxmlformats.org/officeDocument/2006/relationships/image"), r[0],
                        r.size() > 2 ? " TargetMode=\"" + r[2] + '"' : QString());
    return (xml + "</Relationships>").toUtf8();
}

QByteArray FixtureDocuments::archive(const QMap<QString, QByteArray>& members)
{
    QTemporaryDir dir;
    for (auto it = members.cbegin(); it != members.cend(); ++it) {
        QDir().mkpath(QFileInfo(dir.filePath(it.key())).path());
        Fixtures::writeFile(dir.filePath(it.key()), it.value());
    }
    QProcess zip; // writes the archive to its standard output
    zip.setWorkingDirectory(dir.path());
    zip.start("/usr/bin/zip", QStringList{"-q", "-X", "-"} + members.keys());
    if (!zip.waitForFinished(-1) || zip.exitCode() != 0)
        qFatal("zip failed: %s", zip.readAllStandardError().constData());
    return zip.readAllStandardOutput();
}

QByteArray FixtureDocuments::document(const QStringList& lines, const QMap<QString, QByteArray>& media,
                                      const QList<QStringList>& relationships)
{
    QList<QStringList> rels = relationships;
    QMap<QString, QByteArray> members{{"word/document.xml", documentXml(lines)}};
    for (auto it = media.cbegin(); it != media.cend(); ++it) {
        members.insert("word/" + it.key(), it.value());
        if (relationships.isEmpty())
            rels.append({it.key()});
    }
    members.insert("word/_rels/document.xml.rels", relationshipsXml(rels));
    return archive(members);
}

QStringList FixtureDocuments::poolLines(const QString& level, int perGroup)
{
    const QString letter = levelLetter(level);
    QStringList lines{"Question pool for tests",
                      "SUBELEMENT " + letter + "1 – COMMISSION’S RULES [6 Exam Questions – 6 Groups]"};
    for (int g = 0; g < (level == "extra" ? 50 : 35); ++g) {
        for (int n = 1; n <= perGroup; ++n) {
            const QString id = letter + QString::number(1 + g / 26) + QChar(u'A' + g % 26) +
                               QStringLiteral("%1").arg(n, 2, 10, QChar(u'0'));
            lines << id + " (" + QChar(u'A' + n % 4) + ") [97." + QString::number(n) + ']' << "What is " + id + '?';
            for (const char* a : {"A", "B", "C", "D"})
                lines << QStringLiteral("%1. Answer %1 of %2").arg(QLatin1StringView(a), id);
            lines << "~~";
        }
    }
    return lines;
}

QStringList FixtureDocuments::edited(QStringList lines, const QString& id, int offset, const QString& text)
{
    const qsizetype at = lines.indexOf(QRegularExpression("^" + id + "\\b.*"));
    if (at < 0)
        qFatal("no question %s", qPrintable(id));
    lines[at + offset] = text;
    return lines;
}

QImage FixtureDocuments::sheet(const QStringList& captions)
{
    QImage sheet(700 * int(captions.size()), 600, QImage::Format_RGB32);
    sheet.fill(Qt::white);
    QPainter p(&sheet);
    p.setPen(QPen(Qt::black, 4));
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(56);
    p.setFont(font);
    for (int i = 0, x = 100; i < captions.size(); ++i, x += 700) {
        p.drawRect(x, 80, 300, 200);
        p.drawEllipse(QPoint(x + 150, 180), 60, 60);
        p.drawText(QRect(x - 60, 380, 560, 100), Qt::AlignCenter, captions.at(i));
    }
    return sheet;
}

QByteArray FixtureDocuments::encoded(const QImage& image, const char* format)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes;
}

QByteArray FixtureDocuments::png(unsigned int rgb, int width, int height)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(rgb);
    return encoded(image);
}

void FixtureDocuments::isolateTemporaryFolder()
{
    static QTemporaryDir folder; // removed with its contents when the test program ends
    qputenv("TMPDIR", QFile::encodeName(folder.path()));
}
