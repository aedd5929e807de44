// The Learn screen: which pool the set-up uses, the pickers and switches, the name rules and completed levels.
#include "UiHarness.h"
#include "support/Fixtures.h"
#include "support/TestEnvironment.h"
#include "ui/LearnView.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

namespace {

LearnView* learn(Harness& h)
{
    h.root().setTab(QStringLiteral("Learn"));
    return qobject_cast<LearnView*>(h.root().currentSection());
}

void type(Harness& h, const QString& text)
{
    auto* field = h.visible<QLineEdit>(QStringLiteral("profileName"));
    field->selectAll();
    QTest::keyClick(field, Qt::Key_Backspace);
    QTest::keyClicks(field, text);
}

} // namespace

class LearnViewTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { installFakeUpdater(); }

    void poolEntriesNameTheirPeriodAndState_data()
    {
        QTest::addColumn<QString>("validFrom");
        QTest::addColumn<QString>("entry");
        QTest::newRow("current") << QStringLiteral("2024-07-01") << QStringLiteral("General · 2024–2028");
        QTest::newRow("upcoming") << QStringLiteral("2027-07-01") << QStringLiteral("General · 2027–2031 · Upcoming");
        QTest::newRow("expired") << QStringLiteral("2019-07-01") << QStringLiteral("General · 2019–2023 · Expired");
    }

    void poolEntriesNameTheirPeriodAndState()
    {
        QFETCH(QString, validFrom);
        QFETCH(QString, entry);
        const Pool pool = Fixtures::pool(QStringLiteral("general"), QStringLiteral("g"), validFrom);
        QCOMPARE(LearnView::poolEntry(pool, QStringLiteral("2026-11-22")), entry);
    }

    void nameOfOnlyBlanksDisablesTheButtons_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("enabled");
        QTest::newRow("empty") << "" << false;
        QTest::newRow("spaces") << "   " << false;
        QTest::newRow("a name") << "Ada" << true;
        QTest::newRow("padded name") << "  Ada " << true;
    }

    void nameOfOnlyBlanksDisablesTheButtons()
    {
        QFETCH(QString, name);
        QFETCH(bool, enabled);
        Harness h;
        learn(h);
        type(h, name);
        for (const QString& button :
             {QStringLiteral("saveProfile"), QStringLiteral("addProfile"), QStringLiteral("start")})
            QCOMPARE(h.visible<QPushButton>(button)->isEnabled(), enabled);
    }

    void examModesDisableShuffleAndKeepIt()
    {
        Harness h;
        LearnView* view = learn(h);
        auto* modes = h.visible<QComboBox>(QStringLiteral("modePicker"));
        QStringList offered;
        for (int i = 0; i < modes->count(); ++i)
            offered.append(modes->itemText(i));
        QCOMPARE(offered, QStringList({"Study All", "Exam", "Weak Topics", "Bookmarks", "Club Challenge"}));
        auto* shuffle = h.visible<QCheckBox>(QStringLiteral("shuffleSwitch"));
        shuffle->setChecked(false);
        QVERIFY(!h.visible<QWidget>(QStringLiteral("challengeBox")));
        modes->setCurrentIndex(modes->findText(QStringLiteral("Exam")));
        QVERIFY(!shuffle->isEnabled());
        modes->setCurrentIndex(modes->findText(QStringLiteral("Club Challenge")));
        QVERIFY(!shuffle->isEnabled());
        QVERIFY(h.visible<QWidget>(QStringLiteral("challengeBox")));
        modes->setCurrentIndex(modes->findText(QStringLiteral("Bookmarks")));
        QVERIFY(shuffle->isEnabled());
        QVERIFY(!shuffle->isChecked());
        QVERIFY(!view->shuffle());
        QVERIFY(!h.visible<QWidget>(QStringLiteral("challengeBox")));
        // A club challenge starts with the typed code.
        modes->setCurrentIndex(modes->findText(QStringLiteral("Club Challenge")));
        QTest::keyClicks(h.visible<QLineEdit>(QStringLiteral("challengeCode")), QStringLiteral("NET42"));
        type(h, QStringLiteral("Ada"));
        h.click(QStringLiteral("start"));
        QCOMPARE(h.store().session()->mode, QStringLiteral("Club Challenge"));
        QCOMPARE(h.store().session()->challenge.toUpper(), QStringLiteral("NET42"));
    }

    void startUsesTheTypedOrCurrentName_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<int>("profiles");
        QTest::newRow("current name starts directly") << "Ada" << 2;
        QTest::newRow("new name creates its profile first") << "Brian" << 3;
    }

    void startUsesTheTypedOrCurrentName()
    {
        QFETCH(QString, typed);
        QFETCH(int, profiles);
        Harness h;
        h.store().addProfile(QStringLiteral("Ada"));
        learn(h);
        QCOMPARE(h.visible<QLineEdit>(QStringLiteral("profileName"))->text(), QStringLiteral("Ada"));
        type(h, typed);
        h.click(QStringLiteral("start"));
        QCOMPARE(h.store().saved().profiles.size(), profiles);
        QCOMPARE(h.store().profile().name, typed);
        QVERIFY(h.store().session());
        QCOMPARE(h.store().session()->name, typed);
    }

    void savedProfilePickerOnlyWithSeveralProfiles()
    {
        Harness h;
        learn(h);
        QVERIFY(!h.visible<QComboBox>(QStringLiteral("savedProfilePicker")));
        type(h, QStringLiteral("Ada"));
        h.click(QStringLiteral("addProfile"));
        auto* picker = h.visible<QComboBox>(QStringLiteral("savedProfilePicker"));
        QVERIFY(picker);
        QCOMPARE(picker->currentText(), QStringLiteral("Ada"));
        const int guest = picker->findText(QStringLiteral("Guest"));
        picker->setCurrentIndex(guest);
        emit picker->activated(guest);
        QCOMPARE(h.store().profile().name, QStringLiteral("Guest"));
        QCOMPARE(h.visible<QLineEdit>(QStringLiteral("profileName"))->text(), QStringLiteral("Guest"));
        // Selecting from the header picker puts that learner's name in the field too.
        h.store().select(h.store().saved().profiles.last().id);
        QCOMPARE(h.visible<QLineEdit>(QStringLiteral("profileName"))->text(), QStringLiteral("Ada"));
        // Leaving the screen drops a name typed but not used.
        type(h, QStringLiteral("Unsaved"));
        h.root().setTab(QStringLiteral("Help"));
        learn(h);
        QCOMPARE(h.visible<QLineEdit>(QStringLiteral("profileName"))->text(), QStringLiteral("Ada"));
        type(h, QStringLiteral("Ada Lovelace"));
        h.click(QStringLiteral("saveProfile"));
        QCOMPARE(h.store().profile().name, QStringLiteral("Ada Lovelace"));
    }

    void chosenPoolFallsBackWhenItsLevelIsComplete()
    {
        Harness h;
        h.store().addProfile(QStringLiteral("Ada"));
        LearnView* view = learn(h);
        QCOMPARE(view->pool()->level, QStringLiteral("technician"));
        const Pool general = h.store().studyPools().at(1);
        QCOMPARE(general.level, QStringLiteral("general"));
        h.click(QStringLiteral("poolCard-") + general.id);
        QCOMPARE(view->poolID(), general.id);
        QCOMPARE(view->pool()->id, general.id);
        QCOMPARE(h.visible<QComboBox>(QStringLiteral("poolPicker"))->currentData().toString(), general.id);

        h.click(QStringLiteral("completedToggle"));
        QVERIFY(h.visible<QWidget>(QStringLiteral("completedPanel")));
        h.click(QStringLiteral("completed-general"));
        const Profile ada = h.store().profile();
        QVERIFY(ada.completedLevels && ada.completedLevels->contains(QStringLiteral("general")));
        QVERIFY(!h.visible<QWidget>(QStringLiteral("poolCard-") + general.id));
        QCOMPARE(view->pool()->level, QStringLiteral("technician"));
    }

    void everyLevelCompleteRemovesTheSetUp()
    {
        Harness h;
        h.store().addProfile(QStringLiteral("Ada"));
        const Pool pool = h.store().studyPools().first();
        h.store().begin(pool, QStringLiteral("Study All"), QStringLiteral("Ada"), false, QString());
        h.store().leave();
        learn(h);
        h.click(QStringLiteral("completedToggle"));
        for (const QString& level : LearnView::levels())
            h.click(QStringLiteral("completed-") + level);
        QVERIFY(h.store().studyPools().isEmpty());
        QVERIFY(!h.visible<QWidget>(QStringLiteral("setUpGroup")));
        QCOMPARE(h.visible<QLabel>(QStringLiteral("allComplete"))->text(),
                 QStringLiteral("All levels are marked complete. Uncheck a level above whenever you want to practise "
                                "again."));
        QVERIFY(h.visible<QWidget>(QStringLiteral("savedSessions")));
        h.click(QStringLiteral("completed-extra"));
        QVERIFY(h.visible<QWidget>(QStringLiteral("setUpGroup")));
        QCOMPARE(learn(h)->pool()->level, QStringLiteral("extra"));
    }

    void warningsForPoolsOutsideTheirPeriod_data()
    {
        QTest::addColumn<QString>("validFrom");
        QTest::addColumn<QString>("warning");
        QTest::newRow("upcoming") << "2099-07-01"
                                  << "Preview pool — not yet used for current exams.";
        QTest::newRow("expired") << "2001-07-01"
                                 << "This pool has expired. Update before preparing for a current exam.";
    }

    void warningsForPoolsOutsideTheirPeriod()
    {
        QFETCH(QString, validFrom);
        QFETCH(QString, warning);
        QTemporaryDir dir;
        const auto store = makeStore(
            dir, Fixtures::pack({Fixtures::pool(QStringLiteral("technician"), QStringLiteral("t"), validFrom)}));
        LearnView view(*store);
        view.show();
        Harness::settle();
        QVERIFY(view.pool());
        // A pool outside its period gets no card but can still be set up and started.
        QVERIFY(!view.findChild<QWidget*>(QStringLiteral("poolCard-t")));
        QVERIFY(view.findChild<QLabel*>(QStringLiteral("poolWarningText"))->isVisible());
        QCOMPARE(text(&view, QStringLiteral("poolWarningText")), warning);
        view.start();
        QVERIFY(store->session());
    }
};

AEROWEN_TEST_MAIN(LearnViewTest, QApplication)
#include "tst_LearnView.moc"
