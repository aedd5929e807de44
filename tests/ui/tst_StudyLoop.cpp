// Drives the real screens through a practice exam: start, answer by key, leave, resume, finish, export, mistakes.
#include "UiHarness.h"
#include "store/ResultText.h"
#include "store/Settings.h"
#include "support/Fixtures.h"
#include "support/TestEnvironment.h"
#include "ui/CardButton.h"
#include "ui/ExamView.h"
#include "ui/LearnView.h"
#include "ui/ResultView.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QSlider>
#include <QTest>

class StudyLoopTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { installFakeUpdater(); }

    void examRoundTripThroughEveryScreen()
    {
        Harness h;
        h.startFromLearn(QStringLiteral("Exam"), QStringLiteral("Ada"));
        QVERIFY(h.store().session());
        QCOMPARE(h.store().profile().name, QStringLiteral("Ada"));
        QCOMPARE(h.root().currentBody()->objectName(), QStringLiteral("examView"));
        const Session started = *h.store().session();
        QCOMPARE(started.questions.size(), 35);
        QCOMPARE(h.visible<QLabel>(QStringLiteral("examTitle"))->text(), started.pool.name + QStringLiteral(" · Exam"));
        QCOMPARE(h.visible<QLabel>(QStringLiteral("examPosition"))->text(), QStringLiteral("Ada · Question 1 of 35"));
        QVERIFY(!h.find<QComboBox>(QStringLiteral("profilePicker"))->isEnabled());
        // Exams never offer "Check Answer".
        QVERIFY(!h.visible<QPushButton>(QStringLiteral("checkAnswer")));

        h.key(Qt::Key_A);
        h.key(Qt::Key_Left); // nothing before the first question
        QCOMPARE(h.store().session()->index, 0);
        h.key(Qt::Key_Right);
        QCOMPARE(h.store().session()->index, 1);
        h.key(Qt::Key_Left);
        QCOMPARE(h.store().session()->index, 0);
        h.click(QStringLiteral("next"));
        h.key(Qt::Key_C);
        const Session& s = *h.store().session();
        QCOMPARE(s.answers.value(s.questions[0].id, -1), 0);
        QCOMPARE(s.answers.value(s.questions[1].id, -1), 2);
        // Answers stay changeable in an exam.
        h.key(Qt::Key_D);
        QCOMPARE(h.store().session()->answers.value(s.questions[1].id, -1), 3);
        QCOMPARE(h.visible<QLabel>(QStringLiteral("counts"))->text(), QStringLiteral("0 flagged · 33 unanswered"));

        QCOMPARE(h.visible<QPushButton>(QStringLiteral("leave"))->accessibleName(), QStringLiteral("Save & Leave"));
        h.click(QStringLiteral("leave"));
        h.confirm(QStringLiteral("Save and leave?"),
                  QStringLiteral("Your answers will be saved, but this attempt will no longer qualify for the top 10."),
                  QStringLiteral("Save & Leave"));
        QVERIFY(!h.store().session());
        QCOMPARE(h.root().currentBody()->objectName(), QStringLiteral("sectionsPage"));

        QWidget* row =
            h.visible<QWidget>(QStringLiteral("savedSession-") + started.id.toString(QUuid::WithoutBraces).toUpper());
        QVERIFY(row);
        QVERIFY(h.find<QWidget>(QStringLiteral("savedSessions"))->isVisible());
        auto* resume = row->findChild<QPushButton*>(QStringLiteral("resume"));
        QTest::mouseClick(resume, Qt::LeftButton);
        Harness::settle();
        QVERIFY(h.store().session());
        QCOMPARE(h.store().session()->answers.size(), 2);
        QCOMPARE(h.root().currentBody()->objectName(), QStringLiteral("examView"));

        h.now += 125;
        h.click(QStringLiteral("finish"));
        h.confirm(
            QStringLiteral("Submit this attempt?"),
            QStringLiteral("33 unanswered questions will be counted as incorrect. Your timer stops on submission."),
            QStringLiteral("Submit"));
        QVERIFY(!h.store().session());
        QVERIFY(h.store().result());
        QCOMPARE(h.root().currentBody()->objectName(), QStringLiteral("resultView"));
        QCOMPARE(h.visible<QLabel>(QStringLiteral("resultTitle"))->text(), QStringLiteral("Keep Practising"));
        QCOMPARE(h.visible<QLabel>(QStringLiteral("standing"))->text(),
                 QStringLiteral("Practice result — excluded from rankings because it was interrupted."));
        QVERIFY(h.visible<QCheckBox>(QStringLiteral("onlyWrong"))->isChecked());

        // Export through a save panel that answers with a temporary file.
        const Result result = *h.store().result();
        const QString target = h.folder() + QStringLiteral("/exported.txt");
        QString proposed;
        h.store().setSavePanel([&](const QString& name) -> std::optional<QString> {
            proposed = name;
            return target;
        });
        h.click(QStringLiteral("exportResult"));
        QCOMPARE(proposed, QStringLiteral("Aerowen-Result.txt"));
        QCOMPARE(QString::fromUtf8(Fixtures::readFile(target)), resultExportText(result));
        QVERIFY(h.store().message().isEmpty());

        const QList<Question> wrong = ResultView::wrongQuestions(result);
        QVERIFY(wrong.size() >= 33);
        h.click(QStringLiteral("practiseIncorrect"));
        QVERIFY(h.store().session());
        QCOMPARE(h.store().session()->mode, QStringLiteral("Mistakes"));
        QCOMPARE(h.store().session()->name, QStringLiteral("Ada"));
        QCOMPARE(h.store().session()->questions.size(), wrong.size());
        QCOMPARE(h.root().currentBody()->objectName(), QStringLiteral("examView"));
    }

    void practiceRevealLocksTheAnswers()
    {
        Harness h;
        h.startFromLearn(QStringLiteral("Study All"), QStringLiteral("Guest"));
        QVERIFY(h.store().session());
        QVERIFY(h.store().session()->isGuest());
        auto* check = h.visible<QPushButton>(QStringLiteral("checkAnswer"));
        QVERIFY(check);
        QVERIFY(!check->isEnabled());

        const Question q = h.store().session()->questions.first();
        const qint64 wrong = (q.correct + 1) % q.answers.size();
        h.key(Qt::Key(Qt::Key_A + wrong));
        QVERIFY(check->isEnabled());
        h.click(QStringLiteral("checkAnswer"));
        QVERIFY(h.store().session()->revealed.contains(q.id));
        QVERIFY(!h.visible<QPushButton>(QStringLiteral("checkAnswer")));
        auto* line = h.visible<QLabel>(QStringLiteral("revealedText"));
        QVERIFY(line);
        QCOMPARE(line->text(), QStringLiteral("Correct answer: ") + QChar(char16_t(65 + q.correct)) +
                                   QStringLiteral(". ") + q.answers[q.correct]);
        for (int i = 0; i < q.answers.size(); ++i)
            QVERIFY(!h.visible<CardButton>(QStringLiteral("answer-") + QString::number(i))->isEnabled());
        // The keys do nothing on a revealed question.
        h.key(Qt::Key(Qt::Key_A + q.correct));
        QCOMPARE(h.store().session()->answers.value(q.id), wrong);

        h.click(QStringLiteral("leave"));
        // "Continue" keeps the session; the flag is reset so the alert can open again.
        h.confirm(QStringLiteral("Leave this Guest attempt?"),
                  QStringLiteral("Guest answers and scores are not saved. Leaving ends this attempt."),
                  QStringLiteral("Continue"));
        QVERIFY(h.store().session());
        h.click(QStringLiteral("leave"));
        QVERIFY(h.answerBox(QStringLiteral("Leave")));
        QVERIFY(!h.store().session());
        QVERIFY(h.store().savedSessions().isEmpty());
        QVERIFY(!h.visible<QWidget>(QStringLiteral("savedSessions")));
    }

    void navigationFollowsThePosition()
    {
        Harness h;
        Pool pool = h.store().studyPools().first();
        const QList<Question> two = pool.questions.mid(0, 2);
        h.store().begin(pool, QStringLiteral("Study All"), QStringLiteral("Ada"), false, QString(), two);
        Harness::settle();
        auto* previous = h.visible<QPushButton>(QStringLiteral("previous"));
        auto* next = h.visible<QPushButton>(QStringLiteral("next"));
        QVERIFY(!previous->isEnabled());
        QVERIFY(next->isEnabled());
        h.click(QStringLiteral("flag"));
        QCOMPARE(h.visible<QPushButton>(QStringLiteral("flag"))->text(), QStringLiteral("Flagged"));
        auto* menu = h.find<QMenu>(QStringLiteral("jumpMenu"));
        const QList<QAction*> entries = menu->actions();
        QCOMPARE(entries.size(), 2);
        const QString first = h.store().session()->questions[0].id;
        const QString second = h.store().session()->questions[1].id;
        QCOMPARE(entries[0]->text(), QStringLiteral("1. ") + first + QStringLiteral(" ⚑ — unanswered"));
        QCOMPARE(entries[1]->text(), QStringLiteral("2. ") + second + QStringLiteral(" — unanswered"));
        QCOMPARE(h.visible<QLabel>(QStringLiteral("counts"))->text(), QStringLiteral("1 flagged · 2 unanswered"));
        entries[1]->trigger();
        Harness::settle();
        QCOMPARE(h.store().session()->index, 1);
        QVERIFY(previous->isEnabled());
        QVERIFY(!next->isEnabled());
        QCOMPARE(h.visible<QLabel>(QStringLiteral("questionId"))->text(), second);

        h.click(QStringLiteral("bookmark"));
        QVERIFY(h.store().saved().bookmarks.contains(h.store().key(pool, h.store().session()->questions[1])));
        QCOMPARE(h.visible<QPushButton>(QStringLiteral("bookmark"))->text(), QStringLiteral("Bookmarked"));

        // The clock ticks on screen in hours, minutes and seconds.
        h.now += 3725;
        QTest::qWait(1100);
        auto* time = h.visible<QLabel>(QStringLiteral("elapsed"));
        QCOMPARE(time->text(), QStringLiteral("01:02:05"));
        QCOMPARE(time->accessibleName(), QStringLiteral("Elapsed time 01:02:05"));
    }

    void textSizePersistsAcrossScreens()
    {
        Settings::open()->remove(Settings::studyTextSize);
        {
            Harness h;
            h.startFromLearn(QStringLiteral("Study All"), QStringLiteral("Ada"));
            auto* slider = h.visible<QSlider>(QStringLiteral("textSize"));
            QCOMPARE(slider->value(), 18);
            slider->setValue(23);
            QCOMPARE(h.visible<QLabel>(QStringLiteral("prompt"))->font().pointSizeF(), 23.0);
        }
        QCOMPARE(Settings::open()->value(Settings::studyTextSize).toDouble(), 23.0);
        Harness again;
        again.startFromLearn(QStringLiteral("Study All"), QStringLiteral("Ada"));
        QCOMPARE(again.visible<QSlider>(QStringLiteral("textSize"))->value(), 23);
        Settings::open()->remove(Settings::studyTextSize);
    }

    void deletingASavedSessionAsksFirst_data()
    {
        QTest::addColumn<QString>("button");
        QTest::addColumn<bool>("kept");
        QTest::newRow("cancel keeps it") << QStringLiteral("Cancel") << true;
        QTest::newRow("delete removes it") << QStringLiteral("Delete") << false;
    }

    void deletingASavedSessionAsksFirst()
    {
        QFETCH(QString, button);
        QFETCH(bool, kept);
        Harness h;
        h.startFromLearn(QStringLiteral("Weak Topics"), QStringLiteral("Ada"));
        h.click(QStringLiteral("leave"));
        h.confirm(QStringLiteral("Save and leave?"), QStringLiteral("Your place and answers will be saved."),
                  QStringLiteral("Save & Leave"));
        QCOMPARE(h.store().savedSessions().size(), 1);
        h.click(QStringLiteral("delete"));
        h.confirm(QStringLiteral("Delete Saved Session?"),
                  QStringLiteral("This removes the saved attempt and its answers. Completed results and study progress "
                                 "are kept."),
                  button);
        QCOMPARE(h.store().savedSessions().size(), kept ? 1 : 0);
        QCOMPARE(h.visible<QWidget>(QStringLiteral("savedSessions")) != nullptr, kept);
    }
};

AEROWEN_TEST_MAIN(StudyLoopTest, QApplication)
#include "tst_StudyLoop.moc"
