// The shell: sections and their icons, the body rule, the profile picker, the release banner, the status alert
// and the order of the background checks.
#include "UiHarness.h"
#include "support/TestEnvironment.h"
#include "ui/ExamView.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QMenuBar>
#include <QMutex>
#include <QPushButton>
#include <QTest>
#include <QThread>

class RootViewTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { installFakeUpdater(); }

    void sectionsHaveTheirIconsAndScreens_data()
    {
        QTest::addColumn<QString>("tab");
        QTest::addColumn<QString>("icon");
        QTest::addColumn<QString>("page");
        QTest::addColumn<QString>("screen");
        // Section|icon|page|screen; unknown names and other letter cases fall back to Learn.
        for (const char* row :
             {"Learn|book|Learn|LearnView", "Progress|chart.bar|Progress|ProgressViewPage",
              "Top 10|trophy|Top10|LeaderboardView", "History|clock|History|HistoryView",
              "Profiles|person.2|Profiles|ProfilesView", "Updates|arrow.down.circle|Updates|UpdatesView",
              "Help|questionmark.circle|Help|HelpView", "Settings|book|Learn|LearnView", "help|book|Learn|LearnView"}) {
            const QStringList f = QString::fromUtf8(row).split(QLatin1Char('|'));
            QTest::newRow(row) << f[0] << f[1] << f[2] << f[3];
        }
    }

    void sectionsHaveTheirIconsAndScreens()
    {
        QFETCH(QString, tab);
        QFETCH(QString, icon);
        QFETCH(QString, page);
        QFETCH(QString, screen);
        QCOMPARE(RootView::iconName(tab), icon);
        Harness h;
        // Known sections are chosen with their sidebar button, the others by name.
        if (RootView::sections().contains(tab))
            h.click(QStringLiteral("section-") + page);
        else
            h.root().setTab(tab);
        QCOMPARE(h.root().tab(), tab);
        QVERIFY(h.visible<QWidget>(QStringLiteral("sectionArea-") + page));
        QCOMPARE(QString::fromLatin1(h.root().currentSection()->metaObject()->className()), screen);
        for (const QString& other : RootView::sections())
            QCOMPARE(h.find<QAbstractButton>(QStringLiteral("section-") + QString(other).remove(QLatin1Char(' ')))
                         ->isChecked(),
                     QString(other).remove(QLatin1Char(' ')) == page);
    }

    void menuOrder()
    {
        Harness h;
        QCOMPARE(RootView::sections(),
                 QStringList({"Learn", "Progress", "Top 10", "History", "Profiles", "Updates", "Help"}));
        QMenu* menu = h.root().menuBar()->findChild<QMenu*>(QStringLiteral("applicationMenu"));
        QVERIFY(menu);
        QStringList items;
        for (QAction* action : menu->actions()) {
            if (!action->isSeparator())
                items.append(action->text());
        }
        QCOMPARE(items, QStringList({"About Kestovan Aerowen", "Check for Updates…", "Check for Updates Automatically",
                                     "Check Question Pool Updates", "Quit"}));
        QCOMPARE(menu->actions().last()->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_Q));
    }

    void sessionReplacesTheSectionsAndLocksThePicker()
    {
        Harness h;
        h.store().setReleaseFetcher([] {
            AppRelease release;
            release.version = QStringLiteral("9.1");
            release.build = 900;
            release.url = QUrl(QStringLiteral("https://kestovan.invalid/aerowen-9.1"));
            return release;
        });
        h.store().checkApplicationUpdates();
        QTRY_VERIFY(h.store().availableRelease());
        QVERIFY(h.visible<QWidget>(QStringLiteral("releaseBanner")));
        QCOMPARE(h.visible<QLabel>(QStringLiteral("releaseText"))->text(), QStringLiteral("Aerowen 9.1 is available."));

        // The header picker lists every learner and selects the one chosen.
        h.store().addProfile(QStringLiteral("Ada"));
        h.store().addProfile(QStringLiteral("Brian"));
        auto* picker = h.find<QComboBox>(QStringLiteral("profilePicker"));
        QCOMPARE(picker->count(), h.store().saved().profiles.size());
        QCOMPARE(picker->currentText(), QStringLiteral("Brian"));
        const int ada = picker->findText(QStringLiteral("Ada"));
        picker->setCurrentIndex(ada);
        emit picker->activated(ada);
        QCOMPARE(h.store().profile().name, QStringLiteral("Ada"));
        QVERIFY(picker->isEnabled());
        const Pool pool = h.store().studyPools().first();
        h.store().begin(pool, QStringLiteral("Exam"), QStringLiteral("Guest"), true, QString());
        Harness::settle();
        QVERIFY(!picker->isEnabled());
        QVERIFY(!h.visible<QWidget>(QStringLiteral("sidebar")));
        QVERIFY(h.visible<QWidget>(QStringLiteral("releaseBanner")));

        // With a result set as well, the question screen stays.
        Result other;
        other.id = QUuid::createUuid();
        other.session = *h.store().session();
        h.store().setResult(other);
        Harness::settle();
        QCOMPARE(h.root().currentBody()->objectName(), QStringLiteral("examView"));
        QVERIFY(!picker->isEnabled());
        h.store().leave();
        Harness::settle();
        QCOMPARE(h.root().currentBody()->objectName(), QStringLiteral("resultView"));
        QVERIFY(!picker->isEnabled());
        h.store().setResult(std::nullopt);
        Harness::settle();
        QCOMPARE(h.root().currentBody()->objectName(), QStringLiteral("sectionsPage"));
        QVERIFY(picker->isEnabled());
    }

    void screensFollowChangesMadeInOneTurn()
    {
        Harness h;
        const Pool pool = h.store().studyPools().first();
        const QList<Question> three = pool.questions.mid(0, 3);
        h.store().begin(pool, QStringLiteral("Study All"), QStringLiteral("Ada"), false, QString(), three);
        Harness::settle();
        // Leaving and starting again before the event loop runs must still end on a live question screen.
        h.store().leave();
        h.store().begin(pool, QStringLiteral("Study All"), QStringLiteral("Ada"), false, QString(), three);
        Harness::settle();
        QVERIFY(h.root().currentBody());
        QCOMPARE(h.root().currentBody()->objectName(), QStringLiteral("examView"));
        QVERIFY(h.root().currentBody()->isVisible());
        h.store().finish();
        const QUuid first = h.store().result()->id;
        Harness::settle();
        h.store().setResult(std::nullopt);
        h.store().begin(pool, QStringLiteral("Study All"), QStringLiteral("Ada"), false, QString(), three);
        h.store().finish();
        QVERIFY(h.store().result()->id != first);
        Harness::settle();
        QCOMPARE(h.root().currentBody()->objectName(), QStringLiteral("resultView"));
        QVERIFY(h.root().currentBody()->isVisible());
    }

    void statusMessageShowsUntilOK()
    {
        Harness h;
        QVERIFY(!h.openBox(QStringLiteral("statusAlert")));
        h.store().setMessage(QStringLiteral("Progress could not be saved: disk full"));
        Harness::settle();
        QMessageBox* alert = h.openBox(QStringLiteral("statusAlert"));
        QVERIFY(alert);
        QCOMPARE(alert->text(), QStringLiteral("Progress could not be saved: disk full"));
        QCOMPARE(alert->buttons().size(), 1);
        QVERIFY(h.answerBox(QStringLiteral("OK"), QStringLiteral("statusAlert")));
        QCOMPARE(h.store().message(), QString());
        QVERIFY(!h.openBox(QStringLiteral("statusAlert")));
        // Clearing the message from elsewhere hides an open alert too.
        h.store().setMessage(QStringLiteral("Second"));
        Harness::settle();
        QVERIFY(h.openBox(QStringLiteral("statusAlert")));
        h.store().setMessage(QString());
        Harness::settle();
        QVERIFY(!h.openBox(QStringLiteral("statusAlert")));
    }

    void failedExportIsReportedInTheAlert_data()
    {
        QTest::addColumn<bool>("cancel");
        QTest::newRow("cancelled panel says nothing") << true;
        QTest::newRow("unwritable place is reported") << false;
    }

    void failedExportIsReportedInTheAlert()
    {
        QFETCH(bool, cancel);
        Harness h;
        const Pool pool = h.store().studyPools().first();
        h.store().begin(pool, QStringLiteral("Study All"), QStringLiteral("Ada"), false, QString(),
                        pool.questions.mid(0, 2));
        h.store().finish();
        Harness::settle();
        h.store().setSavePanel([&](const QString&) -> std::optional<QString> {
            if (cancel)
                return std::nullopt;
            return h.folder() + QStringLiteral("/missing/folder/Aerowen-Result.txt");
        });
        h.click(QStringLiteral("exportResult"));
        QCOMPARE(h.openBox(QStringLiteral("statusAlert")) != nullptr, !cancel);
        QCOMPARE(h.store().message().isEmpty(), cancel);
        if (!cancel) {
            QCOMPARE(h.openBox(QStringLiteral("statusAlert"))->text(), h.store().message());
            QVERIFY(h.answerBox(QStringLiteral("OK"), QStringLiteral("statusAlert")));
            QVERIFY(h.store().message().isEmpty());
        }
    }

    void releaseCheckWaitsForThePoolCheck()
    {
        Harness h;
        QMutex lock;
        QStringList order;
        h.store().setRefresher([&](const Pack& pack, const Corrections&) {
            QThread::msleep(150);
            const QMutexLocker locker(&lock);
            order.append(QStringLiteral("pools"));
            return pack;
        });
        h.store().setReleaseFetcher([&] {
            const QMutexLocker locker(&lock);
            order.append(QStringLiteral("release"));
            return AppRelease{QStringLiteral("1.0.2"), 9, QUrl(QStringLiteral("https://kestovan.invalid/"))};
        });
        h.root().runChecks();
        QTRY_COMPARE(order, QStringList({"pools", "release"}));
        QTRY_VERIFY(!h.store().checkingApp());
        // A second run while a pool check is still going waits for that check too, and never starts the release
        // check before it.
        order.clear();
        h.root().runChecks();
        h.root().runChecks();
        QVERIFY(h.store().checking());
        QTRY_COMPARE(order, QStringList({"pools", "release"}));
        QTRY_VERIFY(!h.store().checkingApp());
    }
};

AEROWEN_TEST_MAIN(RootViewTest, QApplication)
#include "tst_RootView.moc"
