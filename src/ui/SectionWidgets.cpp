// Shared building blocks of the section screens.
#include "SectionWidgets.h"

#include "Theme.h"

#include <QFrame>
#include <QLabel>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
#include <QRegularExpression>
#include <QVBoxLayout>

namespace SectionWidgets {

QLabel* plain(const QString& text, QWidget* parent)
{
    auto* l = new QLabel(text, parent);
    l->setTextFormat(Qt::PlainText);
    return l;
}

namespace {

QLabel* label(const QString& text, QWidget* parent, const char* role)
{
    QLabel* l = plain(text, parent);
    l->setWordWrap(true);
    if (role)
        l->setProperty("role", QString::fromLatin1(role));
    return l;
}

} // namespace

QLabel* title(const QString& text, QWidget* parent)
{
    auto* l = label(text, parent, nullptr);
    l->setFont(Theme::largeTitleFont(l));
    return l;
}

QLabel* heading(const QString& text, QWidget* parent)
{
    auto* l = label(text, parent, nullptr);
    QFont font = l->font();
    font.setPointSizeF(font.pointSizeF() * 1.15);
    font.setBold(true);
    l->setFont(font);
    return l;
}

QLabel* note(const QString& text, QWidget* parent)
{
    return label(text, parent, "note");
}

QLabel* caption(const QString& text, QWidget* parent)
{
    auto* l = label(text, parent, "caption");
    QFont font = l->font();
    font.setPointSizeF(font.pointSizeF() * 0.88);
    l->setFont(font);
    return l;
}

QLabel* body(const QString& text, QWidget* parent)
{
    return label(text, parent, nullptr);
}

QFrame* card(QWidget* parent, QVBoxLayout** layout)
{
    auto* frame = new QFrame(parent);
    frame->setProperty("card", true);
    auto* l = new QVBoxLayout(frame);
    l->setContentsMargins(16, 14, 16, 14);
    l->setSpacing(8);
    if (layout)
        *layout = l;
    return frame;
}

void makePrimary(QPushButton* button)
{
    Theme::prominent(button);
}

void makeDestructive(QPushButton* button)
{
    button->setProperty("destructive", true);
}

void name(QWidget* widget, const QString& objectName, const QString& accessibleName)
{
    widget->setObjectName(objectName);
    widget->setAccessibleName(accessibleName);
}

QString abbreviatedDate(const QDate& date, const QLocale& locale)
{
    // The long format names the weekday and the full month; drop the weekday with the separator that follows it
    // and shorten the month, which keeps the locale's order of day, month and year.
    QString format = locale.dateFormat(QLocale::LongFormat);
    static const QRegularExpression weekday(QStringLiteral("d{4}[,.]?\\s*"));
    format.remove(weekday);
    format.replace(QStringLiteral("MMMM"), QStringLiteral("MMM"));
    return locale.toString(date, format.trimmed());
}

QIcon personIcon()
{
    const QIcon themed = QIcon::fromTheme(QStringLiteral("avatar-default"));
    if (!themed.isNull())
        return themed;
    QPixmap pixmap(32, 32);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Theme::colors().accent, 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(QRectF(2, 2, 28, 28));
    painter.setBrush(Theme::colors().accent);
    painter.setPen(Qt::NoPen);
    painter.drawEllipse(QRectF(11, 7, 10, 10));
    painter.drawChord(QRectF(7, 18, 18, 16), 0, 180 * 16);
    return QIcon(pixmap);
}

void focusBefore(QWidget* anchor, const QList<QWidget*>& widgets)
{
    QWidget* previous = anchor->previousInFocusChain();
    while (previous != anchor && (widgets.contains(previous) || previous->focusPolicy() == Qt::NoFocus))
        previous = previous->previousInFocusChain();
    for (QWidget* widget : widgets) {
        QWidget::setTabOrder(previous, widget);
        previous = widget;
    }
    QWidget::setTabOrder(previous, anchor);
}

void replace(QVBoxLayout* layout, QWidget*& current, QWidget* next)
{
    int at = -1;
    if (current) {
        at = layout->indexOf(current);
        layout->removeWidget(current);
        current->hide();
        current->setParent(nullptr);
        current->deleteLater();
    }
    if (at < 0)
        layout->addWidget(next);
    else
        layout->insertWidget(at, next);
    // A layout shows a new child of a visible screen only on the next event loop pass; show it now.
    next->show();
    current = next;
}

} // namespace SectionWidgets
