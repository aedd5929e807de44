// The main window.
#include "MainWindow.h"

#include "store/Store.h"

#include <QLabel>
#include <QListWidget>
#include <QMessageBox>
#include <QTimer>
#include <QVBoxLayout>

MainWindow::MainWindow(Store& store, QWidget* parent) : QMainWindow(parent), m_store(store)
{
    setObjectName(QStringLiteral("main"));
    setWindowTitle(QStringLiteral("Kestovan Aerowen"));
    setMinimumSize(900, 670);

    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);
    layout->setContentsMargins(22, 22, 22, 22);
    auto* title = new QLabel(QStringLiteral("Kestovan Aerowen"), central);
    QFont titleFont = title->font();
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.6);
    titleFont.setBold(true);
    title->setFont(titleFont);
    auto* subtitle = new QLabel(QStringLiteral("Learn the material. Practise with purpose."), central);
    subtitle->setEnabled(false);
    m_pools = new QListWidget(central);
    m_pools->setObjectName(QStringLiteral("pools"));
    layout->addWidget(title);
    layout->addWidget(subtitle);
    layout->addWidget(m_pools, 1);
    setCentralWidget(central);

    connect(&m_store, &Store::packChanged, this, &MainWindow::showPools);
    connect(&m_store, &Store::messageChanged, this, &MainWindow::showMessage);
    showPools();
    QTimer::singleShot(0, this, &MainWindow::showMessage);
}

void MainWindow::showPools()
{
    m_pools->clear();
    for (const Pool& pool : m_store.pools()) {
        m_pools->addItem(QStringLiteral("%1 · %2 questions · Valid: %3 to %4")
                             .arg(pool.name)
                             .arg(pool.questions.size())
                             .arg(pool.validFrom, pool.validUntil));
    }
}

void MainWindow::showMessage()
{
    if (m_store.message().isEmpty())
        return;
    QMessageBox box(QMessageBox::NoIcon, QStringLiteral("Kestovan Aerowen"), m_store.message(), QMessageBox::Ok, this);
    box.exec();
    m_store.setMessage(QString());
}
