// Renders every screen to PNG files in the build tree so that their look can be checked by eye.
#include "UiHarness.h"
#include "support/TestEnvironment.h"
#include "ui/DiagramView.h"
#include "ui/ExamView.h"
#include "ui/Theme.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QTest>

class ScreenshotsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { installFakeUpdater(); }

    void rendersEveryScreen()
    {
        Harness h;
        // A second learner and a saved session make the Learn screen show all of its parts.
        h.store().addProfile(QStringLiteral("Ada"));
        const Pool pool = h.store().studyPools().first();
        h.store().begin(pool, QStringLiteral("Weak Topics"), QStringLiteral("Ada"), true, QString());
        h.store().answer(1);
        h.now += 312;
        h.store().leave();
        Harness::settle();
        screenshot(h.root(), QStringLiteral("learn"));

        // A question with an official figure, answered.
        QList<Question> figured;
        for (const Question& q : pool.questions) {
            if (h.store().diagramFile(q) && figured.size() < 3)
                figured.append(q);
        }
        QVERIFY(!figured.isEmpty());
        h.store().begin(pool, QStringLiteral("Study All"), QStringLiteral("Ada"), false, QString(), figured);
        h.store().answer(figured.first().correct);
        h.now += 95;
        h.root().resize(1200, 1180);
        Harness::settle();
        QTest::qWait(1100);
        screenshot(h.root(), QStringLiteral("question"));
        h.store().reveal();
        Harness::settle();
        screenshot(h.root(), QStringLiteral("question-revealed"));

        auto* figure = h.visible<QAbstractButton>(QStringLiteral("figure"));
        QVERIFY(figure);
        QCOMPARE(figure->accessibleName(),
                 QStringLiteral("Enlarge official diagram for ") + h.store().session()->questions.first().id);
        QVERIFY(figure->width() <= 560 + 16 && figure->height() <= 340 + 16);
        h.click(QStringLiteral("figure"));
        auto* viewer = h.root().findChild<DiagramView*>(QStringLiteral("diagramView"));
        QVERIFY(viewer);
        QTRY_VERIFY(viewer->isVisible());
        QVERIFY(!h.root().findChild<ExamView*>()->enlarged()->isEmpty());
        QWidget* image = viewer->findChild<QWidget*>(QStringLiteral("diagramFigure"));
        QCOMPARE(image->width(), 760);
        screenshot(*viewer, QStringLiteral("diagram"));
        viewer->setZoom(2.0);
        QCOMPARE(viewer->zoom(), 2.0);
        QCOMPARE(image->width(), 1520);
        viewer->findChild<QAbstractButton*>(QStringLiteral("diagramDone"))->click();
        Harness::settle();
        QVERIFY(!h.root().findChild<ExamView*>()->enlarged());
        h.store().leave();
        Harness::settle();

        // A finished exam with a few answers.
        h.root().resize(1200, 860);
        h.store().begin(pool, QStringLiteral("Exam"), QStringLiteral("Ada"), true, QString());
        const Session exam = *h.store().session();
        for (qsizetype i = 0; i < exam.questions.size(); ++i) {
            h.store().move(i);
            h.store().answer(i % 5 == 0 ? (exam.questions[i].correct + 1) % 4 : exam.questions[i].correct);
        }
        h.now += 1520;
        h.store().finish();
        Harness::settle();
        screenshot(h.root(), QStringLiteral("result"));

        // The result screen opens the same viewer for a question with a figure.
        h.store().setResult(std::nullopt);
        h.store().begin(pool, QStringLiteral("Study All"), QStringLiteral("Ada"), false, QString(), figured);
        h.store().finish();
        Harness::settle();
        h.click(QStringLiteral("viewDiagram"));
        auto* fromResult = h.root().findChild<DiagramView*>(QStringLiteral("diagramView"));
        QVERIFY(fromResult);
        QTRY_VERIFY(fromResult->isVisible());
        fromResult->findChild<QAbstractButton*>(QStringLiteral("diagramDone"))->click();
        Harness::settle();
        QVERIFY(!h.root().findChild<DiagramView*>(QStringLiteral("diagramView")));

        // The other sections, now with Ada's attempts in the boards, history and progress.
        h.store().setResult(std::nullopt);
        for (const QString& section : RootView::sections().mid(1)) {
            h.root().setTab(section);
            screenshot(h.root(), section.toLower().remove(QLatin1Char(' ')));
        }
    }
};

AEROWEN_TEST_MAIN(ScreenshotsTest, QApplication)
#include "tst_Screenshots.moc"
