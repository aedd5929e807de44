// The widget-test harness.
#include "UiHarness.h"

#include "appupdate/KestovanUpdates.h"
#include "support/Fixtures.h"
#include "ui/Theme.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

namespace {

class QuietUpdater : public Updater
{
public:
    bool canCheckForUpdates() const override { return true; }
    bool automaticallyChecksForUpdates() const override { return m_automatic; }
    void setAutomaticallyChecksForUpdates(bool on) override
    {
        m_automatic = on;
        emit automaticallyChecksForUpdatesChanged();
    }
    void checkForUpdates() override { ++checks; }
    int checks = 0;

private:
    bool m_automatic = false;
};

QuietUpdater* quiet = nullptr;

} // namespace

void installFakeUpdater()
{
    auto updater = std::make_unique<QuietUpdater>();
    quiet = updater.get();
    KestovanUpdates::setSharedBackend(std::move(updater));
}

int fakeUpdaterChecks()
{
    return quiet->checks;
}

Harness::Harness()
{
    Theme::apply(*qApp);
    m_store = std::make_unique<Store>(Fixtures::sourcePackPath(), m_dir.path());
    m_store->setClock([this] { return now; });
    // No test reaches the network: the pool check finds nothing new and the release check knows no newer version.
    m_store->setRefresher([](const Pack& pack, const Corrections&) { return pack; });
    m_store->setReleaseFetcher([] {
        AppRelease release;
        release.version = QStringLiteral("1.0.2");
        release.build = 9;
        release.url = QUrl(QStringLiteral("https://kestovan.invalid/download"));
        return release;
    });
    m_root = std::make_unique<RootView>(*m_store);
    m_root->resize(1200, 860);
    m_root->show();
    QApplication::setActiveWindow(m_root.get());
    (void)QTest::qWaitForWindowExposed(m_root.get());
    (void)QTest::qWaitForWindowActive(m_root.get());
    // The launch checks run once the window is up; let them finish so they do not interleave with the test.
    QTest::qWait(50);
    QTRY_VERIFY(!m_store->checking());
    QTRY_VERIFY(!m_store->checkingApp());
}

Harness::~Harness()
{
    m_root.reset();
    m_store.reset();
    settle();
}

void Harness::settle()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
}

void Harness::click(const QString& name)
{
    auto* button = visible<QAbstractButton>(name);
    QVERIFY2(button, qPrintable(QStringLiteral("no visible button ") + name));
    QVERIFY2(button->isEnabled(), qPrintable(QStringLiteral("button disabled: ") + name));
    QTest::mouseClick(button, Qt::LeftButton);
    settle();
}

QMessageBox* Harness::openBox(const QString& name) const
{
    for (QMessageBox* box : m_root->findChildren<QMessageBox*>(name)) {
        if (box->isVisible())
            return box;
    }
    return nullptr;
}

bool Harness::answerBox(const QString& buttonText, const QString& name)
{
    QMessageBox* box = openBox(name);
    if (!box)
        return false;
    for (QAbstractButton* button : box->buttons()) {
        if (Theme::shownText(button->text()) == buttonText) {
            button->click();
            settle();
            return true;
        }
    }
    return false;
}

void Harness::confirm(const QString& title, const QString& text, const QString& button)
{
    QMessageBox* box = openBox();
    QVERIFY2(box, qPrintable(QStringLiteral("no confirmation open for ") + title));
    QCOMPARE(box->windowTitle(), title);
    QCOMPARE(box->informativeText(), text);
    QVERIFY2(answerBox(button), qPrintable(QStringLiteral("no button ") + button));
}

void Harness::key(Qt::Key key)
{
    QWidget* target = QApplication::focusWidget() ? QApplication::focusWidget() : m_root.get();
    QTest::keyClick(target, key);
    settle();
}

void Harness::startFromLearn(const QString& mode, const QString& name)
{
    m_root->setTab(QStringLiteral("Learn"));
    auto* modes = visible<QComboBox>(QStringLiteral("modePicker"));
    QVERIFY(modes);
    modes->setCurrentIndex(modes->findText(mode));
    auto* field = visible<QLineEdit>(QStringLiteral("profileName"));
    QVERIFY(field);
    field->selectAll();
    QTest::keyClick(field, Qt::Key_Backspace);
    QTest::keyClicks(field, name);
    click(QStringLiteral("start"));
}
