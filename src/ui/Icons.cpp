// Icons drawn as vectors so that they stay crisp at every size and pixel ratio.
#include "Icons.h"

#include <QHash>
#include <QIconEngine>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QPixmap>
#include <QtMath>

namespace {

const QHash<QString, QString>& themeNames()
{
    static const QHash<QString, QString> names = {
        {QStringLiteral("book"), QStringLiteral("accessories-dictionary")},
        {QStringLiteral("chart.bar"), QStringLiteral("office-chart-bar")},
        {QStringLiteral("trophy"), QStringLiteral("games-highscores")},
        {QStringLiteral("clock"), QStringLiteral("appointment-soon")},
        {QStringLiteral("person.2"), QStringLiteral("system-users")},
        {QStringLiteral("arrow.down.circle"), QStringLiteral("system-software-update")},
        {QStringLiteral("questionmark.circle"), QStringLiteral("help-browser")},
        {QStringLiteral("chevron.down"), QStringLiteral("go-down")},
        {QStringLiteral("chevron.right"), QStringLiteral("go-next")},
        {QStringLiteral("flag"), QStringLiteral("flag")},
        {QStringLiteral("flag.fill"), QStringLiteral("flag-red")},
        {QStringLiteral("bookmark"), QStringLiteral("bookmark-new")},
        {QStringLiteral("stopwatch"), QStringLiteral("chronometer")},
        {QStringLiteral("magnifyingglass"), QStringLiteral("edit-find")},
    };
    return names;
}

const QStringList drawnNames = {
    QStringLiteral("book"),
    QStringLiteral("chart.bar"),
    QStringLiteral("trophy"),
    QStringLiteral("clock"),
    QStringLiteral("person.2"),
    QStringLiteral("arrow.down.circle"),
    QStringLiteral("questionmark.circle"),
    QStringLiteral("chevron.down"),
    QStringLiteral("chevron.right"),
    QStringLiteral("flag"),
    QStringLiteral("flag.fill"),
    QStringLiteral("bookmark"),
    QStringLiteral("bookmark.fill"),
    QStringLiteral("checkmark.circle"),
    QStringLiteral("checkmark.circle.fill"),
    QStringLiteral("xmark.circle"),
    QStringLiteral("xmark.circle.fill"),
    QStringLiteral("exclamationmark.triangle"),
    QStringLiteral("stopwatch"),
    QStringLiteral("checkmark.seal"),
    QStringLiteral("magnifyingglass"),
};

// Draws one symbol into a 24 x 24 design square.
void drawSymbol(QPainter& p, const QString& name, const QColor& color)
{
    QPen pen(color, 1.8, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    p.setPen(pen);
    p.setBrush(Qt::NoBrush);
    const QRectF circle(3, 3, 18, 18);
    auto check = [&](const QColor& c) {
        QPainterPath path;
        path.moveTo(7.5, 12.5);
        path.lineTo(10.5, 15.5);
        path.lineTo(16.5, 8.5);
        p.setPen(QPen(c, 2.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        p.drawPath(path);
    };
    if (name == QLatin1StringView("book")) {
        QPainterPath left;
        left.moveTo(12, 6.5);
        left.cubicTo(9.5, 5, 6, 4.8, 3, 5.5);
        left.lineTo(3, 18.5);
        left.cubicTo(6, 17.8, 9.5, 18, 12, 19.5);
        QPainterPath right;
        right.moveTo(12, 6.5);
        right.cubicTo(14.5, 5, 18, 4.8, 21, 5.5);
        right.lineTo(21, 18.5);
        right.cubicTo(18, 17.8, 14.5, 18, 12, 19.5);
        p.drawPath(left);
        p.drawPath(right);
        p.drawLine(QPointF(12, 6.5), QPointF(12, 19.5));
    } else if (name == QLatin1StringView("chart.bar")) {
        p.setBrush(color);
        p.setPen(Qt::NoPen);
        p.drawRoundedRect(QRectF(4, 12, 4, 8), 1, 1);
        p.drawRoundedRect(QRectF(10, 7, 4, 13), 1, 1);
        p.drawRoundedRect(QRectF(16, 3.5, 4, 16.5), 1, 1);
    } else if (name == QLatin1StringView("trophy")) {
        QPainterPath cup;
        cup.moveTo(7, 4);
        cup.lineTo(17, 4);
        cup.lineTo(17, 9);
        cup.cubicTo(17, 12.5, 14.5, 14.5, 12, 14.5);
        cup.cubicTo(9.5, 14.5, 7, 12.5, 7, 9);
        cup.closeSubpath();
        p.drawPath(cup);
        p.drawArc(QRectF(3, 5, 5, 5), 90 * 16, 180 * 16);
        p.drawArc(QRectF(16, 5, 5, 5), 90 * 16, -180 * 16);
        p.drawLine(QPointF(12, 14.5), QPointF(12, 18));
        p.drawLine(QPointF(8, 20), QPointF(16, 20));
        p.drawLine(QPointF(9.5, 18), QPointF(14.5, 18));
    } else if (name == QLatin1StringView("clock") || name == QLatin1StringView("stopwatch")) {
        const QRectF face = name == QLatin1StringView("clock") ? circle : QRectF(4, 5, 16, 16);
        p.drawEllipse(face);
        const QPointF c = face.center();
        p.drawLine(c, c + QPointF(0, -5.5));
        p.drawLine(c, c + QPointF(4, 0));
        if (name == QLatin1StringView("stopwatch")) {
            p.drawLine(QPointF(10, 2.5), QPointF(14, 2.5));
            p.drawLine(QPointF(12, 2.5), QPointF(12, 5));
        }
    } else if (name == QLatin1StringView("person.2")) {
        p.drawEllipse(QRectF(5, 4.5, 6, 6));
        p.drawArc(QRectF(2, 12.5, 12, 11), 0, 180 * 16);
        p.drawEllipse(QRectF(14, 6, 5, 5));
        p.drawArc(QRectF(13.5, 13, 9, 9), 0, 150 * 16);
    } else if (name == QLatin1StringView("arrow.down.circle")) {
        p.drawEllipse(circle);
        p.drawLine(QPointF(12, 7), QPointF(12, 16.5));
        QPainterPath head;
        head.moveTo(8, 12.5);
        head.lineTo(12, 16.5);
        head.lineTo(16, 12.5);
        p.drawPath(head);
    } else if (name == QLatin1StringView("questionmark.circle")) {
        p.drawEllipse(circle);
        QPainterPath q;
        q.moveTo(9.3, 9.5);
        q.cubicTo(9.3, 6.5, 14.7, 6.5, 14.7, 9.5);
        q.cubicTo(14.7, 11.5, 12, 11.5, 12, 14);
        p.drawPath(q);
        p.setBrush(color);
        p.setPen(Qt::NoPen);
        p.drawEllipse(QPointF(12, 17), 1.2, 1.2);
    } else if (name == QLatin1StringView("magnifyingglass")) {
        p.drawEllipse(QRectF(4, 4, 12, 12));
        p.setPen(QPen(color, 2.4, Qt::SolidLine, Qt::RoundCap));
        p.drawLine(QPointF(14.5, 14.5), QPointF(20, 20));
    } else if (name == QLatin1StringView("chevron.down")) {
        QPainterPath v;
        v.moveTo(6, 9);
        v.lineTo(12, 15);
        v.lineTo(18, 9);
        p.drawPath(v);
    } else if (name == QLatin1StringView("chevron.right")) {
        QPainterPath v;
        v.moveTo(9, 6);
        v.lineTo(15, 12);
        v.lineTo(9, 18);
        p.drawPath(v);
    } else if (name.startsWith(QLatin1StringView("flag"))) {
        p.drawLine(QPointF(5.5, 3.5), QPointF(5.5, 21));
        QPainterPath f;
        f.moveTo(5.5, 4.5);
        f.cubicTo(9, 2.5, 12, 6.5, 18.5, 4.5);
        f.lineTo(18.5, 13.5);
        f.cubicTo(12, 15.5, 9, 11.5, 5.5, 13.5);
        f.closeSubpath();
        if (name.endsWith(QLatin1StringView(".fill")))
            p.setBrush(color);
        p.drawPath(f);
    } else if (name.startsWith(QLatin1StringView("bookmark"))) {
        QPainterPath b;
        b.moveTo(6.5, 3.5);
        b.lineTo(17.5, 3.5);
        b.lineTo(17.5, 20.5);
        b.lineTo(12, 16);
        b.lineTo(6.5, 20.5);
        b.closeSubpath();
        if (name.endsWith(QLatin1StringView(".fill")))
            p.setBrush(color);
        p.drawPath(b);
    } else if (name == QLatin1StringView("checkmark.circle")) {
        p.drawEllipse(circle);
        check(color);
    } else if (name == QLatin1StringView("checkmark.circle.fill")) {
        p.setBrush(color);
        p.setPen(Qt::NoPen);
        p.drawEllipse(circle);
        check(Qt::white);
    } else if (name == QLatin1StringView("xmark.circle")) {
        p.drawEllipse(circle);
        p.drawLine(QPointF(8.8, 8.8), QPointF(15.2, 15.2));
        p.drawLine(QPointF(15.2, 8.8), QPointF(8.8, 15.2));
    } else if (name == QLatin1StringView("xmark.circle.fill")) {
        p.setBrush(color);
        p.setPen(Qt::NoPen);
        p.drawEllipse(circle);
        p.setPen(QPen(Qt::white, 2.0, Qt::SolidLine, Qt::RoundCap));
        p.drawLine(QPointF(8.8, 8.8), QPointF(15.2, 15.2));
        p.drawLine(QPointF(15.2, 8.8), QPointF(8.8, 15.2));
    } else if (name == QLatin1StringView("exclamationmark.triangle")) {
        QPainterPath t;
        t.moveTo(12, 3.5);
        t.lineTo(21.5, 20);
        t.lineTo(2.5, 20);
        t.closeSubpath();
        p.drawPath(t);
        p.drawLine(QPointF(12, 9.5), QPointF(12, 14));
        p.setBrush(color);
        p.setPen(Qt::NoPen);
        p.drawEllipse(QPointF(12, 17), 1.1, 1.1);
    } else if (name == QLatin1StringView("checkmark.seal")) {
        QPainterPath seal;
        const int points = 12;
        for (int i = 0; i <= points * 2; ++i) {
            const double angle = M_PI * i / points;
            const double r = i % 2 == 0 ? 9.5 : 8.0;
            const QPointF pt(12 + r * std::cos(angle), 12 + r * std::sin(angle));
            if (i == 0)
                seal.moveTo(pt);
            else
                seal.lineTo(pt);
        }
        p.drawPath(seal);
        check(color);
    }
}

class SymbolEngine : public QIconEngine
{
public:
    SymbolEngine(QString name, QColor tint, std::optional<Theme::Tone> tone = std::nullopt)
        : m_name(std::move(name)), m_tint(std::move(tint)), m_tone(tone)
    {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override
    {
        QColor color = m_tone             ? Theme::color(*m_tone)
                       : m_tint.isValid() ? m_tint
                                          : QPalette().color(QPalette::WindowText);
        if (mode == QIcon::Disabled)
            color = QPalette().color(QPalette::Disabled, QPalette::WindowText);
        else if (mode == QIcon::Selected)
            color = QPalette().color(QPalette::HighlightedText);
        const double side = std::min(rect.width(), rect.height());
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->translate(rect.x() + (rect.width() - side) / 2.0, rect.y() + (rect.height() - side) / 2.0);
        painter->scale(side / 24.0, side / 24.0);
        drawSymbol(*painter, m_name, color);
        painter->restore();
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override
    {
        return scaledPixmap(size, mode, state, 1.0);
    }

    QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State state, qreal scale) override
    {
        QPixmap pm(size * scale);
        pm.fill(Qt::transparent);
        pm.setDevicePixelRatio(scale);
        QPainter painter(&pm);
        paint(&painter, QRect(QPoint(0, 0), size), mode, state);
        return pm;
    }

    QIconEngine* clone() const override { return new SymbolEngine(m_name, m_tint, m_tone); }
    QString key() const override { return QStringLiteral("aerowen-symbol"); }

private:
    QString m_name;
    QColor m_tint;
    std::optional<Theme::Tone> m_tone;
};

} // namespace

namespace Icons {

QString themeName(const QString& name)
{
    return themeNames().value(name);
}

bool drawable(const QString& name)
{
    return drawnNames.contains(name);
}

QIcon icon(const QString& name, const QColor& tint)
{
    if (!tint.isValid()) {
        const QString theme = themeName(name);
        if (!theme.isEmpty() && QIcon::hasThemeIcon(theme))
            return QIcon::fromTheme(theme);
    }
    return QIcon(new SymbolEngine(name, tint));
}

QIcon icon(const QString& name, Theme::Tone tone)
{
    return QIcon(new SymbolEngine(name, QColor(), tone));
}

void show(QLabel* label, const QString& name, Theme::Tone tone, int side)
{
    label->setProperty("symbol", name);
    label->setProperty("symbolTone", int(tone));
    const auto draw = [label, side] {
        const QString symbol = label->property("symbol").toString();
        const auto shownTone = Theme::Tone(label->property("symbolTone").toInt());
        label->setPixmap(icon(symbol, shownTone).pixmap(QSize(side, side), label->devicePixelRatioF()));
    };
    draw();
    if (!label->property("symbolFollowsScheme").toBool()) {
        label->setProperty("symbolFollowsScheme", true);
        Theme::whenChanged(label, draw);
    }
}

} // namespace Icons
