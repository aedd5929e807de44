// The pack builder: official pool documents in, one validated pool pack out.
#pragma once

#include "model/Pack.h"

#include <QList>
#include <QString>
#include <QUrl>

namespace PackBuilder {

// One official document: where it lies on disk, where it was published and the level it holds.
struct Source
{
    QString path;
    QUrl address;
    QString level;
};

// The address of a file published in the official site's downloads folder (blanks and the like percent-encoded).
QUrl downloadAddress(const QString& fileName);

// A figure file published separately on the official site (such as the PDF of a figure), stored under its name.
struct FigureFile
{
    QString name;
    QString path;
};

// The file name under which a figure is also found by its label alone: T figures as .jpg, G figures as .pdf,
// all others as .png.
QString labelFileName(const QString& label);

// Parses every document with the updater's own parse and merges the one-pool packs: pools in the order given,
// assets of all of them. Each document figure is also stored under its label's file name when its bytes are of
// that format, and every given figure file is added as it is. Throws the updater's and the model's failures, or
// FileError for an unreadable file.
Pack build(const QList<Source>& sources, const QList<FigureFile>& figureFiles = {});

} // namespace PackBuilder
