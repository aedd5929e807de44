// The application's look.
#include "Theme.h"

#include <QLabel>

#include <QApplication>
#include <QFontDatabase>
#include <QPalette>
#include <QStyleFactory>
#include <QWidget>

namespace Theme {

QColor withAlpha(const QColor& color, double opacity)
{
    QColor c = color;
    c.setAlphaF(float(opacity));
    return c;
}

namespace {

const char* const styleSheet = R"(
QPushButton {
    padding: 5px 14px;
    border: 1px solid #c9cdd1;
    border-radius: 6px;
    background: #ffffff;
    min-height: 20px;
}
QPushButton:hover { background: #f0f4f4; }
QPushButton:pressed { background: #e3eded; }
QPushButton:disabled { color: #a6abb0; background: #f7f7f8; border-color: #dfe2e4; }
QPushButton:focus { border-color: #0f8b8d; }
QPushButton[prominent="true"] {
    background: #0f8b8d;
    border: 1px solid #0c7476;
    color: #ffffff;
    font-weight: 600;
}
QPushButton[prominent="true"]:hover { background: #12999b; }
QPushButton[prominent="true"]:pressed { background: #0c7476; }
QPushButton[prominent="true"]:focus { border: 2px solid #0a4f50; }
QPushButton[prominent="true"]:disabled { background: #9fcfd0; border-color: #9fcfd0; color: #eef7f7; }
QPushButton[destructive="true"] { color: #b3261e; }
QPushButton#jumpTo { padding-right: 26px; }
QPushButton::menu-indicator { subcontrol-origin: padding; subcontrol-position: center right; right: 8px; }
QPushButton[sidebar="true"] {
    text-align: left;
    padding: 8px;
    border: none;
    border-radius: 8px;
    background: transparent;
}
QPushButton[sidebar="true"]:hover { background: rgba(15, 139, 141, 0.08); }
QPushButton[sidebar="true"]:checked { background: rgba(15, 139, 141, 0.16); }
QPushButton[sidebar="true"]:focus { border: 1px solid rgba(15, 139, 141, 0.55); }
QPushButton[flat="true"] { border: none; background: transparent; color: #0f8b8d; padding: 2px 4px; }
QPushButton[flat="true"]:hover { text-decoration: underline; }
QFrame[card="true"] {
    background: #ffffff;
    border: 1px solid #dde1e4;
    border-radius: 10px;
}
QFrame#divider { color: #dde1e4; }
QProgressBar {
    border: none;
    border-radius: 4px;
    background: #e4e8ea;
    max-height: 8px;
    min-height: 8px;
}
QProgressBar::chunk { border-radius: 4px; background: #0f8b8d; }
QLineEdit {
    padding: 4px 6px;
    border: 1px solid #c9cdd1;
    border-radius: 6px;
    background: #ffffff;
    min-height: 20px;
}
QLineEdit:focus { border-color: #0f8b8d; }
QLineEdit:disabled { color: #a6abb0; background: #f7f7f8; }
QComboBox { min-height: 22px; padding: 2px 8px; }
QScrollArea { border: none; background: transparent; }
QScrollArea > QWidget > QWidget { background: transparent; }
QToolTip { color: #1d2327; background: #ffffff; border: 1px solid #c9cdd1; }
)";

} // namespace

void apply(QApplication& app)
{
    app.setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QPalette p;
    const QColor window(0xfa, 0xfb, 0xfb);
    const QColor text(0x1d, 0x23, 0x27);
    p.setColor(QPalette::Window, window);
    p.setColor(QPalette::WindowText, text);
    p.setColor(QPalette::Base, Qt::white);
    p.setColor(QPalette::AlternateBase, controlBackground);
    p.setColor(QPalette::Text, text);
    p.setColor(QPalette::Button, Qt::white);
    p.setColor(QPalette::ButtonText, text);
    p.setColor(QPalette::BrightText, Qt::white);
    p.setColor(QPalette::Highlight, teal);
    p.setColor(QPalette::HighlightedText, Qt::white);
    p.setColor(QPalette::Link, teal);
    p.setColor(QPalette::ToolTipBase, Qt::white);
    p.setColor(QPalette::ToolTipText, text);
    p.setColor(QPalette::PlaceholderText, secondaryText);
    p.setColor(QPalette::Light, Qt::white);
    p.setColor(QPalette::Midlight, QColor(0xe4, 0xe8, 0xea));
    p.setColor(QPalette::Mid, QColor(0xc9, 0xcd, 0xd1));
    p.setColor(QPalette::Dark, QColor(0x9a, 0xa0, 0xa6));
    for (auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        p.setColor(QPalette::Disabled, role, QColor(0xa6, 0xab, 0xb0));
    app.setPalette(p);
    app.setStyleSheet(QString::fromLatin1(styleSheet));
}

QFont titleFont(QWidget* widget, double points, bool bold)
{
    QFont f = widget->font();
    f.setPointSizeF(points);
    f.setBold(bold);
    return f;
}

QLabel* label(const QString& text, QWidget* parent, const QString& objectName)
{
    auto* l = new QLabel(text, parent);
    l->setTextFormat(Qt::PlainText);
    l->setWordWrap(true);
    if (!objectName.isEmpty())
        l->setObjectName(objectName);
    return l;
}

QFont captionFont(QWidget* widget, double delta)
{
    QFont f = widget->font();
    const double base = f.pointSizeF() > 0 ? f.pointSizeF() : 10;
    f.setPointSizeF(std::max(7.0, base + delta));
    return f;
}

QFont monospaceFont(double points)
{
    QFont f = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    f.setPointSizeF(points);
    return f;
}

QString buttonText(const QString& text)
{
    return QString(text).replace(QLatin1Char('&'), QStringLiteral("&&"));
}

QString shownText(const QString& buttonTitle)
{
    return QString(buttonTitle).replace(QStringLiteral("&&"), QStringLiteral("&"));
}

void secondary(QWidget* widget)
{
    QPalette p = widget->palette();
    p.setColor(QPalette::WindowText, secondaryText);
    p.setColor(QPalette::Text, secondaryText);
    widget->setPalette(p);
}

void prominent(QWidget* widget)
{
    widget->setProperty("prominent", true);
}

} // namespace Theme
