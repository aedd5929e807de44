// Redraw scheduling shared by the section screens.
#include "SectionView.h"

#include <QShowEvent>

void SectionView::storeChanged()
{
    if (isVisible()) {
        m_stale = false;
        redraw();
    } else {
        m_stale = true;
    }
}

void SectionView::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    // A window restored from the task bar shows the screen as it was left.
    if (!event->spontaneous())
        reset();
    if (m_stale) {
        m_stale = false;
        redraw();
    }
}
