// A store on a temporary folder with the built-in pack, its main window, and helpers that drive the widgets.
#pragma once

#include "store/Store.h"
#include "ui/App.h"

#include <QMessageBox>
#include <QTemporaryDir>
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
