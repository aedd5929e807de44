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
        QTest::newRow("guest pass") << "Exam"
                                    << "Guest" << 30 << true << "Passed" << guest;
        QTest::newRow("guest fail") << "Exam"
                                    << "guest" << 10 << true << "Keep Practising" << guest;
        QTest::newRow("eligible pass at the mark") << "Exam"
                                                   << "Ada" << 26 << true << "Passed" << ranked;
        QTest::newRow("one below the mark") << "Exam"
                                            << "Ada" << 25 << true << "Keep Practising" << ranked;
        QTest::newRow("resumed exam") << "Exam"
                                      << "Ada" << 30 << false << "Passed" << interrupted;
        QTest::newRow("club challenge") << "Club Challenge"
                                        << "Ada" << 30 << true << "Passed" << ranked;
        QTest::newRow("practice") << "Study All"
                                  << "Ada" << 30 << true << "Practice Complete" << QString();
        QTest::newRow("guest practice") << "Weak Topics"
                                        << "Guest" << 3 << true << "Practice Complete" << guest;
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
        const Result r = attempt(mode, name, 35, right, 2, eligible);
        ResultView view(h.store(), r);
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
        const Result r = attempt(QStringLiteral("Exam"), QStringLiteral("Ada"), 35, 28, 0);
        ResultView view(h.store(), r);
        QCOMPARE(view.findChild<QLabel*>(QStringLiteral("score"))->text(), QStringLiteral("28/35"));
        QCOMPARE(view.findChild<QLabel*>(QStringLiteral("percentage"))->text(), QStringLiteral("80.0%"));
        QCOMPARE(view.findChild<QLabel*>(QStringLiteral("resultTime"))->text(), QStringLiteral("00:12:34"));
        QVERIFY(view.findChild<QLabel*>(QStringLiteral("resultDetail"))
                    ->text()
                    .startsWith(QStringLiteral("Pool tech-test · ")));
    }

    void listShowsOnlyTheWrongOnesUntilSwitchedOff()
    {
        Harness h;
        const Result r = attempt(QStringLiteral("Exam"), QStringLiteral("Ada"), 35, 30, 2);
        ResultView view(h.store(), r);
        view.show();
        auto cards = [&view] {
            Harness::settle();
            return view.findChildren<QFrame*>(QRegularExpression(QStringLiteral("^resultQuestion-"))).size();
        };
        QCOMPARE(cards(), 5);
        const Question blank = r.session.questions.last();
        auto* blankCard = view.findChild<QFrame*>(QStringLiteral("resultQuestion-") + blank.id);
        QCOMPARE(blankCard->findChild<QLabel*>(QStringLiteral("yours"))->text(),
                 QStringLiteral("Your answer: Unanswered"));
        QCOMPARE(blankCard->findChild<QLabel*>(QStringLiteral("correct"))->text(),
                 QStringLiteral("Correct answer: ") + blank.answers[blank.correct]);
        QCOMPARE(blankCard->findChild<QLabel*>(QStringLiteral("headline"))->text(),
                 blank.id + QStringLiteral(" · ") + blank.prompt);
        view.findChild<QCheckBox*>(QStringLiteral("onlyWrong"))->setChecked(false);
        QCOMPARE(cards(), 35);
        QVERIFY(view.findChild<QPushButton*>(QStringLiteral("practiseIncorrect"))->isEnabled());
    }

    void perfectAttemptHasNothingToPractise()
    {
        Harness h;
        const Result r = attempt(QStringLiteral("Exam"), QStringLiteral("Ada"), 35, 35, 0);
        ResultView view(h.store(), r);
        view.show();
        Harness::settle();
        QVERIFY(!view.findChild<QPushButton*>(QStringLiteral("practiseIncorrect"))->isEnabled());
        QCOMPARE(view.findChild<QLabel*>(QStringLiteral("noIncorrectText"))->text(),
                 QStringLiteral("No incorrect answers. Well done!"));
        view.findChild<QCheckBox*>(QStringLiteral("onlyWrong"))->setChecked(false);
        Harness::settle();
        QVERIFY(!view.findChild<QWidget*>(QStringLiteral("noIncorrect")));
        QCOMPARE(view.findChildren<QFrame*>(QRegularExpression(QStringLiteral("^resultQuestion-"))).size(), 35);
    }

    void bookmarkButtonTogglesTheQuestion()
    {
        Harness h;
        const Result r = attempt(QStringLiteral("Exam"), QStringLiteral("Ada"), 35, 34, 0);
        h.store().addProfile(QStringLiteral("Ada"));
        ResultView view(h.store(), r);
        view.show();
        const Question wrong = r.session.questions.last();
        auto* card = view.findChild<QFrame*>(QStringLiteral("resultQuestion-") + wrong.id);
        auto* bookmark = card->findChild<QPushButton*>(QStringLiteral("bookmark"));
        QTest::mouseClick(bookmark, Qt::LeftButton);
        QVERIFY(h.store().saved().bookmarks.contains(h.store().key(r.session.pool, wrong)));
        QCOMPARE(bookmark->property("bookmarked").toBool(), true);
        QTest::mouseClick(bookmark, Qt::LeftButton);
        QVERIFY(!h.store().saved().bookmarks.contains(h.store().key(r.session.pool, wrong)));
        QCOMPARE(bookmark->property("bookmarked").toBool(), false);
    }

    void printDocumentIsTheReportAtPrintSize()
    {
        const Result r = attempt(QStringLiteral("Exam"), QStringLiteral("Ada"), 35, 20, 5);
        const auto document = ResultView::printDocument(r);
        QCOMPARE(document->toPlainText(), resultPrintText(r));
        QCOMPARE(document->textWidth(), 540.0);
        QCOMPARE(document->defaultFont().pointSizeF(), 12.0);
        QVERIFY(document->property("printHeight").toDouble() >= 700.0);
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
