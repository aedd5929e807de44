// The application's look.
#include "Theme.h"

#include <QApplication>
#include <QFontDatabase>
#include <QLabel>
#include <QMap>
#include <QPalette>
#include <QPointer>
#include <QRegularExpression>
#include <QStyle>
#include <QStyleFactory>
#include <QWidget>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace Theme {

QColor withAlpha(const QColor& color, double opacity)
{
    QColor c = color;
    c.setAlphaF(float(opacity));
    return c;
}

namespace {

Colors makeLight()
{
    Colors c;
    c.window = QColor(0xfa, 0xfb, 0xfb);
    c.surface = QColor(0xff, 0xff, 0xff);
    c.control = QColor(0xf4, 0xf5, 0xf6);
    c.text = QColor(0x1d, 0x23, 0x27);
    c.secondaryText = QColor(0x56, 0x5d, 0x63);
    c.border = QColor(0xc9, 0xcd, 0xd1);
    c.divider = QColor(0xdd, 0xe1, 0xe4);
    c.track = QColor(0xe4, 0xe8, 0xea);
    c.hover = QColor(0xf0, 0xf4, 0xf4);
    c.pressed = QColor(0xe3, 0xed, 0xed);
    c.accent = QColor(0x0c, 0x7a, 0x7c);
    c.accentHover = QColor(0x0b, 0x70, 0x72);
    c.accentPressed = QColor(0x0a, 0x64, 0x66);
    c.onAccent = QColor(0xff, 0xff, 0xff);
    c.accentText = QColor(0x0b, 0x6f, 0x71);
    c.focus = QColor(0x07, 0x49, 0x4a);
    c.accentDisabled = QColor(0x9f, 0xcf, 0xd0);
    c.onAccentDisabled = QColor(0xee, 0xf7, 0xf7);
    c.success = QColor(0x2e, 0x9e, 0x4f);
    c.successText = QColor(0x1e, 0x7a, 0x3b);
    c.warning = QColor(0xe0, 0x7a, 0x10);
    c.warningText = QColor(0x9a, 0x52, 0x00);
    c.destructive = QColor(0xb3, 0x26, 0x1e);
    c.destructiveBorder = QColor(0xe2, 0xb4, 0xb0);
    c.destructiveHover = QColor(0xfb, 0xec, 0xeb);
    c.disabledText = QColor(0xa6, 0xab, 0xb0);
    c.disabledSurface = QColor(0xf7, 0xf7, 0xf8);
    return c;
}

Colors makeDark()
{
    Colors c;
    c.window = QColor(0x1b, 0x1e, 0x21);
    c.surface = QColor(0x24, 0x28, 0x2c);
    c.control = QColor(0x2b, 0x30, 0x35);
    c.text = QColor(0xe6, 0xe9, 0xec);
    c.secondaryText = QColor(0xa5, 0xad, 0xb4);
    c.border = QColor(0x4a, 0x51, 0x58);
    c.divider = QColor(0x3a, 0x40, 0x46);
    c.track = QColor(0x3a, 0x40, 0x47);
    c.hover = QColor(0x2e, 0x35, 0x3a);
    c.pressed = QColor(0x32, 0x40, 0x44);
    c.accent = QColor(0x13, 0x7f, 0x81);
    c.accentHover = QColor(0x11, 0x73, 0x75);
    c.accentPressed = QColor(0x0e, 0x65, 0x67);
    c.onAccent = QColor(0xff, 0xff, 0xff);
    c.accentText = QColor(0x4c, 0xc5, 0xc7);
    c.focus = QColor(0x8f, 0xe3, 0xe5);
    c.accentDisabled = QColor(0x2c, 0x4a, 0x4b);
    c.onAccentDisabled = QColor(0x7d, 0x96, 0x97);
    c.success = QColor(0x3f, 0xbf, 0x65);
    c.successText = QColor(0x5f, 0xd2, 0x83);
    c.warning = QColor(0xf0, 0x91, 0x3a);
    c.warningText = QColor(0xf5, 0xa5, 0x5c);
    c.destructive = QColor(0xff, 0x8a, 0x80);
    c.destructiveBorder = QColor(0x7a, 0x3a, 0x36);
    c.destructiveHover = QColor(0x3a, 0x24, 0x22);
    c.disabledText = QColor(0x6c, 0x73, 0x7a);
    c.disabledSurface = QColor(0x26, 0x2a, 0x2e);
    return c;
}

Scheme current = Scheme::light;

struct Listener
{
    QPointer<QObject> context;
    std::function<void()> refresh;
};

std::vector<Listener>& listeners()
{
    static std::vector<Listener> all;
    return all;
}

// Style sheet rules with {name} standing for a colour of the scheme.
const char* const sheetTemplate = R"(
QPushButton {
    padding: 5px 14px;
    border: 1px solid {border};
    border-radius: 6px;
    background: {surface};
    color: {text};
    min-height: 20px;
}
QPushButton:hover { background: {hover}; }
QPushButton:pressed { background: {pressed}; }
QPushButton:disabled { color: {disabledText}; background: {disabledSurface}; border-color: {divider}; }
QPushButton:focus { border-color: {accent}; }
QPushButton[prominent="true"] {
    background: {accent};
    border: 1px solid {accentPressed};
    color: {onAccent};
    font-weight: 600;
}
QPushButton[prominent="true"]:hover { background: {accentHover}; }
QPushButton[prominent="true"]:pressed { background: {accentPressed}; }
QPushButton[prominent="true"]:focus { border: 2px solid {focus}; }
QPushButton[prominent="true"]:disabled {
    background: {accentDisabled};
    border-color: {accentDisabled};
    color: {onAccentDisabled};
}
QPushButton[destructive="true"] { color: {destructive}; border-color: {destructiveBorder}; }
QPushButton[destructive="true"]:hover { background: {destructiveHover}; border-color: {destructive}; }
QPushButton[compact="true"] { padding-left: 4px; padding-right: 4px; }
QPushButton::menu-indicator { subcontrol-origin: padding; subcontrol-position: center right; right: 8px; }
QPushButton[sidebar="true"] {
    text-align: left;
    padding: 8px;
    border: none;
    border-radius: 8px;
    background: transparent;
}
QPushButton[sidebar="true"]:hover { background: {accent/20}; }
QPushButton[sidebar="true"]:checked { background: {accent/41}; }
QPushButton[sidebar="true"]:focus { border: 1px solid {accent/140}; }
QPushButton[flat="true"] { border: none; background: transparent; color: {accentText}; padding: 2px 4px; }
QPushButton[flat="true"]:hover { text-decoration: underline; }
QPushButton[historyRow="true"] { text-align: left; padding: 0; border-radius: 10px; border-color: {divider}; }
QPushButton[historyRow="true"]:hover { border-color: {accent}; background: {accent/13}; }
QFrame[card="true"] {
    background: {surface};
    border: 1px solid {divider};
    border-radius: 10px;
}
QFrame[card="true"] QLabel { border: none; background: transparent; }
QFrame#divider { color: {divider}; }
QProgressBar {
    border: none;
    border-radius: 4px;
    background: {track};
    max-height: 8px;
    min-height: 8px;
}
QProgressBar::chunk { border-radius: 4px; background: {accent}; }
QLineEdit {
    padding: 4px 6px;
    border: 1px solid {border};
    border-radius: 6px;
    background: {surface};
    color: {text};
    min-height: 20px;
}
QLineEdit:focus { border-color: {accent}; }
QLineEdit:disabled { color: {disabledText}; background: {disabledSurface}; }
QComboBox { min-height: 22px; padding: 2px 8px; }
QScrollArea { border: none; background: transparent; }
QScrollArea > QWidget > QWidget { background: transparent; }
QToolTip { color: {text}; background: {surface}; border: 1px solid {border}; }
QLabel[role="note"], QLabel[role="caption"], QLabel[tone="secondary"] { color: {secondaryText}; }
QLabel[tone="success"] { color: {successText}; }
QLabel[tone="accent"] { color: {accentText}; }
QLabel[tone="warning"] { color: {warningText}; }
CardButton QLabel#text { color: {text}; }
CardButton QLabel#letter { color: {accentText}; }
QDialog#diagramReview { background: {window}; }
QFrame#sheetFrame, QLabel#cropPreview { background: #ffffff; border: 1px solid {divider}; border-radius: 8px; }
QScrollArea#diagramArea { background: #ffffff; border: 1px solid {divider}; border-radius: 8px; }
QScrollArea#diagramArea > QWidget > QWidget, QLabel#diagramFigure { background: #ffffff; }
)";

QString css(const QColor& c)
{
    return c.alpha() == 255
               ? c.name()
               : QStringLiteral("rgba(%1, %2, %3, %4)").arg(c.red()).arg(c.green()).arg(c.blue()).arg(c.alpha());
}

} // namespace

const Colors& colors(Scheme scheme)
{
    static const Colors light = makeLight();
    static const Colors dark = makeDark();
    return scheme == Scheme::dark ? dark : light;
}

const Colors& colors()
{
    return colors(current);
}

Scheme scheme()
{
    return current;
}

QColor color(Tone tone)
{
    const Colors& c = colors();
    switch (tone) {
    case Tone::success:
        return c.success;
    case Tone::warning:
        return c.warning;
    case Tone::accent:
        break;
    }
    return c.accent;
}

void whenChanged(QObject* context, std::function<void()> refresh)
{
    auto& all = listeners();
    std::erase_if(all, [](const Listener& l) { return l.context.isNull(); });
    all.push_back({context, std::move(refresh)});
}

QString styleSheet(const Colors& c)
{
    const QMap<QString, QColor> named{
        {u"window"_s, c.window},
        {u"surface"_s, c.surface},
        {u"text"_s, c.text},
        {u"secondaryText"_s, c.secondaryText},
        {u"border"_s, c.border},
        {u"divider"_s, c.divider},
        {u"track"_s, c.track},
        {u"hover"_s, c.hover},
        {u"pressed"_s, c.pressed},
        {u"accent"_s, c.accent},
        {u"accentHover"_s, c.accentHover},
        {u"accentPressed"_s, c.accentPressed},
        {u"onAccent"_s, c.onAccent},
        {u"accentText"_s, c.accentText},
        {u"focus"_s, c.focus},
        {u"accentDisabled"_s, c.accentDisabled},
        {u"onAccentDisabled"_s, c.onAccentDisabled},
        {u"successText"_s, c.successText},
        {u"warningText"_s, c.warningText},
        {u"destructive"_s, c.destructive},
        {u"destructiveBorder"_s, c.destructiveBorder},
        {u"destructiveHover"_s, c.destructiveHover},
        {u"disabledText"_s, c.disabledText},
        {u"disabledSurface"_s, c.disabledSurface},
    };
    // {name} is the colour itself, {name/alpha} the colour with that opacity (0 to 255).
    static const QRegularExpression token(u"\\{(\\w+)(?:/(\\d+))?\\}"_s);
    const QString source = QString::fromLatin1(sheetTemplate);
    QString sheet;
    qsizetype at = 0;
    for (auto it = token.globalMatch(source); it.hasNext();) {
        const QRegularExpressionMatch m = it.next();
        QColor value = named.value(m.captured(1));
        Q_ASSERT(value.isValid());
        if (m.hasCaptured(2))
            value.setAlpha(m.captured(2).toInt());
        sheet += QStringView(source).mid(at, m.capturedStart() - at) + css(value);
        at = m.capturedEnd();
    }
    return sheet + QStringView(source).mid(at);
}

void apply(QApplication& app, Scheme scheme)
{
    const bool change = scheme != current || app.styleSheet().isEmpty();
    current = scheme;
    const Colors& c = colors(scheme);
    if (app.style()->name().compare(u"fusion"_s, Qt::CaseInsensitive) != 0)
        app.setStyle(QStyleFactory::create(u"Fusion"_s));
    QPalette p;
    p.setColor(QPalette::Window, c.window);
    p.setColor(QPalette::WindowText, c.text);
    p.setColor(QPalette::Base, c.surface);
    p.setColor(QPalette::AlternateBase, c.control);
    p.setColor(QPalette::Text, c.text);
    p.setColor(QPalette::Button, c.surface);
    p.setColor(QPalette::ButtonText, c.text);
    p.setColor(QPalette::BrightText, c.onAccent);
    p.setColor(QPalette::Highlight, c.accent);
    p.setColor(QPalette::HighlightedText, c.onAccent);
    p.setColor(QPalette::Link, c.accentText);
    p.setColor(QPalette::LinkVisited, c.accentText);
    p.setColor(QPalette::ToolTipBase, c.surface);
    p.setColor(QPalette::ToolTipText, c.text);
    p.setColor(QPalette::PlaceholderText, c.secondaryText);
    p.setColor(QPalette::Light, c.surface.lighter(115));
    p.setColor(QPalette::Midlight, c.track);
    p.setColor(QPalette::Mid, c.border);
    p.setColor(QPalette::Dark, c.border.darker(130));
    p.setColor(QPalette::Shadow, c.window.darker(300));
    for (auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        p.setColor(QPalette::Disabled, role, c.disabledText);
    app.setPalette(p);
    app.setStyleSheet(styleSheet(c));
    if (!change)
        return;
    auto all = listeners(); // a refresh may add listeners of its own
    for (const Listener& l : all)
        if (l.context)
            l.refresh();
}

QFont titleFont(QWidget* widget, double size, bool bold)
{
    QFont f = widget->font();
    f.setPixelSize(qRound(size));
    f.setBold(bold);
    return f;
}

QFont largeTitleFont(QWidget* widget)
{
    return titleFont(widget, largeTitleSize);
}

QFont secondTitleFont(QWidget* widget)
{
    return titleFont(widget, secondTitleSize);
}

QFont headlineFont(QWidget* widget)
{
    QFont f = widget->font();
    f.setBold(true);
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

QFont monospaceFont(double size)
{
    QFont f = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    f.setPixelSize(qRound(size));
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

void secondary(QLabel* label)
{
    label->setProperty("tone", u"secondary"_s);
}

void toned(QLabel* label, Tone tone)
{
    label->setProperty("tone", tone == Tone::success   ? u"success"_s
                                : tone == Tone::warning ? u"warning"_s
                                                        : u"accent"_s);
}

void prominent(QWidget* widget)
{
    widget->setProperty("prominent", true);
}

} // namespace Theme
