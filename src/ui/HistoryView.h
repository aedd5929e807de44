// The "History" section: the current learner's finished attempts, each opening its result.
#pragma once

#include "SectionView.h"

class QVBoxLayout;
class Store;

class HistoryView : public SectionView
{
    Q_OBJECT

public:
    explicit HistoryView(Store& store, QWidget* parent = nullptr);

protected:
    void redraw() override;

private:
    Store& m_store;
    QVBoxLayout* m_layout = nullptr;
    QWidget* m_rows = nullptr;
};
