// The "Top 10" section: one local board per ranking pool, for ordinary exams or a typed club challenge code.
#pragma once

#include "model/Pack.h"

#include "SectionView.h"

class QLineEdit;
class QVBoxLayout;
class Store;

class LeaderboardView : public SectionView
{
    Q_OBJECT

public:
    explicit LeaderboardView(Store& store, QWidget* parent = nullptr);

    // The pools whose boards this screen shows, for the store's current learner.
    static QList<Pool> rankingPools(const Store& store);

protected:
    void redraw() override;
    void reset() override;

private:
    Store& m_store;
    QLineEdit* m_code = nullptr;
    QVBoxLayout* m_layout = nullptr;
    QWidget* m_boards = nullptr;
};
