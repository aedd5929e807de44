// A whole exam on the built-in Technician pool, played, finished and found again by a new store.
#include "store/Results.h"
#include "store/Seeded.h"
#include "store/Store.h"
#include "support/Fixtures.h"
#include "support/TestEnvironment.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestWholeExam : public QObject
{
    Q_OBJECT

private slots:
    void finishedExamSurvivesRestart()
    {
        QTemporaryDir storage;
        double now = 0;
        QUuid resultId;
        QUuid anna;
        Pool pool;
        QMap<QString, Stat> stats;
        {
            Store store(Fixtures::sourcePackPath(), storage.path());
            QVERIFY2(store.message().isEmpty(), qPrintable(store.message()));
            store.setClock([&] { return now; });
            const QList<Pool> pools = store.pools();
            QVERIFY(!pools.isEmpty());
            pool = pools.first();
            QCOMPARE(pool.level, u"technician"_s);
            store.addProfile(u"Anna"_s);
            anna = store.profile().id;
            store.begin(pool, u"Exam"_s, u"Anna"_s, true, QString());
            const QList<Question> questions = store.session()->questions;
            QCOMPARE(questions.size(), pool.examCount);
            // Right on all but the last four; the last one left unanswered.
            for (qsizetype i = 0; i < questions.size() - 1; ++i) {
                store.move(i);
                const Question& q = questions.at(i);
                store.answer(i < questions.size() - 4 ? q.correct : (q.correct + 1) % q.answers.size());
                now += 10;
            }
            store.finish();
            QVERIFY(store.message().isEmpty());
            QCOMPARE(store.result()->score(), pool.examCount - 4);
            QCOMPARE(store.result()->passed(), pool.examCount - 4 >= pool.passCount);
            QCOMPARE(store.result()->seconds, 10.0 * double(questions.size() - 1));
            resultId = store.result()->id;
            stats = store.saved().stats;
            QCOMPARE(stats.size(), questions.size() - 1);
        }

        Store again(Fixtures::sourcePackPath(), storage.path());
        QVERIFY2(again.message().isEmpty(), qPrintable(again.message()));
        QCOMPARE(again.profile().id, anna);
        QCOMPARE(again.saved().results.size(), 1);
        const Result& found = again.saved().results.first();
        QCOMPARE(found.id, resultId);
        QVERIFY(found.eligible());
        QCOMPARE(found.session.pool, pool);
        QCOMPARE(found.score(), pool.examCount - 4);
        QCOMPARE(again.saved().stats, stats);
        QVERIFY(again.saved().drafts.isEmpty());
        for (auto it = stats.cbegin(); it != stats.cend(); ++it)
            QVERIFY(it.key().startsWith(statKey(anna, pool.id, QString())));
        const QList<Result> board = leaderboard(again.saved().results, pool.id, QString());
        QCOMPARE(board.size(), 1);
        QCOMPARE(board.first().id, resultId);
        QCOMPARE(history(again.saved().results, anna).size(), 1);
    }
};

AEROWEN_TEST_MAIN(TestWholeExam, QCoreApplication)
#include "TestWholeExam.moc"
