// The application's look: Fusion with a light palette, teal accents and the shared style sheet.
#pragma once

#include <QColor>
#include <QFont>
#include <QString>

class QApplication;
class QWidget;

class QLabel;

namespace Theme {

// The accent of buttons, selections and progress.
inline const QColor teal = QColor(0x0f, 0x8b, 0x8d);
inline const QColor green = QColor(0x2e, 0x9e, 0x4f);
inline const QColor orange = QColor(0xe0, 0x7a, 0x10);
inline const QColor secondaryText = QColor(0x6b, 0x72, 0x78);
inline const QColor controlBackground = QColor(0xf4, 0xf5, 0xf6);

// A colour with the given opacity (0 to 1).
QColor withAlpha(const QColor& color, double opacity);
// Fusion, the light palette and the style sheet for the whole application.
void apply(QApplication& app);

// Fonts relative to the system font, in the sizes the screens use.
QFont titleFont(QWidget* widget, double points, bool bold = true);
QFont captionFont(QWidget* widget, double delta = -1.5);
// A wrapped label whose text is never read as markup: pool, learner and question texts are shown as written.
QLabel* label(const QString& text, QWidget* parent, const QString& objectName = QString());
QFont monospaceFont(double points);
// A button title shown exactly as written: an ampersand is a character, never a keyboard mnemonic.
QString buttonText(const QString& text);
// The title a button shows, as the learner reads it (the inverse of buttonText).
QString shownText(const QString& buttonTitle);
// Marks a label as secondary text (dimmed colour).
void secondary(QWidget* widget);
// Marks a push button as the prominent (filled teal) one.
void prominent(QWidget* widget);

} // namespace Theme
