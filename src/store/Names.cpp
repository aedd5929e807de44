// Cleaning of typed learner names and challenge codes.
#include "Names.h"

#include <QTextBoundaryFinder>

namespace Names {

QString firstCharacters(const QString& text, qsizetype count)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype end = 0;
    for (qsizetype n = 0; n < count; ++n) {
        const qsizetype next = finder.toNextBoundary();
        if (next < 0)
            return text;
        end = next;
    }
    return text.left(end);
}

QString cleanName(const QString& name)
{
    return firstCharacters(name.trimmed(), maximumNameLength);
}

QString cleanCode(const QString& code)
{
    return firstCharacters(code.trimmed().toUpper(), maximumCodeLength);
}

bool sameName(const QString& a, const QString& b)
{
    return a.compare(b, Qt::CaseInsensitive) == 0;
}

} // namespace Names
