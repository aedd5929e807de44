// The main window: lists the pools in use until the full screens arrive.
#pragma once

#include <QMainWindow>

class QListWidget;
class Store;

class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit MainWindow(Store& store, QWidget* parent = nullptr);

private:
    void showPools();
    void showMessage();

    Store& m_store;
    QListWidget* m_pools = nullptr;
};
