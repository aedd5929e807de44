// The widget-test harness: a store with its main window, stores over test packs, and helpers that drive widgets.
#pragma once

#include "store/Store.h"
#include "support/Fixtures.h"
#include "ui/App.h"

#include <QDir>
#include <QLabel>
#include <QMessageBox>
#include <QPixmap>
#include <QTemporaryDir>
#include <QTest>
#include <memory>

class Harness
{
public:
    Harness();
    ~Harness();

    Store& store() { return *m_store; }
    RootView& root() { return *m_root; }
    // Seconds shown by the store's clock; tests move it forward by hand.
    double now = 1000;

    template <typename T> T* find(const QString& name) const { return m_root->findChild<T*>(name); }
    // The widget of that name that is visible on screen right now.
    template <typename T> T* visible(const QString& name) const
    {
        for (T* widget : m_root->findChildren<T*>(name)) {
            if (widget->isVisible())
                return widget;
        }
        return nullptr;
    }
    // Clicks the button with this object name that is visible on screen.
    void click(const QString& name);
    // The confirmation or alert open right now (object name "confirmation" or "statusAlert"), else nullptr.
    QMessageBox* openBox(const QString& name = QStringLiteral("confirmation")) const;
    // Presses the button of the open box with that text; fails the test when there is none.
    bool answerBox(const QString& buttonText, const QString& name = QStringLiteral("confirmation"));
    // Checks the open confirmation's title and text, then presses its button with that text.
    void confirm(const QString& title, const QString& text, const QString& button);
    // Types a key into the active window as the learner would.
    void key(Qt::Key key);
    // Lets queued deletions and redraws happen.
    static void settle();

    // Starts a session from the Learn screen with the given mode and name.
    void startFromLearn(const QString& mode, const QString& name);

    QString folder() const { return m_dir.path(); }

private:
    QTemporaryDir m_dir;
    std::unique_ptr<Store> m_store;
    std::unique_ptr<RootView> m_root;
};

// Installs a quiet application updater before anything asks for the shared one.
void installFakeUpdater();
// How many checks for a new release the fake updater was asked for.
int fakeUpdaterChecks();

// The child of that name, with a warning when there is none.
template <typename T> T* child(QObject* parent, const QString& name)
{
    T* found = parent ? parent->findChild<T*>(name) : nullptr;
    if (!found)
        qWarning("missing %s", qPrintable(name));
    return found;
}

// The text of the label of that name, or a marker naming the missing label.
inline QString text(QObject* parent, const QString& name)
{
    auto* label = parent ? parent->findChild<QLabel*>(name) : nullptr;
    return label ? label->text() : QStringLiteral("<missing %1>").arg(name);
}

// Pools that are current whatever day the tests run: they started a year ago and run four years.
inline QString startedLastYear()
{
    return QDate::currentDate().addYears(-1).toString(QStringLiteral("yyyy-MM-dd"));
}

// A store over a pack written into the emptied folder, its storage folder starting with the given files.
inline std::unique_ptr<Store> makeStore(const QTemporaryDir& dir, const Pack& pack,
                                        const QMap<QString, QByteArray>& data = {})
{
    QDir(dir.path()).removeRecursively();
    QDir().mkpath(dir.filePath(QStringLiteral("data")));
    for (auto it = data.cbegin(); it != data.cend(); ++it)
        Fixtures::writeFile(dir.filePath(QStringLiteral("data/") + it.key()), it.value());
    const QString packPath = dir.filePath(QStringLiteral("pack.json"));
    Fixtures::writeFile(packPath, pack.toBytes());
    auto store = std::make_unique<Store>(packPath, dir.filePath(QStringLiteral("data")));
    // A pack the store refuses would leave it without a storage folder and every save failing.
    if (!store->message().isEmpty())
        qFatal("test store not ready: %s", qPrintable(store->message()));
    return store;
}

// Plays a whole session of the pool through the store: the first `right` questions answered correctly, the rest left
// unanswered (which scores them wrong), `seconds` on the store's clock.
inline void playSession(Store& store, double& clock, const Pool& pool, const QString& mode, const QString& name,
                        qint64 right, double seconds, const QString& code = {})
{
    store.begin(pool, mode, name, false, code);
    QVERIFY2(store.session().has_value(), qPrintable(store.message()));
    const QList<Question> questions = store.session()->questions;
    for (qsizetype i = 0; i < std::min<qsizetype>(right, questions.size()); ++i) {
        store.move(i);
        store.answer(questions.at(i).correct);
    }
    clock += seconds;
    store.finish();
    QVERIFY(store.result().has_value());
    store.setResult(std::nullopt);
}

// Saves what the widget shows into the build tree's screenshot folder.
inline void screenshot(QWidget& widget, const QString& name)
{
    Harness::settle();
    QTest::qWait(20);
    const QString folder = QStringLiteral(KESTOVAN_BUILD_DIR "/screenshots");
    QDir().mkpath(folder);
    QVERIFY(widget.grab().save(folder + QLatin1Char('/') + name + QStringLiteral(".png")));
}
