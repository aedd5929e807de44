// The "History" section: the current learner's finished attempts, each opening its result.
#pragma once

#include <QWidget>

class QVBoxLayout;
class Store;

class HistoryView : public QWidget
{
    Q_OBJECT

public:
    explicit HistoryView(Store& store, QWidget* parent = nullptr);

private:
    void redraw();

    Store& m_store;
    QVBoxLayout* m_layout = nullptr;
    QWidget* m_rows = nullptr;
};
