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

// Parses every document with the updater's own parse and merges the one-pool packs: pools in the order given,
// assets of all of them. Throws the updater's and the model's failures, or FileError for an unreadable file.
Pack build(const QList<Source>& sources);

} // namespace PackBuilder
