// How a call ended, and tables of texts, so that a test can list its cases and expected failures as words.
#pragma once

#include "model/Errors.h"
#include "updater/OfficialUpdates.h"

#include <QStringList>

// "download", "format", "figures", "combined" (the kinds of UpdateError), "review" (ReviewRequest), "invalid"
// (DataError), "other" for anything else thrown, or "" when f returned.
template <typename F> QString outcome(F&& f)
{
    try {
        f();
        return QString();
    } catch (const OfficialUpdates::UpdateError& e) {
        static const char* const kinds[] = {"download", "format", "figures", "combined"};
        return QString::fromLatin1(kinds[e.which()]);
    } catch (const OfficialUpdates::ReviewRequest&) {
        return QStringLiteral("review");
    } catch (const DataError&) {
        return QStringLiteral("invalid");
    } catch (...) {
        return QStringLiteral("other");
    }
}

// The rows of a table written one row per line with cells separated by "|"; cells are trimmed, and "\n" in a cell
// stands for a line feed.
inline QList<QStringList> table(const QString& text)
{
    QList<QStringList> rows;
    for (const QString& line : text.split('\n')) {
        QStringList cells;
        for (const QString& cell : line.split('|'))
            cells.append(cell.trimmed().replace(QStringLiteral("\\n"), QStringLiteral("\n")));
        if (cells != QStringList{QString()})
            rows.append(cells);
    }
    return rows;
}
