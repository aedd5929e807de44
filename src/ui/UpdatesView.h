// The "Updates" section: installed pools, the pool update check, diagram reviews and the application version.
#pragma once

#include <QPointer>
#include <QWidget>

#include "DiagramReviewView.h"
class QLabel;
class QPushButton;
class QVBoxLayout;
class Store;
struct DiagramReview;

class UpdatesView : public QWidget
{
    Q_OBJECT

public:
    explicit UpdatesView(Store& store, QWidget* parent = nullptr);

    // The open review sheet (pending or sample review), if any.
    DiagramReviewView* reviewSheet() const { return m_sheet; }

private:
    void showStatus();
    void showPools();
    void openReview();
    void openSample();
    void openSheet(const DiagramReview& review);

    Store& m_store;
    QLabel* m_status = nullptr;
    QPushButton* m_review = nullptr;
    QPushButton* m_check = nullptr;
    QVBoxLayout* m_layout = nullptr;
    QWidget* m_pools = nullptr;
    QPointer<DiagramReviewView> m_sheet;
};
