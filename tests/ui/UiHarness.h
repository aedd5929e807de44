// The widget-test harness: the main window over a store in a temporary folder, and helpers that drive the widgets as
// a learner does, check their layout and photograph them.
#pragma once

#include "appupdate/KestovanUpdates.h"
#include "store/Store.h"
#include "support/Fixtures.h"
#include "support/TestEnvironment.h"
#include "ui/App.h"
#include "ui/Theme.h"

#include <QAccessible>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>

using namespace Qt::StringLiterals;

// The application updater of every test: it never goes online.
struct QuietUpdater : Updater
{
    bool canCheckForUpdates() const override { return true; }
    bool automaticallyChecksForUpdates() const override { return false; }
    void setAutomaticallyChecksForUpdates(bool) override {}
    void checkForUpdates() override {}
    inline static const bool installed = (KestovanUpdates::setSharedBackend(std::make_unique<QuietUpdater>()), true);
};

inline void settle()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
}

// The open message box of that object name ("confirmation", "statusAlert"), else nullptr.
inline QMessageBox* openBox(const QString& name = u"confirmation"_s)
{
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (auto* box = qobject_cast<QMessageBox*>(window); box && box->isVisible() && box->objectName() == name)
            return box;
    }
    return nullptr;
}

// The texts of the labels of those names under the parent, joined by " | "; a missing or hidden label reads "-".
inline QString texts(const QObject* parent, const QStringList& names)
{
    QStringList shown;
    for (const QString& name : names) {
        auto* label = parent ? parent->findChild<QLabel*>(name) : nullptr;
        shown << (label && label->isVisibleTo(label->window()) ? label->text() : u"-"_s);
    }
    return shown.join(u" | "_s);
}

// Data tables of one text per row, its fields separated by '#'.
inline void rows(std::initializer_list<const char*> list)
{
    QTest::addColumn<QString>("row");
    for (const char* row : list)
        QTest::newRow(row) << QString::fromUtf8(row);
}
inline QStringList fetchRow()
{
    QFETCH(QString, row);
    return row.split(u'#');
}

// Replaces the field's text by typing, as the learner does.
inline void type(QLineEdit* field, const QString& text)
{
    field->selectAll();
    QTest::keyClick(field, Qt::Key_Backspace);
    QTest::keyClicks(field, text);
}

// Fails when a visible text or button reaches outside its parent (scrolled content aside), is too small for its text
// (a button holding a layout is judged by the texts inside it) or overlaps a neighbour.
inline void checkLayout(QWidget& top)
{
    for (QWidget* w : top.findChildren<QWidget*>()) {
        if (!w->isVisible() || w->isWindow() || !(qobject_cast<QLabel*>(w) || qobject_cast<QAbstractButton*>(w)))
            continue;
        const QByteArray what =
            "layout defect at " + (w->objectName() + u' ' + w->property("text").toString()).toUtf8();
        QWidget* parent = w->parentWidget();
        QVERIFY2(parent->objectName() == "qt_scrollarea_viewport"_L1 || parent->rect().contains(w->geometry()), what);
        const QSize need(w->minimumSizeHint().width(),
                         w->hasHeightForWidth() ? w->heightForWidth(w->width()) : w->minimumSizeHint().height());
        QVERIFY2(w->layout() || (w->width() >= need.width() && w->height() >= need.height()), what);
        for (QWidget* other : parent->findChildren<QWidget*>(Qt::FindDirectChildrenOnly))
            QVERIFY2(other == w || other->isWindow() || !other->isVisible() ||
                         !other->geometry().intersects(w->geometry()),
                     what);
    }
}

// The visible controls under the interface without a name, as "objectName class". A field, picker or slider needs a
// name or a label of its own, since on this platform a picker's name is the entry it shows.
inline void unnamed(QAccessibleInterface* node, const QString& screen, QStringList& found)
{
    using A = QAccessible;
    static const QSet<A::Role> holding{A::EditableText, A::Slider, A::ComboBox, A::SpinBox};
    static const QSet<A::Role> pressed{A::PushButton, A::CheckBox,       A::RadioButton,    A::List,
                                       A::ButtonMenu, A::ButtonDropDown, A::ButtonDropGrid, A::Table};
    if (!node || node->state().invisible)
        return;
    auto* widget = qobject_cast<QWidget*>(node->object());
    const bool named = holding.contains(node->role())
                           ? (widget && !widget->accessibleName().isEmpty()) || !node->relations(A::Labelled).isEmpty()
                           : !pressed.contains(node->role()) || !node->text(A::Name).trimmed().isEmpty();
    if (!named)
        found << screen + u": "_s + (widget ? widget->objectName() + u' ' + widget->metaObject()->className() : u"?"_s);
    for (int i = 0; i < node->childCount(); ++i)
        unnamed(node->child(i), screen, found);
}

// Checks the layout of what the widget shows (unless told not to) and that every control of it has an accessible
// name, then saves it into the build tree's screenshots. Every screen of the application is photographed somewhere.
inline void screenshot(QWidget& widget, const QString& name, bool check = true)
{
    settle();
    QTest::qWait(20);
    if (check)
        checkLayout(widget);
    QStringList missing;
    unnamed(QAccessible::queryAccessibleInterface(&widget), name, missing);
    QVERIFY2(missing.isEmpty(), qPrintable(missing.join(u"\n"_s)));
    QDir().mkpath(KESTOVAN_BUILD_DIR "/screenshots"_L1);
    QVERIFY(widget.grab().save(KESTOVAN_BUILD_DIR "/screenshots/"_L1 + name + u".png"_s));
}

// The main window over a store of the built-in pack, or of the given pack with the given stored files. The store's
// clock is in the test's hand and nothing reaches the network.
class Harness
{
public:
    double now = 1000;
    QTemporaryDir dir;
    std::unique_ptr<Store> store;
    std::unique_ptr<RootView> root;

    explicit Harness(const std::optional<Pack>& pack = {}, const QMap<QString, QByteArray>& files = {})
    {
        for (const auto& [name, bytes] : files.asKeyValueRange())
            Fixtures::writeFile(dir.filePath(name), bytes);
        if (pack)
            Fixtures::writeFile(dir.filePath(u"pack.json"_s), pack->toBytes());
        store = std::make_unique<Store>(pack ? dir.filePath(u"pack.json"_s) : Fixtures::sourcePackPath(), dir.path());
        store->setClock([this] { return now; });
        store->setRefresher([](const Pack& installed, const Corrections&) { return installed; });
        store->setReleaseFetcher([] { return AppRelease{u"1.0.2"_s, 9, QString()}; });
        Theme::apply(*qApp);
        root = std::make_unique<RootView>(*store);
        root->resize(1200, 860);
        root->show();
        QApplication::setActiveWindow(root.get());
        (void)QTest::qWaitForWindowActive(root.get());
        // The launch checks run once the window is up; let them finish so they do not interleave with the test.
        QTest::qWait(50);
        QTRY_VERIFY(!store->checking() && !store->checkingApp());
    }
    // The widget of that name that is on screen right now.
    template <typename T = QWidget> T* visible(const QString& name) const
    {
        for (T* widget : root->findChildren<T*>(name)) {
            if (widget->isVisible())
                return widget;
        }
        return nullptr;
    }
    QString shown(const QStringList& labels) const { return texts(root.get(), labels); }
    QString body() const { return root->currentBody()->objectName(); }
    void click(const QString& name)
    {
        auto* button = visible<QAbstractButton>(name);
        QVERIFY2(button && button->isEnabled(), qPrintable(u"no enabled button "_s + name));
        QTest::mouseClick(button, Qt::LeftButton);
        settle();
    }
    // Checks the open confirmation's title and message (when given), then presses its button with that text.
    void confirm(const QString& button, const QString& title = {}, const QString& message = {})
    {
        QMessageBox* box = openBox();
        QVERIFY2(box, qPrintable(u"no confirmation for "_s + button));
        QCOMPARE(QString(title.isEmpty() ? title : box->windowTitle() + u" / "_s + box->informativeText()),
                 QString(title.isEmpty() ? title : title + u" / "_s + message));
        for (QAbstractButton* each : box->buttons()) {
            if (Theme::shownText(each->text()) == button)
                each->click();
        }
        QVERIFY(!openBox());
        // The main window gets its keyboard back, as the window manager would give it.
        root->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(root.get()));
    }
    // Types a key into the focused widget as the learner would.
    void key(Qt::Key key)
    {
        QTest::keyClick(QApplication::focusWidget() ? QApplication::focusWidget() : root.get(), key);
        settle();
    }
    // Moves the keyboard focus with Tab until it reaches the target.
    bool tabTo(QWidget* target)
    {
        for (int i = 0; i < 60 && QApplication::focusWidget() != target; ++i)
            key(Qt::Key_Tab);
        return QApplication::focusWidget() == target;
    }
    void startFromLearn(const QString& mode, const QString& name)
    {
        root->setTab(u"Learn"_s);
        auto* modes = visible<QComboBox>(u"modePicker"_s);
        modes->setCurrentIndex(modes->findText(mode));
        type(visible<QLineEdit>(u"profileName"_s), name);
        click(u"start"_s);
    }
};
