// The result screen: titles, notes, score line, the wrong-question list and the printed document.
#include "UiHarness.h"
#include "store/ResultText.h"
#include "support/Fixtures.h"
#include "support/TestEnvironment.h"
#include "ui/ResultView.h"

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QCheckBox>
#include <QFrame>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QTextDocument>

namespace {

// An attempt over the first `count` questions of a 35-question technician pool, `right` of them answered correctly
// and `blank` left unanswered; the rest are wrong.
Result attempt(const QString& mode, const QString& name, int count, int right, int blank, bool eligible = true)
{
    Session s;
    s.id = QUuid::createUuid();
    s.name = name;
    s.mode = mode;
    s.pool = Fixtures::pool(QStringLiteral("technician"), QStringLiteral("tech-test"), QStringLiteral("2026-07-01"),
                            QStringLiteral("2026-02-19"), 35, 1);
    s.questions = s.pool.questions.mid(0, count);
    s.eligible = eligible;
    for (int i = 0; i < count - blank; ++i) {
        const Question& q = s.questions[i];
        s.answers.insert(q.id, i < right ? q.correct : (q.correct + 1) % 4);
    }
    Result r;
    r.id = QUuid::createUuid();
    r.session = s;
    r.finished = Dates::now();
    r.seconds = 754;
    return r;
}

} // namespace

class ResultViewTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { installFakeUpdater(); }

    void titleAndStandingFollowTheAttempt_data()
    {
        QTest::addColumn<QString>("mode");
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("right");
        QTest::addColumn<bool>("eligible");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("standing");
        const QString guest = QStringLiteral("Guest result — not saved to history, progress or the top 10.");
        const QString ranked = QStringLiteral("Eligible for the local top 10. Score ranks first; time breaks ties.");
        const QString interrupted =
            QStringLiteral("Practice result — excluded from rankings because it was interrupted.");
        const auto row = [](const char* tag, const char* mode, const char* name, int right, bool eligible,
                            const char* title, const QString& standing) {
            QTest::newRow(tag) << QString::fromUtf8(mode) << QString::fromUtf8(name) << right << eligible
                               << QString::fromUtf8(title) << standing;
        };
        row("guest pass", "Exam", "Guest", 30, true, "Passed", guest);
        row("guest fail", "Exam", "guest", 10, true, "Keep Practising", guest);
        row("eligible pass at the mark", "Exam", "Ada", 26, true, "Passed", ranked);
        row("one below the mark", "Exam", "Ada", 25, true, "Keep Practising", ranked);
        row("resumed exam", "Exam", "Ada", 30, false, "Passed", interrupted);
        row("club challenge", "Club Challenge", "Ada", 30, true, "Passed", ranked);
        row("practice", "Study All", "Ada", 30, true, "Practice Complete", QString());
        row("guest practice", "Weak Topics", "Guest", 3, true, "Practice Complete", guest);
    }

    void titleAndStandingFollowTheAttempt()
    {
        QFETCH(QString, mode);
        QFETCH(QString, name);
        QFETCH(int, right);
        QFETCH(bool, eligible);
        QFETCH(QString, title);
        QFETCH(QString, standing);
        Harness h;
        ResultView view(h.store(), attempt(mode, name, 35, right, 2, eligible));
        view.show();
        QCOMPARE(view.findChild<QLabel*>(QStringLiteral("resultTitle"))->text(), title);
        auto* note = view.findChild<QLabel*>(QStringLiteral("standing"));
        QCOMPARE(note->isVisible(), !standing.isEmpty());
        if (!standing.isEmpty())
            QCOMPARE(note->text(), standing);
    }

    void scoreLineShowsScorePercentAndTime()
    {
        Harness h;
        ResultView view(h.store(), attempt(QStringLiteral("Exam"), QStringLiteral("Ada"), 35, 28, 0));
        QCOMPARE(view.findChild<QLabel*>(QStringLiteral("score"))->text(), QStringLiteral("28/35"));
        QCOMPARE(view.findChild<QLabel*>(QStringLiteral("percentage"))->text(), QStringLiteral("80.0%"));
        QCOMPARE(view.findChild<QLabel*>(QStringLiteral("resultTime"))->text(), QStringLiteral("00:12:34"));
        QVERIFY(view.findChild<QLabel*>(QStringLiteral("resultDetail"))
                    ->text()
                    .startsWith(QStringLiteral("Pool tech-test · ")));
    }

    void listShowsOnlyTheWrongOnesUntilSwitchedOff_data()
    {
        QTest::addColumn<int>("right");
        QTest::addColumn<int>("blank");
        QTest::newRow("three wrong, two blank") << 30 << 2;
        QTest::newRow("perfect attempt") << 35 << 0;
    }

    void listShowsOnlyTheWrongOnesUntilSwitchedOff()
    {
        QFETCH(int, right);
        QFETCH(int, blank);
        Harness h;
        h.store().addProfile(QStringLiteral("Ada"));
        const Result r = attempt(QStringLiteral("Exam"), QStringLiteral("Ada"), 35, right, blank);
        ResultView view(h.store(), r);
        view.show();
        auto cards = [&view] {
            Harness::settle();
            return view.findChildren<QFrame*>(QRegularExpression(QStringLiteral("^resultQuestion-"))).size();
        };
        const bool perfect = right == 35;
        QCOMPARE(cards(), 35 - right);
        QCOMPARE(view.findChild<QPushButton*>(QStringLiteral("practiseIncorrect"))->isEnabled(), !perfect);
        if (perfect) {
            QCOMPARE(view.findChild<QLabel*>(QStringLiteral("noIncorrectText"))->text(),
                     QStringLiteral("No incorrect answers. Well done!"));
        } else {
            const Question last = r.session.questions.last();
            auto* card = view.findChild<QFrame*>(QStringLiteral("resultQuestion-") + last.id);
            QCOMPARE(card->findChild<QLabel*>(QStringLiteral("yours"))->text(),
                     QStringLiteral("Your answer: Unanswered"));
            QCOMPARE(card->findChild<QLabel*>(QStringLiteral("correct"))->text(),
                     QStringLiteral("Correct answer: ") + last.answers[last.correct]);
            QCOMPARE(card->findChild<QLabel*>(QStringLiteral("headline"))->text(),
                     last.id + QStringLiteral(" · ") + last.prompt);
            // Its bookmark button marks and unmarks the question for the learner.
            auto* bookmark = card->findChild<QPushButton*>(QStringLiteral("bookmark"));
            for (const bool marked : {true, false}) {
                QTest::mouseClick(bookmark, Qt::LeftButton);
                QCOMPARE(h.store().saved().bookmarks.contains(h.store().key(r.session.pool, last)), marked);
                QCOMPARE(bookmark->property("bookmarked").toBool(), marked);
            }
        }
        view.findChild<QCheckBox*>(QStringLiteral("onlyWrong"))->setChecked(false);
        QCOMPARE(cards(), 35);
        QVERIFY(!view.findChild<QWidget*>(QStringLiteral("noIncorrect")));
    }

    void printDocumentIsTheReportAtPrintSize()
    {
        const Result r = attempt(QStringLiteral("Exam"), QStringLiteral("Ada"), 35, 20, 5);
        const auto document = ResultView::printDocument(r);
        QCOMPARE(document->toPlainText(), resultPrintText(r));
        QVERIFY(document->property("printHeight").toDouble() >= document->documentLayout()->documentSize().height());
    }

    void doneReturnsToTheSectionBefore()
    {
        Harness h;
        h.root().setTab(QStringLiteral("History"));
        const Pool pool = h.store().studyPools().first();
        h.store().begin(pool, QStringLiteral("Study All"), QStringLiteral("Ada"), false, QString(),
                        pool.questions.mid(0, 3));
        Harness::settle();
        h.click(QStringLiteral("finish"));
        QVERIFY(h.answerBox(QStringLiteral("Submit")));
        QCOMPARE(h.root().currentBody()->objectName(), QStringLiteral("resultView"));
        QCOMPARE(h.visible<QLabel>(QStringLiteral("resultTitle"))->text(), QStringLiteral("Practice Complete"));
        h.click(QStringLiteral("resultDone"));
        QVERIFY(!h.store().result());
        QCOMPARE(h.root().currentBody()->objectName(), QStringLiteral("sectionsPage"));
        QCOMPARE(h.root().tab(), QStringLiteral("History"));
    }
};

AEROWEN_TEST_MAIN(ResultViewTest, QApplication)
#include "tst_ResultView.moc"
