// Redraw scheduling shared by the section screens.
#include "SectionView.h"

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
    if (m_stale) {
        m_stale = false;
        redraw();
    }
}
