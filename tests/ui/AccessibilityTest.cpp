// Access without sight or mouse: every control of every screen has an accessible name, Enter and Space press the
// focused button or card, and Tab moves through each screen in reading order.
#include "UiHarness.h"
#include "ui/DiagramReviewView.h"
#include "ui/DiagramView.h"

#include <QAccessible>
#include <QScrollArea>
#include <QSlider>

namespace {

// The visible controls under the interface without a name, as "objectName class". A field, picker or slider needs a
// name or a label of its own, since on this platform a picker's name is the entry it shows.
void unnamed(QAccessibleInterface* node, const QString& screen, QStringList& found)
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

} // namespace

class AccessibilityTest : public QObject
{
    Q_OBJECT

private slots:
    void everyControlOfEveryScreenHasAName()
    {
        Harness h;
        QStringList missing;
        const auto check = [&](const QString& screen, QWidget* window) {
            settle();
            unnamed(QAccessible::queryAccessibleInterface(window), screen, missing);
        };
        // Ada's finished exam fills the top 10 and the history.
        h.store->addProfile(u"Ada"_s);
        h.store->begin(h.store->studyPools().first(), u"Exam"_s, u"Ada"_s, false, QString());
        h.store->finish();
        settle();
        h.click(u"resultDone"_s);
        for (const QString& tab : RootView::sections()) {
            h.root->setTab(tab);
            check(tab, h.root.get());
        }
        h.root->setTab(u"Updates"_s);
        h.click(u"testDiagramReview"_s);
        auto* review = h.root->findChild<DiagramReviewView*>();
        QVERIFY(review);
        check(u"diagram review"_s, review);
        review->reject();
        h.startFromLearn(u"Study All"_s, u"Ada"_s);
        check(u"question"_s, h.root.get());
        h.store->answer(0);
        h.click(u"checkAnswer"_s);
        check(u"revealed question"_s, h.root.get());
        const QList<Question>& questions = h.store->session()->questions;
        h.store->move(std::find_if(questions.cbegin(), questions.cend(),
                                   [&](const Question& q) { return h.store->diagramFile(q).has_value(); }) -
                      questions.cbegin());
        settle();
        h.click(u"figure"_s);
        for (QWidget* window : QApplication::topLevelWidgets())
            if (qobject_cast<DiagramView*>(window) && window->isVisible()) {
                check(u"diagram"_s, window);
                window->close();
            }
        h.store->finish();
        check(u"result"_s, h.root.get());
        QVERIFY2(missing.isEmpty(), qPrintable(missing.join(u"\n"_s)));
    }

    void enterAndSpacePressTheFocusedButtonOrCard_data()
    {
        QTest::addColumn<int>("key");
        QTest::newRow("Enter") << int(Qt::Key_Return);
        QTest::newRow("keypad Enter") << int(Qt::Key_Enter);
        QTest::newRow("Space") << int(Qt::Key_Space);
    }

    void enterAndSpacePressTheFocusedButtonOrCard()
    {
        QFETCH(int, key);
        Harness h;
        h.root->setTab(u"Learn"_s);
        type(h.visible<QLineEdit>(u"profileName"_s), u"Ada"_s);
        QVERIFY(h.tabTo(h.visible(u"start"_s)));
        h.key(Qt::Key(key));
        QCOMPARE(h.body(), u"examView"_s);
        QVERIFY(h.tabTo(h.visible(u"answer-2"_s)));
        h.key(Qt::Key(key));
        QCOMPARE(h.store->session()->answers.value(h.store->session()->questions.first().id, -1), 2);
        QVERIFY(h.tabTo(h.visible(u"checkAnswer"_s)));
        h.key(Qt::Key(key));
        QVERIFY(h.store->session()->revealed.contains(h.store->session()->questions.first().id));
        QCOMPARE(QApplication::focusWidget()->objectName(), u"next"_s);
        // The arrow keys move on to other questions, except in the text size slider and the selectable prompt.
        auto* slider = h.visible<QSlider>(u"textSize"_s);
        const int size = slider->value();
        slider->setFocus();
        h.key(Qt::Key_Right);
        h.visible(u"prompt"_s)->setFocus();
        h.key(Qt::Key_Right);
        QCOMPARE(slider->value(), size + 1);
        QCOMPARE(h.store->session()->index, 0);
        h.visible(u"next"_s)->setFocus();
        h.key(Qt::Key_Right);
        QCOMPARE(h.store->session()->index, 1);
        // After adding a profile the name field keeps the keyboard, for the next one.
        h.store->leave();
        settle();
        h.root->setTab(u"Profiles"_s);
        auto* field = h.visible<QLineEdit>(u"newProfileName"_s);
        field->setFocus();
        QTest::keyClicks(field, u"Ben"_s);
        QVERIFY(h.tabTo(h.visible(u"addProfile"_s)));
        h.key(Qt::Key(key));
        QCOMPARE(h.store->saved().profiles.last().name, u"Ben"_s);
        QCOMPARE(QApplication::focusWidget(), field);
    }

    void tabFollowsTheReadingOrder()
    {
        Harness h;
        h.root->setTab(u"Learn"_s);
        const auto order = [&](const QString& screen) {
            // Each stop lies below the previous one, or on its line and to its right; after the last the first
            // comes again.
            QWidget* first = QApplication::focusWidget();
            QWidget* previous = first;
            for (int i = 0; i < 80; ++i) {
                h.key(Qt::Key_Tab);
                QWidget* next = QApplication::focusWidget();
                if (next == first)
                    return;
                const QRect a(previous->mapTo(h.root.get(), QPoint()), previous->size());
                const QRect b(next->mapTo(h.root.get(), QPoint()), next->size());
                const bool sameLine = b.top() < a.bottom() && a.top() < b.bottom();
                QVERIFY2(previous->isAncestorOf(next) ||
                             (sameLine ? b.left() >= a.right() : b.top() >= a.bottom() || b.left() >= a.right()),
                         qPrintable(screen + u": "_s + previous->objectName() + u" then "_s + next->objectName()));
                previous = next;
            }
            QFAIL(qPrintable(screen + u": Tab never came back to the first stop"_s));
        };
        h.visible(u"profilePicker"_s)->setFocus();
        order(u"Learn"_s);
        h.startFromLearn(u"Study All"_s, u"Ada"_s);
        h.visible(u"leave"_s)->setFocus();
        order(u"question"_s);
    }
};

AEROWEN_TEST(AccessibilityTest)
#include "AccessibilityTest.moc"
