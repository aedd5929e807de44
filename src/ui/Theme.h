// The application's look: Fusion with a light or dark palette, teal accents and the shared style sheet.
#pragma once

#include <QColor>
#include <QFont>
#include <QString>
#include <functional>

class QApplication;
class QLabel;
class QObject;
class QWidget;

namespace Theme {

enum class Scheme { light, dark };

// Every colour of the look, for one scheme. Texts keep a contrast of at least 4.5:1 on the backgrounds they are
// drawn on; official figures are drawn on white in both schemes.
struct Colors
{
    QColor window;  // the window behind everything
    QColor surface; // cards, fields and buttons
    QColor control; // answer rows and pool cards
    QColor text;
    QColor secondaryText; // captions, notes and counts
    QColor border;        // buttons and fields
    QColor divider;       // cards, rules and quiet outlines
    QColor track;         // the empty part of a progress bar
    QColor hover, pressed;
    QColor accent; // filled buttons, selection and progress
    QColor accentHover, accentPressed;
    QColor onAccent;   // text on the accent
    QColor accentText; // links, flat buttons and answer letters
    QColor focus;      // the focus outline of a filled button
    QColor accentDisabled, onAccentDisabled;
    QColor success, successText; // a correct answer, a passed exam
    QColor warning, warningText; // a flagged question, a failed exam, pool warnings
    QColor destructive, destructiveBorder, destructiveHover;
    QColor disabledText, disabledSurface;
};

// The colours of a scheme, and of the one in use.
const Colors& colors(Scheme scheme);
const Colors& colors();
Scheme scheme();

// The meaningful colours icons and marks are drawn in, looked up in the scheme in use when they are drawn.
enum class Tone { accent, success, warning };
QColor color(Tone tone);

// Calls refresh after every change of scheme while context lives (for colours a widget keeps itself).
void whenChanged(QObject* context, std::function<void()> refresh);

// A colour with the given opacity (0 to 1).
QColor withAlpha(const QColor& color, double opacity);
// Fusion, the scheme's palette and the style sheet for the whole application; a change repaints every window.
void apply(QApplication& app, Scheme scheme = Scheme::light);
// The application's style sheet in the given colours.
QString styleSheet(const Colors& colors);

// Fonts relative to the system font, in the sizes the screens use.
// Sizes are in the same unit as the layout's margins and spacings (device-independent pixels): text of size 18 is
// 18 units high, whatever the screen's dots per inch.
QFont titleFont(QWidget* widget, double size, bool bold = true);
// The two title styles of every screen: the screen's own title, and the titles one level below it (the window
// header, the question screen's session title, the set-up card).
inline constexpr double largeTitleSize = 26;
inline constexpr double secondTitleSize = 17;
QFont largeTitleFont(QWidget* widget);
QFont secondTitleFont(QWidget* widget);
// The headline of a card or row: the body text in bold.
QFont headlineFont(QWidget* widget);
QFont captionFont(QWidget* widget, double delta = -1.5);
// A wrapped label whose text is never read as markup: pool, learner and question texts are shown as written.
QLabel* label(const QString& text, QWidget* parent, const QString& objectName = QString());
QFont monospaceFont(double size);
// A button title shown exactly as written: an ampersand is a character, never a keyboard mnemonic.
QString buttonText(const QString& text);
// The title a button shows, as the learner reads it (the inverse of buttonText).
QString shownText(const QString& buttonTitle);
// Marks a label as secondary text (dimmed colour). Only labels take tones: a rule for every kind of widget would
// be matched against each one the application makes.
void secondary(QLabel* label);
// Shows a label's text in a meaningful colour (the success or warning text colour).
void toned(QLabel* label, Tone tone);
// Marks a push button as the prominent (filled teal) one.
void prominent(QWidget* widget);

} // namespace Theme
