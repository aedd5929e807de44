// The rounded card button.
#include "CardButton.h"

#include <QLayout>
#include <QPainter>
#include <QPainterPath>
#include <QStyleOptionFocusRect>

CardButton::CardButton(QWidget* parent) : QAbstractButton(parent)
{
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
}

void CardButton::setFill(const QColor& fill)
{
    if (m_fill == fill)
        return;
    m_fill = fill;
    update();
}

void CardButton::setOutline(const QColor& outline, double width)
{
    m_outline = outline;
    m_outlineWidth = width;
    update();
}

void CardButton::setRadius(double radius)
{
    m_radius = radius;
    update();
}

QSize CardButton::sizeHint() const
{
    return layout() ? layout()->sizeHint() : QSize(100, 40);
}

QSize CardButton::minimumSizeHint() const
{
    return layout() ? layout()->minimumSize() : QSize(40, 20);
}

bool CardButton::hasHeightForWidth() const
{
    return layout() && layout()->hasHeightForWidth();
}

int CardButton::heightForWidth(int width) const
{
    return layout() ? layout()->totalHeightForWidth(width) : -1;
}

bool CardButton::hitButton(const QPoint& pos) const
{
    return rect().contains(pos);
}

void CardButton::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const double inset = m_outline.isValid() ? m_outlineWidth / 2.0 : 0.0;
    const QRectF r = QRectF(rect()).adjusted(inset, inset, -inset, -inset);
    QPainterPath path;
    path.addRoundedRect(r, m_radius, m_radius);
    QColor fill = m_fill.isValid() ? m_fill : palette().color(QPalette::Button);
    if (isDown())
        fill = fill.darker(106);
    else if (underMouse() && isEnabled())
        fill = fill.darker(102);
    p.fillPath(path, fill);
    if (m_outline.isValid()) {
        p.setPen(QPen(m_outline, m_outlineWidth));
        p.drawPath(path);
    }
    if (hasFocus() && focusPolicy() != Qt::NoFocus) {
        QColor focus = palette().color(QPalette::Highlight);
        focus.setAlphaF(0.6f);
        p.setPen(QPen(focus, 2));
        p.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), m_radius, m_radius);
    }
}
