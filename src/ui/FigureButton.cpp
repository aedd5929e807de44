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

QSize FigureButton::sizeHint() const
{
    QSize fitted = m_image.isNull() ? m_frame : m_image.size().scaled(m_frame, Qt::KeepAspectRatio);
    return fitted + QSize(2 * m_padding, 2 * m_padding);
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
    QSize fitted = m_image.size().scaled(inner.size(), Qt::KeepAspectRatio);
    const QRect target(inner.x() + (inner.width() - fitted.width()) / 2,
                       inner.y() + (inner.height() - fitted.height()) / 2, fitted.width(), fitted.height());
    p.drawImage(target, m_image);
}
