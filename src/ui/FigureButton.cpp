// The figure button.
#include "FigureButton.h"

#include "Theme.h"

#include <QPainter>

FigureButton::FigureButton(const QImage& image, const QSize& frame, int padding, QWidget* parent)
    : CardButton(parent), m_image(image), m_frame(frame), m_padding(padding)
{
    setFill(Qt::white);
    // Official figures stay on white in both schemes; the outline follows the scheme.
    setOutline(Theme::colors().divider);
    Theme::whenChanged(this, [this] { setOutline(Theme::colors().divider); });
    setRadius(8);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void FigureButton::setImage(const QImage& image)
{
    m_image = image;
    updateGeometry();
    update();
}

void FigureButton::setFrame(const QSize& frame)
{
    if (frame == m_frame)
        return;
    m_frame = frame;
    updateGeometry();
    update();
}

QSize FigureButton::fitted() const
{
    if (m_image.isNull())
        return m_frame;
    const QSize own = m_image.deviceIndependentSize().toSize();
    return own.width() <= m_frame.width() && own.height() <= m_frame.height()
               ? own
               : own.scaled(m_frame, Qt::KeepAspectRatio);
}

QSize FigureButton::sizeHint() const
{
    return fitted() + QSize(2 * m_padding, 2 * m_padding);
}

void FigureButton::paintEvent(QPaintEvent* event)
{
    CardButton::paintEvent(event);
    if (m_image.isNull())
        return;
    QPainter p(this);
    p.setRenderHint(QPainter::SmoothPixmapTransform);
    p.setRenderHint(QPainter::Antialiasing);
    const QRect inner = rect().adjusted(m_padding, m_padding, -m_padding, -m_padding);
    const QSize shown = fitted().scaled(inner.size(), Qt::KeepAspectRatio).boundedTo(fitted());
    const QRect target(inner.x() + (inner.width() - shown.width()) / 2,
                       inner.y() + (inner.height() - shown.height()) / 2, shown.width(), shown.height());
    p.drawImage(target, m_image);
}
