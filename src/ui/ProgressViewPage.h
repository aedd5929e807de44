// The "Progress" section: coverage, readiness and per-group accuracy of the current learner's study pools.
#pragma once

#include "SectionView.h"

class QVBoxLayout;
class Store;

class ProgressViewPage : public SectionView
{
    Q_OBJECT

public:
    explicit ProgressViewPage(Store& store, QWidget* parent = nullptr);

protected:
    void redraw() override;

private:
    Store& m_store;
    QVBoxLayout* m_layout = nullptr;
    QWidget* m_pools = nullptr;
};
