// Access without sight or mouse: Enter and Space press the focused button or card, and Tab moves through each screen
// in reading order. (Every photographed screen is checked for controls without an accessible name.)
#include "UiHarness.h"

#include <QSlider>

class AccessibilityTest : public QObject
{
    Q_OBJECT

private slots:
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
