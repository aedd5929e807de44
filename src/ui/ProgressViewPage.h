// The "Progress" section: coverage, readiness and per-group accuracy of the current learner's study pools.
#pragma once

#include <QWidget>

class QVBoxLayout;
class Store;

class ProgressViewPage : public QWidget
{
    Q_OBJECT

public:
    explicit ProgressViewPage(Store& store, QWidget* parent = nullptr);

private:
    void redraw();

    Store& m_store;
    QVBoxLayout* m_layout = nullptr;
    QWidget* m_pools = nullptr;
};
