// The base of the section screens: redraw from the store's signals now when shown, or once when next shown.
#pragma once

#include <QWidget>

class SectionView : public QWidget
{
    Q_OBJECT

public:
    using QWidget::QWidget;

protected:
    // Rebuilds the parts of the screen that follow the store.
    virtual void redraw() = 0;
    // Connected to the store's change signals. A hidden screen only notes that it is out of date, so a session's
    // many saves do not rebuild screens nobody is looking at.
    void storeChanged();
    // Each time the learner comes to the screen it starts from its initial state (typed texts cleared).
    virtual void reset() {}
    void showEvent(QShowEvent* event) override;

private:
    bool m_stale = false;
};
