// The screens in the main window, driven as a learner does: a whole exam from the keyboard, the study loop with its
// jump list and saved sessions, the result screen's texts, the question and diagram screens, sections and body rules
// with the status alert, the session set-up, the learner's records in progress, top 10, history and profiles, help, the
// sample diagram review. Every screen is photographed.
#include "UiHarness.h"
#include "store/Seeded.h"
#include "store/Settings.h"
#include "support/StoreFixtures.h"
#include "ui/BrowseView.h"
#include "ui/CardButton.h"
#include "ui/Charts.h"
#include "ui/DiagramReviewView.h"
#include "ui/DiagramView.h"
#include "ui/ElidedLabel.h"
#include "ui/HelpView.h"
#include "ui/LearnView.h"
#include "ui/ResultView.h"
#include "ui/SectionWidgets.h"

#include <QAccessible>
#include <QCheckBox>
#include <QDesktopServices>
#include <QListWidget>
#include <QScreen>
#include <QScrollArea>
#include <QSlider>
#include <QTreeView>

using StoreFixtures::ids;

namespace {

// All four answers of the question on screen lie inside the visible part of the question area.
bool answersInView(Harness& h)
{
    QWidget* viewport = h.visible<QScrollArea>(u"questionArea"_s)->viewport();
    QWidget* last = h.visible(u"answer-3"_s);
    return viewport->rect().contains(QRect(h.visible(u"answer-0"_s)->mapTo(viewport, QPoint()),
                                           last->mapTo(viewport, QPoint(last->width() - 1, last->height() - 1))));
}

} // namespace

// Receives the addresses the application hands the desktop to open.
class OpenedLinks : public QObject
{
    Q_OBJECT

public slots:
    void open(const QUrl& url) { urls.append(url.toString(QUrl::FullyEncoded)); }

public:
    QStringList urls;
};

class ScreensTest : public QObject
{
    Q_OBJECT
    // A technician pool (35 groups of 10 questions) and an extra pool (50 groups), both current today.
    const QString m_from = QDate::currentDate().addYears(-1).toString(Qt::ISODate);
    const Pack m_pack = Fixtures::pack({Fixtures::pool(u"technician"_s, u"tech-test"_s, m_from, u"2026-02-19"_s),
                                        Fixtures::pool(u"extra"_s, u"extra-test"_s, m_from)});
    // Recorded once: Anna's exams (passed, passed, failed), club challenge and extra exam, and Ben's exam.
    Saved m_recorded;

private slots:
    void initTestCase()
    {
        Harness h(m_pack);
        // mode|learner|right answers|seconds|pool
        for (const char* row : {"Exam|Anna|30|1200|0", "Exam|Anna|30|900|0", "Club Challenge|Anna|27|700|0",
                                "Exam|Anna|10|300|0", "Exam|Anna|12|3725|1", "Exam|Ben|31|2400|0"}) {
            const QStringList f = QString::fromUtf8(row).split(u'|');
            h.store->addProfile(f[1]);
            h.store->begin(m_pack.pools.at(f[4].toInt()), f[0], f[1], false,
                           f[0] == "Exam"_L1 ? QString() : u"club7"_s);
            for (int i = 0; i < f[2].toInt(); ++i) {
                h.store->move(i);
                h.store->answer(h.store->session()->questions.at(i).correct);
            }
            h.now += f[3].toDouble();
            h.store->finish();
        }
        h.store->addProfile(u"Anna"_s);
        m_recorded = h.store->saved();
    }

    void wholeExamFromTheKeyboard()
    {
        Harness h;
        h.startFromLearn(u"Exam"_s, u"Ada"_s);
        const Session started = *h.store->session();
        QCOMPARE(h.shown({u"examTitle"_s, u"checkAnswer"_s}), QString(started.pool.name + u" · Exam | -"_s));
        for (Qt::Key key : {Qt::Key_Left, Qt::Key_A, Qt::Key_Right, Qt::Key_C, Qt::Key_D})
            h.key(key); // nothing before the first question; answers stay changeable
        const Session& s = *h.store->session();
        QCOMPARE(QList<qint64>({s.answers.value(started.questions[0].id), s.answers.value(started.questions[1].id)}),
                 QList<qint64>({0, 3}));
        QCOMPARE(h.shown({u"examPosition"_s, u"counts"_s}), u"Ada · Question 2 of 35 | 0 flagged · 33 unanswered"_s);
        h.click(u"leave"_s);
        h.confirm(u"Save & Leave"_s, u"Save and leave?"_s,
                  u"Your answers will be saved, but this attempt will no longer qualify for the top 10."_s);
        QWidget* row = h.visible(u"savedSession-"_s + started.id.toString(QUuid::WithoutBraces).toUpper());
        QTest::mouseClick(row->findChild<QPushButton*>(u"resume"_s), Qt::LeftButton);
        settle();
        QCOMPARE(h.store->session()->answers.size(), 2);
        // From the first paint of a resumed session, the answers are in the learner's text size.
        for (const char* part : {"text", "letter"})
            QCOMPARE(
                QFontInfo(h.visible(u"answer-0"_s)->findChild<QLabel*>(QLatin1StringView(part))->font()).pixelSize(),
                h.visible<QSlider>(u"textSize"_s)->value());

        // Back to the first question, then A–D and → through the rest: five wrong, the last one left unanswered.
        h.key(Qt::Key_Left);
        for (int i = 0; i < 34; ++i) {
            h.key(Qt::Key(Qt::Key_A + (started.questions[i].correct + (i < 5 ? 1 : 0)) % 4));
            h.key(Qt::Key_Right);
        }
        h.now += 125;
        QVERIFY(h.tabTo(h.visible(u"finish"_s)));
        h.key(Qt::Key_Space);
        QMessageBox* box = openBox();
        QCOMPARE(QString(box->windowTitle() + u" / "_s + box->informativeText()),
                 u"Submit this attempt? / 1 unanswered questions will be counted as incorrect. Your timer stops on "
                 u"submission."_s);
        QVERIFY(QTest::qWaitForWindowActive(box));
        QVERIFY(h.tabTo(box->findChild<QPushButton*>(u"confirmationAction"_s)));
        h.key(Qt::Key_Space);
        QCOMPARE(h.shown({u"resultTitle"_s, u"score"_s, u"percentage"_s, u"resultTime"_s, u"standing"_s}),
                 u"Passed | 29/35 | 82.9% | 00:02:05 | Practice result — excluded from rankings because it was "
                 u"interrupted."_s);
        const Question last = started.questions.last();
        QWidget* card = h.visible(u"resultQuestion-"_s + last.id);
        QCOMPARE(texts(card, {u"yours"_s, u"correct"_s}),
                 QString(u"Your answer: Unanswered | Correct answer: "_s + last.answers[last.correct]));
        // The mistakes are practised under the same name: the five wrong questions and the unanswered one.
        h.click(u"practiseIncorrect"_s);
        QCOMPARE(QString(h.store->session()->mode + h.store->session()->name), u"MistakesAda"_s);
        QCOMPARE(h.store->session()->questions.size(), 6);
    }

    void studyLoopAndSavedSessions()
    {
        Settings::open()->remove(Settings::studyTextSize);
        Harness h;
        h.startFromLearn(u"Study All"_s, u"Guest"_s);
        auto* check = h.visible<QPushButton>(u"checkAnswer"_s);
        QVERIFY(!check->isEnabled());
        QTRY_VERIFY(answersInView(h)); // once the new screen is laid out
        h.visible<QSlider>(u"textSize"_s)->setValue(23);
        const QList<Question> questions = h.store->session()->questions;
        const Question q = questions.first();
        h.key(Qt::Key(Qt::Key_A + (q.correct + 1) % 4));
        h.click(u"checkAnswer"_s);
        QCOMPARE(h.shown({u"checkAnswer"_s, u"revealedText"_s}),
                 QString(u"- | Correct answer: "_s + QChar(char16_t(65 + q.correct)) + u". "_s + q.answers[q.correct]));
        // The checked wrong answer is outlined in orange with a cross; clicks and keys no longer change it.
        const QString wrong = u"answer-%1"_s.arg((q.correct + 1) % 4);
        QCOMPARE(h.visible<CardButton>(wrong)->outline(), Theme::colors().warning);
        QCOMPARE(h.visible(wrong)->findChild<QLabel*>(u"tick"_s)->property("symbol"), u"xmark.circle.fill"_s);
        for (int i = 0; i < 4; ++i) {
            QTest::mouseClick(h.visible(u"answer-%1"_s.arg(i)), Qt::LeftButton);
            QCOMPARE(h.visible(u"answer-%1"_s.arg(i))->focusPolicy(), Qt::NoFocus);
        }
        h.key(Qt::Key(Qt::Key_A + q.correct));
        QCOMPARE(h.store->session()->answers.value(q.id), (q.correct + 1) % 4);

        h.click(u"next"_s);
        QVERIFY(check->isVisible() && !check->isEnabled() && h.visible(u"answer-0"_s)->isEnabled());
        h.now += 3725; // the clock ticks on screen in hours, minutes and seconds
        QTRY_COMPARE(h.shown({u"elapsed"_s}), u"01:02:05"_s);
        // The jump list fits the screen and finds by typing.
        const auto open = [&] {
            h.click(u"jumpTo"_s);
            auto* popup = QApplication::activePopupWidget();
            return popup && popup->objectName() == "jumpList"_L1 ? popup : nullptr;
        };
        QWidget* popup = open();
        QVERIFY(popup);
        QVERIFY(popup->screen()->availableGeometry().contains(popup->geometry()));
        auto* list = popup->findChild<QListWidget*>(u"jumpEntries"_s);
        QCOMPARE(list->count(), questions.size());
        QCOMPARE(list->item(408)->text(), u"409. "_s + questions.last().id + u" — unanswered"_s);
        // Typing narrows the list to the question searched for; Enter goes there.
        auto* filter = popup->findChild<QLineEdit*>(u"jumpFilter"_s);
        QTest::keyClicks(filter, questions.last().id.toLower());
        const QList<QListWidgetItem*> all = list->findItems(u"*"_s, Qt::MatchWildcard);
        QCOMPARE(std::count_if(all.cbegin(), all.cend(), [](auto* item) { return !item->isHidden(); }), 1);
        QTest::keyClick(filter, Qt::Key_Return);
        QCOMPARE(h.store->session()->index, 408);
        QVERIFY(!QApplication::activePopupWidget());
        // The list opens at the question on screen; Up and Down move through it from the search field.
        popup = open();
        filter = popup->findChild<QLineEdit*>(u"jumpFilter"_s);
        for (Qt::Key key : {Qt::Key_Up, Qt::Key_Up, Qt::Key_Return})
            QTest::keyClick(filter, key);
        QCOMPARE(h.store->session()->index, 406);

        h.click(u"leave"_s);
        h.confirm(u"Continue"_s, u"Leave this Guest attempt?"_s,
                  u"Guest answers and scores are not saved. Leaving ends this attempt."_s);
        h.click(u"leave"_s);
        h.confirm(u"Leave"_s);
        QVERIFY(!h.store->session() && h.store->savedSessions().isEmpty() && !h.visible(u"savedSessions"_s));

        // A named learner's practice is saved on leaving, and deleting it asks first. The text size was kept.
        h.startFromLearn(u"Weak Topics"_s, u"Ada"_s);
        QCOMPARE(h.visible<QSlider>(u"textSize"_s)->value(), 23);
        h.click(u"leave"_s);
        h.confirm(u"Save & Leave"_s, u"Save and leave?"_s, u"Your place and answers will be saved."_s);
        for (const QString& button : {u"Cancel"_s, u"Delete"_s}) {
            QCOMPARE(h.store->savedSessions().size(), 1);
            h.click(u"delete"_s);
            h.confirm(button, u"Delete Saved Session?"_s,
                      u"This removes the saved attempt and its answers. Completed results and study progress are "
                      u"kept."_s);
        }
        QVERIFY(h.store->savedSessions().isEmpty() && !h.visible(u"savedSessions"_s));
        Settings::open()->remove(Settings::studyTextSize);
    }

    void resultScreenTexts_data()
    {
        // mode#name#right#unanswered#eligible#title#standing, over 35 questions; the others are wrong.
        rows(
            {"Exam#Guest#35#0#1#Passed#Guest result — not saved to history, progress or the top 10.",
             "Exam#Ada#25#0#1#Keep Practising#Eligible for the local top 10. Score ranks first; time breaks ties.",
             "Club Challenge#Ada#30#2#1#Passed#Eligible for the local top 10. Score ranks first; time breaks ties.",
             "Study All#Ada#30#2#1#Practice Complete#-",
             "Weak Topics#Guest#3#2#1#Practice Complete#Guest result — not saved to history, progress or the top 10."});
    }

    void resultScreenTexts()
    {
        const QStringList f = fetchRow();
        Result r{QUuid::createUuid(), Session(), Dates::now(), 754};
        Session& s = r.session;
        std::tie(s.id, s.mode, s.name, s.eligible) = std::tuple(QUuid::createUuid(), f[0], f[1], f[4] == "1"_L1);
        s.pool = Fixtures::pool(u"technician"_s, u"tech-test"_s, u"2026-07-01"_s, u"2026-02-19"_s, 35, 1);
        s.questions = s.pool.questions;
        for (int i = 0; i < 35 - f[3].toInt(); ++i)
            s.answers.insert(s.questions[i].id, (s.questions[i].correct + (i < f[2].toInt() ? 0 : 1)) % 4);
        Harness h;
        ResultView view(*h.store, r);
        view.show();
        const int wrong = 35 - f[2].toInt();
        QCOMPARE(texts(&view, {u"resultTitle"_s, u"standing"_s, u"noIncorrectText"_s}),
                 QString(f[5] + u" | "_s + f[6] + (wrong ? u" | -"_s : u" | No incorrect answers. Well done!"_s)));
        // Only the wrong and unanswered questions are listed until the switch is turned off.
        const auto cards = [&view] {
            settle();
            return view.findChildren<QWidget*>(QRegularExpression(u"^resultQuestion-"_s)).size();
        };
        QCOMPARE(cards(), wrong);
        QCOMPARE(view.findChild<QPushButton*>(u"practiseIncorrect"_s)->isEnabled(), wrong > 0);
        view.findChild<QCheckBox*>(u"onlyWrong"_s)->setChecked(false);
        QCOMPARE(cards(), 35);
    }

    void sectionsFitTheSmallestWindow()
    {
        // At the smallest window no section reaches past the right edge of its scrolling area.
        Harness h;
        h.root->resize(h.root->minimumSize());
        // With a saved session, a long learner name and the completed levels open.
        const QString name(80, u'W');
        h.store->addProfile(name);
        h.store->begin(h.store->studyPools().first(), u"Club Challenge"_s, name, false, u"club-7"_s);
        h.store->leave();
        settle();
        // The saved club challenge names its code and its start date.
        const QDate started = Dates::toDateTime(h.store->savedSessions().first().started).toLocalTime().date();
        QCOMPARE(h.shown({u"sessionTitle"_s}), h.store->studyPools().first().name + u" · Club Challenge · CLUB-7"_s);
        QVERIFY(h.shown({u"sessionDetail"_s}).endsWith(u" · started "_s + SectionWidgets::abbreviatedDate(started)));
        h.click(u"completedToggle"_s);
        for (const QString& tab : RootView::sections()) {
            h.root->setTab(tab);
            settle();
            auto* area = h.visible<QScrollArea>(u"sectionArea-"_s + QString(tab).remove(u' '));
            QVERIFY(area);
            for (QWidget* w : area->widget()->findChildren<QWidget*>()) {
                if (w->isVisible() && !w->isWindow())
                    QVERIFY2(w->mapTo(area->viewport(), QPoint(w->width(), 0)).x() <= area->viewport()->width(),
                             qPrintable(tab + u": "_s + w->objectName() + u' ' + w->metaObject()->className()));
            }
        }
        // The long name is shortened with "…" in Profiles and in the question header; the count stays whole.
        h.root->setTab(u"Profiles"_s);
        QString shown;
        for (auto* label : h.root->findChildren<ElidedLabel*>(u"profileName"_s))
            if (label->isVisible() && label->text() == name)
                shown = label->shownText();
        QVERIFY2(shown.startsWith(u"WWW"_s) && shown.endsWith(u"…"_s) && shown.size() < name.size(), qPrintable(shown));
        h.store->resume(h.store->savedSessions().first());
        settle();
        auto* position = h.visible<ElidedLabel>(u"examPosition"_s);
        QCOMPARE(position->text(), name + u" · Question 1 of 35"_s);
        QVERIFY2(position->shownText().endsWith(u"W… · Question 1 of 35"_s), qPrintable(position->shownText()));
        checkLayout(*h.root);
    }

    void damagedProgressAlertShowsTheRecoveryCopy()
    {
        // An unreadable progress file: its recovery copy is named in the alert, whose folder opens.
        Harness h({}, {{u"progress.json"_s, "{\"profiles\": ["}});
        QVERIFY(h.store->recoveryCopy() && QFile::exists(h.dir.filePath(*h.store->recoveryCopy())));
        OpenedLinks links;
        QDesktopServices::setUrlHandler(u"file"_s, &links, "open");
        QMessageBox* alert = openBox(u"statusAlert"_s);
        QVERIFY(alert);
        QCOMPARE(alert->text(), h.store->message());
        QCOMPARE(alert->informativeText(), u"The unreadable file was kept as “"_s + *h.store->recoveryCopy() +
                                               u"” in the folder "_s + QDir::toNativeSeparators(h.dir.path()) + u"."_s);
        alert->findChild<QPushButton*>(u"statusAlertOpenFolder"_s)->click();
        QDesktopServices::unsetUrlHandler(u"file"_s);
        QCOMPARE(links.urls, QStringList{QUrl::fromLocalFile(h.dir.path()).toString(QUrl::FullyEncoded)});
    }

    void completedLevelsRebuildThePoolCardsCleanly()
    {
        // Ticking and unticking each level, and switching between learners with other completed levels, leaves
        // exactly the cards of the levels still studied, none over another, and every switch reachable.
        Harness h;
        h.store->addProfile(u"Ben"_s);
        h.store->setLevelComplete(u"general"_s, true);
        const QUuid ben = h.store->profile().id;
        h.store->addProfile(u"Ada"_s);
        h.click(u"completedToggle"_s);
        // Checked right after each change, before replaced widgets are deleted: they must already be out of sight.
        const auto check = [&](const QStringList& studied) {
            QStringList shown;
            QList<QRect> places;
            for (auto* card : h.root->findChildren<CardButton*>(QRegularExpression(u"^poolCard-"_s))) {
                const QRect place(card->mapTo(h.root.get(), QPoint()), card->size());
                if (!card->isVisible())
                    continue;
                for (const QRect& other : std::as_const(places))
                    QVERIFY(!other.intersects(place));
                places << place;
                shown << card->objectName().section(u'-', 1, 1);
            }
            QCOMPARE(shown, studied);
            for (const QString& level : LearnView::levels()) {
                QWidget* box = h.visible(u"completed-"_s + level);
                QWidget* top = h.root->childAt(box->mapTo(h.root.get(), box->rect().center()));
                QVERIFY2(top == box || box->isAncestorOf(top), qPrintable(level));
            }
        };
        const auto tick = [&](const QString& level) {
            QTest::mouseClick(h.visible(u"completed-"_s + level), Qt::LeftButton);
        };
        QStringList studied = LearnView::levels();
        check(studied);
        for (const QString& level : LearnView::levels()) {
            tick(level);
            studied.removeOne(level);
            check(studied);
        }
        h.store->select(ben);
        check({u"technician"_s, u"extra"_s});
        tick(u"general"_s); // unmarked again: its card comes back in its place
        check(LearnView::levels());
    }

    void sectionsAlertAndBody()
    {
        Harness h;
        const Pool pool = h.store->studyPools().first();
        QList<Question> figured;
        for (const Question& q : pool.questions) {
            if (h.store->diagramFile(q) && figured.size() < 3)
                figured.append(q);
        }
        h.store->begin(pool, u"Study All"_s, u"Ada"_s, false, QString(), figured);
        h.store->answer(figured.first().correct);
        // From the default window size up, the prompt, the figure and all four answers show without scrolling.
        for (const QSize size : {QSize(1180, 800), QSize(1400, 1000), QSize(1200, 1180)}) {
            h.root->resize(size);
            QTRY_VERIFY2(answersInView(h), qPrintable(u"%1 x %2"_s.arg(size.width()).arg(size.height())));
            QVERIFY(h.visible(u"figure"_s)->visibleRegion().boundingRect() == h.visible(u"figure"_s)->rect());
        }
        screenshot(*h.root, u"question"_s);
        h.store->reveal();
        screenshot(*h.root, u"question-revealed"_s);
        // The figure fits its frame and opens the viewer, 760 points wide at zoom 1.
        QWidget* figure = h.visible(u"figure"_s);
        QCOMPARE(figure->accessibleName(), QString(u"Enlarge official diagram for "_s + figured.first().id));
        QVERIFY(figure->width() <= 560 + 16 && figure->height() <= 340 + 16);
        h.click(u"figure"_s);
        auto* viewer = h.root->findChild<DiagramView*>(u"diagramView"_s);
        QTRY_VERIFY(viewer && viewer->isVisible());
        QCOMPARE(viewer->findChild<QWidget*>(u"diagramFigure"_s)->width(), 760);
        screenshot(*viewer, u"diagram"_s);
        viewer->findChild<QAbstractButton*>(u"diagramDone"_s)->click();
        settle();
        QVERIFY(!h.root->findChild<DiagramView*>(u"diagramView"_s));
        h.root->resize(1200, 860);
        h.store->finish();
        screenshot(*h.root, u"result"_s);
        h.click(u"resultDone"_s);
        // Every section's title is in the one large-title style, above the window header's second-level title.
        QCOMPARE(h.visible<QLabel>(u"appTitle"_s)->font().pixelSize(), int(Theme::secondTitleSize));
        for (const QString& tab : RootView::sections()) {
            h.click(u"section-"_s + QString(tab).remove(u' '));
            screenshot(*h.root, tab.toLower().remove(u' '));
            int largest = 0;
            for (auto* label : h.root->currentSection()->findChildren<QLabel*>())
                largest = std::max(largest, QFontInfo(label->font()).pixelSize());
            QVERIFY2(largest == int(Theme::largeTitleSize), qPrintable(tab + u' ' + QString::number(largest)));
        }
        // Each pool's "Official NCVEC Source" opens its stored address as it is (escapes kept, never escaped twice).
        h.click(u"section-Updates"_s);
        OpenedLinks opened;
        QDesktopServices::setUrlHandler(u"https"_s, &opened, "open");
        for (QLabel* link : h.root->findChildren<QLabel*>(u"officialSource"_s))
            emit link->linkActivated(link->text());
        QDesktopServices::unsetUrlHandler(u"https"_s);
        QStringList sources;
        for (const Pool& pool : h.store->pack().pools)
            sources << pool.source;
        QCOMPARE(opened.urls, sources);
        QVERIFY(sources.first().contains(u"%20"_s));
        h.root->setTab(u"help"_s); // not a section's name: Learn
        QCOMPARE(QString(h.root->currentSection()->metaObject()->className() + RootView::iconName(u"help"_s)),
                 u"LearnViewbook"_s);
        // The store's message shows as an alert until "OK" clears it.
        h.store->setMessage(u"Progress could not be saved: disk full"_s);
        settle();
        QMessageBox* alert = openBox(u"statusAlert"_s);
        QVERIFY(alert && alert->buttons().size() == 1);
        QCOMPARE(QString(alert->windowTitle() + u" / "_s + alert->text() + u" / "_s + alert->buttons().first()->text()),
                 u"Kestovan Aerowen / Progress could not be saved: disk full / OK"_s);
        alert->buttons().first()->click();
        settle();
        QVERIFY(h.store->message().isEmpty() && !openBox(u"statusAlert"_s));
        h.store->setReleaseFetcher([] { return AppRelease{u"9.1"_s, 900, u"https://kestovan.invalid/"_s}; });
        h.store->checkApplicationUpdates();
        QTRY_COMPARE(h.shown({u"releaseText"_s}), u"Aerowen 9.1 is available."_s);
        h.store->addProfile(u"Ada"_s);
        auto* picker = h.root->findChild<QComboBox*>(u"profilePicker"_s);
        for (const QString& level : LearnView::levels())
            h.store->setLevelComplete(level, true);
        QCOMPARE(h.shown({u"allComplete"_s, u"setUpGroup"_s}),
                 u"All levels are marked complete. Uncheck a level above whenever you want to practise again. | -"_s);
        h.store->setLevelComplete(u"technician"_s, false);
        // A session fills the window, even when left and begun again before the event loop runs.
        h.root->setTab(u"History"_s);
        for (int i = 0; i < 2; ++i) {
            h.store->leave();
            h.store->begin(pool, u"Study All"_s, u"Ada"_s, false, QString(), pool.questions.mid(0, 3));
        }
        settle();
        QVERIFY(h.visible(u"examView"_s) && !h.visible(u"sidebar"_s) && h.visible(u"releaseBanner"_s));
        // With a result set as well the question screen stays; leaving shows the result. The picker waits for both.
        h.store->setResult(Result{QUuid::createUuid(), *h.store->session(), 0, 0});
        settle();
        QCOMPARE(QString(h.body() + QString::number(picker->isEnabled())), u"examView0"_s);
        h.store->leave();
        settle();
        QCOMPARE(QString(h.body() + QString::number(picker->isEnabled())), u"resultView0"_s);
        h.click(u"resultDone"_s); // back to the section chosen before the session
        QCOMPARE(QString(h.body() + h.root->tab() + QString::number(picker->isEnabled())), u"sectionsPageHistory1"_s);
        // Sections start afresh when shown again: the set-up's choices and the fields typed into are not kept.
        h.root->setTab(u"Learn"_s);
        h.visible<QCheckBox>(u"shuffleSwitch"_s)->setChecked(false);
        h.startFromLearn(u"Club Challenge"_s, u"Ada"_s);
        QVERIFY(!h.store->session()); // no code yet
        type(h.visible<QLineEdit>(u"challengeCode"_s), u"club-7"_s);
        h.click(u"start"_s);
        h.store->finish();
        settle();
        h.click(u"resultDone"_s);
        h.root->setTab(u"Top 10"_s);
        type(h.visible<QLineEdit>(u"challengeCode"_s), u"club-7"_s);
        h.root->setTab(u"Profiles"_s);
        type(h.visible<QLineEdit>(u"newProfileName"_s), u"Ben"_s);
        h.root->setTab(u"Learn"_s);
        QCOMPARE(h.visible<QComboBox>(u"modePicker"_s)->currentText(), u"Study All"_s);
        QVERIFY(h.visible<QCheckBox>(u"shuffleSwitch"_s)->isChecked() && !h.visible(u"challengeCode"_s));
        h.visible<QComboBox>(u"modePicker"_s)->setCurrentText(u"Club Challenge"_s);
        QCOMPARE(h.visible<QLineEdit>(u"challengeCode"_s)->text(), QString());
        for (const QString& tab : {u"Top 10"_s, u"Profiles"_s}) {
            h.root->setTab(tab);
            for (auto* field : h.root->currentSection()->findChildren<QLineEdit*>())
                QVERIFY2(field->text().isEmpty(), qPrintable(tab));
        }
    }

    void setUpRules_data()
    {
        // Years from today to the pool's start#name typed#the pool's entry and warning, then the learner and the
        // session's name after "Start", or "-" while "Save", "Add" and "Start" are disabled. Out of its period a pool
        // has no card but can still be started; a new name is added as a learner first.
        rows({"-1#   #General · %1–%2 | - | -", "-1#  Ada #General · %1–%2 | - | Ada Ada",
              "1#Brian#General · %1–%2 · Upcoming | Preview pool — not yet used for current exams. | Brian Brian",
              "-5#Ada#General · %1–%2 · Expired | This pool has expired. Update before preparing for a current exam. "
              "| Ada Ada"});
    }

    void setUpRules()
    {
        const QStringList f = fetchRow();
        const QDate from = QDate::currentDate().addYears(f[0].toInt());
        Harness h(Fixtures::pack({Fixtures::pool(u"general"_s, u"g"_s, from.toString(Qt::ISODate))}));
        h.store->addProfile(u"Ada"_s);
        QCOMPARE(h.visible<QLineEdit>(u"profileName"_s)->text(), u"Ada"_s);
        type(h.visible<QLineEdit>(u"profileName"_s), f[1]);
        QStringList shown{h.visible<QComboBox>(u"poolPicker"_s)->currentText(), h.shown({u"poolWarningText"_s})};
        QCOMPARE(h.visible(u"poolCard-g"_s) != nullptr, f[0] == "-1"_L1);
        const bool enabled = h.visible(u"start"_s)->isEnabled();
        QCOMPARE(h.visible(u"saveProfile"_s)->isEnabled() && h.visible(u"addProfile"_s)->isEnabled(), enabled);
        if (enabled)
            h.click(u"start"_s);
        shown << (enabled ? h.store->profile().name + u' ' + h.store->session()->name : u"-"_s);
        QCOMPARE(shown.join(u" | "_s), f[2].arg(from.year()).arg(from.year() + 4));
        QCOMPARE(h.store->saved().profiles.size(), f[1] == "Brian"_L1 ? 3 : 2);
    }

    void browseFindsShowsAndPractises()
    {
        QCOMPARE(RootView::sections().mid(0, 3), (QStringList{u"Learn"_s, u"Browse"_s, u"Progress"_s}));
        Harness h;
        h.store->addProfile(u"Ada"_s);
        h.root->resize(h.root->minimumSize());
        h.root->setTab(u"Browse"_s);
        auto* view = h.root->findChild<BrowseView*>();
        auto* field = h.visible<QLineEdit>(u"browseSearch"_s);
        // One step from an identifier to the whole question with its correct answer marked.
        type(field, u"t5a07"_s);
        QCOMPARE(ids(view->found()), QStringList{u"T5A07"_s});
        const Question q = view->found().first();
        QVERIFY(h.shown({u"browseQuestionTitle"_s}).startsWith(u"T5A07 · "_s));
        QCOMPARE(h.shown({u"browsePrompt"_s}), q.prompt);
        for (qint64 i = 0; i < 4; ++i) {
            auto* answer = h.visible<QLabel>(u"browseAnswer-%1"_s.arg(i));
            const QString text = QChar(char16_t(u'A' + i)) + u". "_s + q.answers.at(i);
            QCOMPARE(answer->text(), text);
            QCOMPARE(answer->accessibleName(), (i == q.correct ? u"Correct answer: "_s : QString()) + text);
            QCOMPARE(answer->property("tone").toString(), i == q.correct ? u"success"_s : QString());
        }
        QVERIFY(!h.visible(u"browseFigure"_s));
        // The bookmark toggle is the question screen's: the learner's bookmark of this pool's question.
        h.click(u"browseBookmark"_s);
        const Pool tech = *view->pool();
        QVERIFY(h.store->saved().bookmarks.contains(h.store->key(tech, q)));
        QCOMPARE(h.visible<QPushButton>(u"browseBookmark"_s)->text(), u"Bookmarked"_s);
        type(field, QString());
        QCOMPARE(view->found().size(), tech.questions.size());
        h.visible<QCheckBox>(u"bookmarkedOnly"_s)->setChecked(true);
        QCOMPARE(ids(view->found()), QStringList{u"T5A07"_s});
        h.visible<QCheckBox>(u"bookmarkedOnly"_s)->setChecked(false);
        // A figure opens enlarged, as on the question screen.
        type(field, u"T6C02"_s);
        h.click(u"browseFigure"_s);
        auto* diagram = h.root->findChild<DiagramView*>();
        QVERIFY(diagram && diagram->isVisible());
        screenshot(*diagram, u"browse-diagram"_s, false);
        diagram->close();

        // Every Extra question on impedance, practised as found and then shuffled.
        auto* pools = h.visible<QComboBox>(u"browsePool"_s);
        const int extra = pools->findText(u"Amateur Extra"_s, Qt::MatchStartsWith);
        pools->setCurrentIndex(extra);
        emit pools->activated(extra);
        type(field, u"impedance"_s);
        const QStringList found = ids(view->found());
        QCOMPARE(h.shown({u"browseCount"_s}), u"58 questions found"_s);
        screenshot(*h.root, u"browse"_s);
        for (const bool shuffled : {false, true}) {
            h.visible<QCheckBox>(u"browseShuffle"_s)->setChecked(shuffled);
            h.click(u"practiseThese"_s);
            QVERIFY(h.store->session());
            const Session& s = *h.store->session();
            QCOMPARE(s.mode + u' ' + s.pool.level + u' ' + s.name, u"Study All extra Ada"_s);
            QStringList started = ids(s.questions);
            if (shuffled)
                std::sort(started.begin(), started.end());
            QCOMPARE(started, found); // the pool's order is its identifiers' order
            if (!shuffled) {          // the first one answered wrongly and checked
                h.store->answer((s.questions.first().correct + 1) % 4);
                h.store->reveal();
            }
            h.store->leave();
            settle();
        }
        // Back on Browse, the wrong answer shows in the list and "Missed before" finds exactly that question.
        auto* list = h.visible<QTreeView>(u"browseResults"_s);
        QCOMPARE(list->model()->index(0, 2).data().toString(), u"0 of 1 right · last wrong"_s);
        h.visible<QCheckBox>(u"missedBefore"_s)->setChecked(true);
        QCOMPARE(ids(view->found()), QStringList{found.first()});
        h.visible<QCheckBox>(u"missedBefore"_s)->setChecked(false);
        // Down in the search field walks the list; the subelement picker narrows what was found.
        QTest::keyClick(field, Qt::Key_Down);
        QCOMPARE(QString(view->selected() + u' ' + h.shown({u"browsePrompt"_s})),
                 QString(found.at(1) + u' ' + view->found().at(1).prompt));
        auto* subelements = h.visible<QComboBox>(u"browseSubelement"_s);
        const int e5 = subelements->findData(u"E5"_s);
        subelements->setCurrentIndex(e5);
        emit subelements->activated(e5);
        const QStringList inE5 = ids(view->found());
        QVERIFY(!inE5.isEmpty() && inE5.size() < found.size());
        QCOMPARE(inE5, found.filter(QRegularExpression(u"^E5"_s)));
        // Another learner sees their own records and bookmarks at once.
        h.store->select(h.store->saved().profiles.first().id); // Guest
        settle();
        QCOMPARE(list->model()->index(0, 2).data().toString(), u"Not studied"_s);
        h.visible<QCheckBox>(u"bookmarkedOnly"_s)->setChecked(true);
        QVERIFY(view->found().isEmpty() && !h.visible<QPushButton>(u"practiseThese"_s)->isEnabled());
        QCOMPARE(h.shown({u"browseCount"_s}), u"No questions match."_s);
        Theme::apply(*qApp, Theme::Scheme::dark);
        screenshot(*h.root, u"dark-browse"_s);
        Theme::apply(*qApp, Theme::Scheme::light);
    }

    void dueCountsAndPredictions()
    {
        // Three of Anna's Technician questions are long due; she has never answered an Extra question.
        Saved saved = Saved::initial();
        saved.profiles << Profile{QUuid::createUuid(), u"Anna"_s, {}};
        saved.selected = saved.profiles.last().id;
        for (const char* id : {"T1A01", "T1B01", "T2C01"})
            saved.stats.insert(statKey(*saved.selected, u"tech-test"_s, QString::fromLatin1(id)),
                               Stat{1, 0, false, 1, 7, -86400, 600});
        Harness h(m_pack, {{u"progress.json"_s, saved.toBytes()}});
        QCOMPARE(texts(h.visible(u"poolCard-tech-test"_s), {u"dueCount"_s}) + u" / "_s +
                     texts(h.visible(u"poolCard-extra-test"_s), {u"dueCount"_s}),
                 u"3 due for review / -"_s);
        // A window made now shows them the moment it is shown, before the launch checks save anything.
        {
            RootView fresh(*h.store);
            fresh.show();
            const auto cards = fresh.findChildren<QWidget*>(u"poolCard-tech-test"_s);
            const auto card = std::find_if(cards.cbegin(), cards.cend(), [](QWidget* w) { return w->isVisible(); });
            QVERIFY(card != cards.cend());
            QCOMPARE(texts(*card, {u"dueCount"_s}), u"3 due for review"_s);
        }
        h.root->setTab(u"Progress"_s);
        QCOMPARE(texts(h.visible(u"progressPool-extra-test"_s), {u"prediction"_s}),
                 u"Predicted score 12.5 of 50 · pass chance 0 %"_s);
    }

    void recordsThroughTheSections()
    {
        Harness h(m_pack, {{u"progress.json"_s, m_recorded.toBytes()}});
        h.root->setTab(u"Top 10"_s);
        const auto boards = [&h]() -> QString {
            return texts(h.visible(u"board-tech-test"_s),
                         {u"boardEmpty"_s, u"entry1-rank"_s, u"entry1-name"_s, u"entry1-score"_s, u"entry1-time"_s,
                          u"entry2-name"_s, u"entry2-time"_s, u"entry3-name"_s}) +
                   u" / "_s + texts(h.visible(u"board-extra-test"_s), {u"boardEmpty"_s, u"entry1-score"_s});
        };
        // Ben's 31 beats Anna's 30, and Anna's faster 30 is her one entry; a code is trimmed and read in capitals.
        QCOMPARE(boards(), u"- | 1 | Ben | 31/35 | 00:40:00 | Anna | 00:15:00 | - / - | 12/50"_s);
        screenshot(*h.root, u"top10"_s);
        QTest::keyClicks(h.visible<QLineEdit>(u"challengeCode"_s), u"  club7 "_s);
        QCOMPARE(boards(), u"- | 1 | Anna | 27/35 | 00:11:40 | - | - | - / No qualifying attempts yet. | -"_s);

        h.root->setTab(u"History"_s);
        const auto rows = h.root->findChildren<QPushButton*>(u"historyRow"_s);
        QStringList shown;
        for (QPushButton* row : rows)
            shown << texts(row, {u"historyTitle"_s, u"historyScore"_s});
        QCOMPARE(shown.join(u" / "_s),
                 u"Amateur Extra · Exam | 12/50 · 01:02:05 / Technician · Exam | 10/35 · 00:05:00 "
                 u"/ Technician · Club Challenge | 27/35 · 00:11:40 / Technician · Exam | 30/35 · "
                 u"00:15:00 / Technician · Exam | 30/35 · 00:20:00"_s);
        // Above the list, the trend of the five attempts, oldest first.
        QCOMPARE(h.visible<ScoreChart>(u"historyScores"_s)->description().section(u"; "_s, 0, 0).section(u": "_s, 1),
                 u"30/35"_s);
        QCOMPARE(h.visible<ScoreChart>(u"historyScores"_s)->description().count(u"; "_s), 4);
        screenshot(*h.root, u"history"_s);
        // Readiness and the score chart follow Anna's fresh exams of each pool: not her club challenge, not Ben's.
        h.root->setTab(u"Progress"_s);
        QCOMPARE(QString(texts(h.visible(u"progressPool-tech-test"_s), {u"readiness"_s}) + u" / "_s +
                         texts(h.visible(u"progressPool-extra-test"_s), {u"readiness"_s})),
                 u"Recent fresh exams: 2/3 passed. Keep practising for consistency. / Recent fresh exams: 0/1 passed. "
                 u"Keep practising for consistency."_s);
        const QString scores = h.visible(u"progressPool-tech-test"_s)->findChild<ScoreChart*>()->description();
        QVERIFY2(scores.count(u"/35"_s) == 4 && scores.endsWith(u". Pass mark 26/35"_s), qPrintable(scores));
        // Each subelement's bar tells its figures in its tooltip and to assistive tools.
        auto* chart = h.visible(u"progressPool-extra-test"_s)->findChild<SubelementChart*>();
        QAccessibleInterface* node = QAccessible::queryAccessibleInterface(chart);
        QCOMPARE(node->childCount(), 2);
        qint64 answers = 0; // Anna answered 12 questions of her Extra exam, all right
        for (int i = 0; i < 2; ++i) {
            const SubelementBar& bar = chart->bars().at(i);
            QAccessibleInterface* item = node->child(i);
            QCOMPARE(item->text(QAccessible::Name), u"E%1 "_s.arg(i + 1) + bar.title);
            QCOMPARE(item->text(QAccessible::Description), bar.description());
            QVERIFY(bar.attempts == 0 || bar.description().contains(u": 100% correct, "_s));
            // The item covers its bar, and the bar's tooltip is found under it.
            const QRect row = chart->rowRect(i);
            QCOMPARE(item->rect(), QRect(chart->mapToGlobal(row.topLeft()), row.size()));
            QCOMPARE(chart->rowAt(row.center()), i);
            QCOMPARE(node->childAt(item->rect().center().x(), item->rect().center().y()), item);
            answers += bar.attempts;
        }
        QCOMPARE(answers, 12);
        screenshot(*h.root, u"progress-charts"_s);
        // At the smallest window, in the dark scheme, every chart keeps the room its texts and lines need.
        h.root->resize(h.root->minimumSize());
        Theme::apply(*qApp, Theme::Scheme::dark);
        screenshot(*h.root, u"dark-progress-charts-small"_s);
        const auto charts = h.root->findChildren<QWidget*>(QRegularExpression(u"^(subelementChart|examScores)$"_s));
        QCOMPARE(charts.size(), 4); // two pools with bars, two with fresh exams
        for (QWidget* chart : charts)
            QVERIFY2(chart->width() >= chart->minimumSizeHint().width(), qPrintable(chart->objectName()));
        Theme::apply(*qApp, Theme::Scheme::light);
        h.root->resize(1200, 860);
        QTest::mouseClick(rows.at(2), Qt::LeftButton); // opens that result
        QCOMPARE(QString(h.store->result()->session.mode + h.body()), u"Club ChallengeresultView"_s);
        h.store->setResult(std::nullopt);

        // A name of spaces adds nobody.
        h.root->setTab(u"Profiles"_s);
        type(h.visible<QLineEdit>(u"newProfileName"_s), u"   "_s);
        QVERIFY(!h.visible(u"addProfile"_s)->isEnabled());
        const auto buttons = [&]() -> QString {
            QStringList shown;
            for (QWidget* row : h.root->findChildren<QWidget*>(QRegularExpression(u"^profileRow-"_s)))
                shown << texts(row, {u"profileName"_s}) + u' ' + row->findChild<QPushButton*>()->text();
            return h.store->profile().name + u": "_s + shown.join(u", "_s);
        };
        QCOMPARE(buttons(), u"Anna: Guest Select, Anna Selected, Ben Select"_s);
        screenshot(*h.root, u"profiles"_s);
        h.click(u"clearAllData"_s); // (cancelling a confirmation is the saved sessions' case)
        h.confirm(u"Clear All Data"_s, u"Clear All Data for Everyone?"_s,
                  u"This permanently removes every learner profile, score, saved session, bookmark and progress record "
                  u"on this computer, including recovery copies. It resets text size and starts again with Guest. "
                  u"Question pools and any reports you exported elsewhere are kept. This cannot be undone."_s);
        // Afterwards Guest is the only learner and every screen shows its empty state.
        QCOMPARE(buttons(), u"Guest: Guest Selected"_s);
        QString empty;
        for (const char* section : {"History", "Top 10", "Progress"}) {
            h.root->setTab(QString::fromUtf8(section));
            empty += h.shown({u"historyEmpty"_s, u"boardEmpty"_s, u"readiness"_s}) + u" / "_s;
        }
        QVERIFY(!h.visible(u"examScores"_s)); // the score chart waits for the first fresh exam
        QCOMPARE(empty,
                 u"Your completed attempts will appear here. | - | - / - | No qualifying attempts yet. | - / - | "
                 u"- | Take a fresh exam to begin tracking readiness. / "_s);
    }

    void sampleDiagramReviewAndHelp()
    {
        Harness h;
        h.root->setTab(u"Updates"_s);
        QVERIFY(!h.visible(u"reviewDiagrams"_s)); // only while a review is pending
        h.click(u"testDiagramReview"_s);
        auto* sheet = h.root->findChild<DiagramReviewView*>();
        QCOMPARE(texts(sheet, {u"reviewTitle"_s, u"sampleNote"_s, u"reviewProgress"_s}),
                 u"Test Diagram Review | Sample sheet only — your question pools and progress will not change. | 0 "
                 u"of 4 figures reviewed"_s);
        QVERIFY(!h.visible(u"confirmReview"_s)->isEnabled()); // until every figure has its crop
        // Photographed without the layout check: the sheet opens lower than its wrapped texts need, so the sheet
        // frame and "Use Selection" overlap (a known defect, visible in the picture).
        screenshot(*sheet, u"diagram-review"_s, false);
        // Without the application's resources the help explains instead of showing nothing.
        Q_CLEANUP_RESOURCE(builtin);
        HelpView missing(*h.store);
        QCOMPARE(texts(&missing, {u"userGuide"_s}), u"The user guide could not be loaded."_s);
        Q_INIT_RESOURCE(builtin);
    }
};

AEROWEN_TEST(ScreensTest)
AEROWEN_TEST_PROGRAM(QApplication)
#include "TestScreens.moc"
