// Builders of small pool documents (.docx archives made with zip) and of figure images for the updater tests.
#pragma once

#include <QByteArray>
#include <QCryptographicHash>
#include <QDir>
#include <QImage>
#include <QMap>
#include <QStringList>
#include <QUrl>

struct FixtureDocuments
{
    // word/document.xml with one paragraph per line, each line one text run.
    static QByteArray documentXml(const QStringList& lines);
    // word/_rels/document.xml.rels: one relationship per entry {target, type, target mode}, by default an image.
    static QByteArray relationshipsXml(const QList<QStringList>& relationships);
    // A .docx archive holding exactly the given members (path inside the archive → bytes), made with /usr/bin/zip.
    static QByteArray archive(const QMap<QString, QByteArray>& members);
    // A document with the text lines, and media members ("media/x.png" → bytes) listed as images in the given order
    // (by default every media member once).
    static QByteArray document(const QStringList& lines, const QMap<QString, QByteArray>& media = {},
                               const QList<QStringList>& relationships = {});

    // The lines of a valid pool for the level: one SUBELEMENT heading, examCount groups of perGroup questions
    // shaped "T1A01 (C) [97.1]", prompt, answers A. to D., "~~". Question n of a group has answer index n % 4.
    static QStringList poolLines(const QString& level, int perGroup = 10);
    // lines with the line at offset from question id's identifier line replaced (1 = prompt, 2..5 = answers A to
    // D). A text holding line feeds reads as several lines once the document's paragraphs are joined.
    static QStringList edited(QStringList lines, const QString& id, int offset, const QString& text);

    // An official-looking address whose file name carries the period and a revision date.
    static QUrl source(const QString& name)
    {
        return QUrl::fromEncoded("https://www.ncvec.org/downloads/" + name.toUtf8().toPercentEncoding());
    }

    // A white sheet of 700 by 600 pixels per caption, each cell holding a small drawing above its caption.
    static QImage sheet(const QStringList& captions);
    static QByteArray encoded(const QImage& image, const char* format = "PNG");
    // A small PNG with the given colour (distinct colours give distinct digests).
    static QByteArray png(unsigned int rgb, int width = 8, int height = 8);
    static QString base64(const QByteArray& bytes) { return QString::fromLatin1(bytes.toBase64()); }
    static QString sha256(const QByteArray& bytes)
    {
        return QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex());
    }

    // Gives this test program a temporary folder of its own (TMPDIR), so that tests running side by side do not
    // see each other's temporary documents. Call once, before anything is written there.
    static void isolateTemporaryFolder();
    // Files named kestovan-pool-*.docx in the temporary folder (to check that parse leaves none behind).
    static QStringList leftoverDocuments()
    {
        return QDir(QDir::tempPath()).entryList({"kestovan-pool-*.docx"}, QDir::Files);
    }
};
