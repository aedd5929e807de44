// Icons by their symbol names: the desktop theme's icon when it has one, else one drawn here.
#pragma once

#include <QColor>
#include <QIcon>
#include <QString>

namespace Icons {

// name is a symbol name such as "book", "chart.bar" or "flag.fill". A tint draws the project's own icon in that
// colour instead of the theme's (used where the colour carries meaning: green, orange, teal).
QIcon icon(const QString& name, const QColor& tint = QColor());
// The freedesktop theme name used for a symbol name, empty when there is none.
QString themeName(const QString& name);
// True when the project can draw the symbol itself.
bool drawable(const QString& name);

} // namespace Icons
