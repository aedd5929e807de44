// Icons by their symbol names: the desktop theme's icon when it has one, else one drawn here.
#pragma once

#include "Theme.h"

#include <QColor>
#include <QIcon>
#include <QString>

class QLabel;

namespace Icons {

// name is a symbol name such as "book", "chart.bar" or "flag.fill". A tint draws the project's own icon in that
// colour instead of the theme's (used where the colour carries meaning: green, orange, teal).
QIcon icon(const QString& name, const QColor& tint = QColor());
// The project's own icon in a meaningful colour of the scheme in use whenever it is drawn.
QIcon icon(const QString& name, Theme::Tone tone);
// Shows the symbol in a label, side pixels square, redrawn when the scheme changes.
void show(QLabel* label, const QString& name, Theme::Tone tone, int side);
// The freedesktop theme name used for a symbol name, empty when there is none.
QString themeName(const QString& name);
// True when the project can draw the symbol itself.
bool drawable(const QString& name);

} // namespace Icons
