// The draggable source sheet of the diagram review.
#include "ReviewCanvas.h"

#include "SectionWidgets.h"
#include "Theme.h"

#include <QMouseEvent>
#include <QPainter>
#include <algorithm>

ReviewCanvas::ReviewCanvas(QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("reviewCanvas"));
    setAccessibleName(QStringLiteral("Source sheet image"));
    setCursor(Qt::CrossCursor);
    setFixedSize(displaySize());
}

void ReviewCanvas::setImage(const QImage& image)
{
    m_image = image;
    m_selection = QRectF();
    m_dragging = false;
    setFixedSize(displaySize());
    update();
    emit selectionChanged(m_selection);
}

QSize ReviewCanvas::displaySize() const
{
    const double width = std::max(m_image.width(), 1);
    const double height = std::max(m_image.height(), 1);
    const double scale = std::min(700.0 / width, 330.0 / height);
    return QSize(qRound(m_image.width() * scale), qRound(m_image.height() * scale)).expandedTo(QSize(1, 1));
}

void ReviewCanvas::clearSelection()
{
    m_selection = QRectF();
    update();
    emit selectionChanged(m_selection);
}

QPointF ReviewCanvas::unitPoint(const QPointF& position) const
{
    // Points beyond the sheet count as its edge, so a drag that leaves the image still selects up to it.
    const QSize size = displaySize();
    return QPointF(std::clamp(position.x() / size.width(), 0.0, 1.0),
                   std::clamp(position.y() / size.height(), 0.0, 1.0));
}

void ReviewCanvas::dragTo(const QPointF& position)
{
    const QPointF end = unitPoint(position);
    m_selection = QRectF(QPointF(std::min(m_start.x(), end.x()), std::min(m_start.y(), end.y())),
                         QPointF(std::max(m_start.x(), end.x()), std::max(m_start.y(), end.y())));
    update();
    emit selectionChanged(m_selection);
}

void ReviewCanvas::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || m_image.isNull())
        return;
    m_dragging = true;
    m_start = unitPoint(event->position());
    dragTo(event->position());
}

void ReviewCanvas::mouseMoveEvent(QMouseEvent* event)
{
    if (m_dragging)
        dragTo(event->position());
}

void ReviewCanvas::mouseReleaseEvent(QMouseEvent* event)
{
    if (!m_dragging || event->button() != Qt::LeftButton)
        return;
    dragTo(event->position());
    m_dragging = false;
}

void ReviewCanvas::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), Qt::white);
    if (m_image.isNull())
        return;
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const QSize size = displaySize();
    painter.drawImage(QRect(QPoint(0, 0), size), m_image);
    if (m_selection.isEmpty())
        return;
    const QRectF shown(m_selection.x() * size.width(), m_selection.y() * size.height(),
                       m_selection.width() * size.width(), m_selection.height() * size.height());
    QColor fill = Theme::colors().accent;
    fill.setAlphaF(0.15);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(fill);
    painter.setPen(QPen(Theme::colors().accent, 2));
    painter.drawRect(shown);
}
