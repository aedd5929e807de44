// Builders of small pool documents (.docx archives made with zip) for the updater tests.
#pragma once

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QUrl>

namespace FixtureDocuments {

struct Relationship
{
    QString target;
    QString type = QStringLiteral("http://schemas.openxmlformats.org/officeDocument/2006/relationships/image");
    QString targetMode;
};

// word/document.xml with one paragraph per line, each line one text run (XML-escaped).
QByteArray documentXml(const QStringList& lines);
// word/_rels/document.xml.rels listing the relationships in order.
QByteArray relationshipsXml(const QList<Relationship>& relationships);

// A .docx archive holding exactly the given members (path inside the archive → bytes), made with /usr/bin/zip.
QByteArray archive(const QMap<QString, QByteArray>& members);
// A document with the given text lines, image relationships and media members ("media/x.png" → bytes).
QByteArray document(const QStringList& lines, const QMap<QString, QByteArray>& media = {},
                    const QList<Relationship>& relationships = {});

// The lines of a valid pool for the level: one SUBELEMENT heading, examCount groups of perGroup questions
// shaped "T1A01 (C) [97.1]", prompt, answers A. to D., "~~". Question n of a group has answer index n % 4.
QStringList poolLines(const QString& level, int perGroup = 10);
// Index of the identifier line of the question in lines (-1 if absent).
qsizetype questionLine(const QStringList& lines, const QString& id);

// An official-looking address whose file name carries the period and a revision date.
QUrl source(const QString& fileName);
QUrl technicianSource();

// A small PNG with the given colour (distinct colours give distinct digests).
QByteArray png(unsigned int rgb, int width = 8, int height = 8);

// Gives this test program a temporary folder of its own (TMPDIR), so that tests running side by side do not
// see each other's temporary documents. Call once, before anything is written there.
void isolateTemporaryFolder();
// Files named kestovan-pool-*.docx in the temporary folder (to check that parse leaves none behind).
QStringList leftoverDocuments();

} // namespace FixtureDocuments
