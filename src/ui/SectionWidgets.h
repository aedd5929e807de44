// Building blocks shared by the section screens: titles, notes, cards and body replacement.
#pragma once

#include <QColor>
#include <QDate>
#include <QIcon>
#include <QLocale>
#include <QString>

class QFrame;
class QLabel;
class QLayout;
class QPushButton;
class QVBoxLayout;
class QWidget;

namespace SectionWidgets {

// A label whose text is never read as markup: names, prompts and pool texts come from learners and documents.
QLabel* plain(const QString& text, QWidget* parent);
// Large bold screen title.
QLabel* title(const QString& text, QWidget* parent);
// Bold heading of a card or section.
QLabel* heading(const QString& text, QWidget* parent);
// Wrapped text in the secondary (dimmed) style.
QLabel* note(const QString& text, QWidget* parent);
// Small dimmed text.
QLabel* caption(const QString& text, QWidget* parent);
// Plain wrapped body text.
QLabel* body(const QString& text, QWidget* parent);
// A white card with rounded corners and a vertical layout with comfortable padding.
QFrame* card(QWidget* parent, QVBoxLayout** layout = nullptr);
// Marks a button as the primary (teal) or destructive (red) action of its screen.
void makePrimary(QPushButton* button);
void makeDestructive(QPushButton* button);
// Sets object name and accessible name in one go, so tests and assistive tools find the control.
void name(QWidget* widget, const QString& objectName, const QString& accessibleName);

// A date with an abbreviated month name and no weekday in the locale's own order ("Nov 22, 2026", "22 Nov 2026").
QString abbreviatedDate(const QDate& date, const QLocale& locale = QLocale::system());

// An icon from the desktop theme, else a simple person drawn in the accent colour.
QIcon personIcon();

// Swaps the redrawn part of a screen. The old part is detached at once (so lookups see only the new one) and deleted
// later, because a button inside it may still be emitting the signal that caused the redraw.
void replace(QVBoxLayout* layout, QWidget*& current, QWidget* next);
// Puts the widgets, in their order, just before the anchor in the Tab order (for widgets made after the ones they
// stand before on the screen).
void focusBefore(QWidget* anchor, const QList<QWidget*>& widgets);

} // namespace SectionWidgets
