// Playing a session: answers, checks, statistics, drafts, timing, eligibility and finishing.
#include "store/Seeded.h"
#include "store/Store.h"
#include "support/Fixtures.h"
#include "support/TestEnvironment.h"

#include <QTest>

namespace {

// The index of a wrong answer of the question.
qint64 wrong(const Question& q)
{
    return (q.correct + 1) % 4;
}

} // namespace

class TestPlay : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QString m_packPath;
    Pack m_pack;
    std::unique_ptr<QTemporaryDir> m_storage;
    double m_now = 5000;

    std::unique_ptr<Store> openStore()
    {
        auto store = std::make_unique<Store>(m_packPath, m_storage->path());
        store->setClock([this] { return m_now; });
        return store;
    }

    std::unique_ptr<Store> freshStore()
    {
        m_storage = std::make_unique<QTemporaryDir>();
        auto store = openStore();
        store->addProfile(QStringLiteral("Anna"));
        return store;
    }

    const Pool& tech() const { return m_pack.pools.at(0); }
    const Pool& extra() const { return m_pack.pools.at(2); }

    QString annaKey(const Store& store, const QString& question) const
    {
        return statKey(store.profile().id, tech().id, question);
    }

    Saved onDisk() const
    {
        return Saved::fromBytes(Fixtures::readFile(m_storage->filePath(QStringLiteral("progress.json"))));
    }

    void practice(Store& store, const QStringList& ids)
    {
        QList<Question> subset;
        for (const QString& id : ids) {
            for (const Question& q : tech().questions) {
                if (q.id == id)
                    subset.append(q);
            }
        }
        store.begin(tech(), QStringLiteral("Study All"), store.profile().name, false, QString(), subset);
    }

private slots:
    void initTestCase()
    {
        m_packPath = m_dir.filePath(QStringLiteral("pools.json"));
        m_pack = Fixtures::threeLevelPack();
        Fixtures::writeFile(m_packPath, m_pack.toBytes());
    }

    void checkedAnswerIsFinalAndCountedOnce()
    {
        auto store = freshStore();
        practice(*store, {QStringLiteral("T1A01"), QStringLiteral("T1A02"), QStringLiteral("T1A03")});
        const Question q1 = store->session()->questions.at(0);
        store->reveal(); // nothing chosen yet: ignored
        QVERIFY(store->saved().stats.isEmpty());
        store->answer(wrong(q1));
        store->reveal();
        store->answer(q1.correct); // ignored: the answer was checked
        store->reveal();           // ignored: already revealed
        QCOMPARE(store->session()->answers.value(q1.id), wrong(q1));
        QCOMPARE(store->saved().stats.value(annaKey(*store, q1.id)), (Stat{1, 0, false}));
        QCOMPARE(store->session()->revealed, QSet<QString>{q1.id});

        // Second question answered correctly but never checked, third never answered.
        store->move(1);
        store->answer(store->session()->questions.at(1).correct);
        store->finish();
        QCOMPARE(store->saved().stats.value(annaKey(*store, q1.id)), (Stat{1, 0, false}));
        QCOMPARE(store->saved().stats.value(annaKey(*store, QStringLiteral("T1A02"))), (Stat{1, 1, true}));
        QVERIFY(!store->saved().stats.contains(annaKey(*store, QStringLiteral("T1A03"))));
        QCOMPARE(store->saved().stats.size(), 2);
        QCOMPARE(onDisk().stats, store->saved().stats);
    }

    void statisticsAccumulateAcrossSessions()
    {
        auto store = freshStore();
        for (bool right : {true, false, true}) {
            practice(*store, {QStringLiteral("T1B01")});
            const Question q = store->session()->questions.first();
            store->answer(right ? q.correct : wrong(q));
            store->reveal();
            store->finish();
        }
        QCOMPARE(store->saved().stats.value(annaKey(*store, QStringLiteral("T1B01"))), (Stat{3, 2, true}));
    }

    void examAnswersChangeUntilFinish()
    {
        auto store = freshStore();
        store->begin(tech(), QStringLiteral("Exam"), QStringLiteral("Anna"), false, QString());
        const Question q = store->session()->questions.first();
        store->answer(wrong(q));
        store->answer((wrong(q) + 1) % 4);
        store->answer(q.correct);
        store->reveal(); // exams are never checked one by one
        QVERIFY(store->session()->revealed.isEmpty());
        QVERIFY(store->saved().stats.isEmpty());
        store->finish();
        QCOMPARE(store->saved().stats.value(annaKey(*store, q.id)), (Stat{1, 1, true}));
        QCOMPARE(store->saved().stats.size(), 1);
        QCOMPARE(store->result()->score(), 1);
    }

    void statisticsBelongToTheSessionsLearner()
    {
        auto store = freshStore();
        const QUuid anna = store->profile().id;
        practice(*store, {QStringLiteral("T1A01"), QStringLiteral("T1A02")});
        store->addProfile(QStringLiteral("Ben"));
        store->answer(0);
        store->reveal();
        store->move(1);
        store->answer(0);
        store->finish();
        QVERIFY(store->saved().stats.contains(statKey(anna, tech().id, QStringLiteral("T1A01"))));
        QVERIFY(store->saved().stats.contains(statKey(anna, tech().id, QStringLiteral("T1A02"))));
        QCOMPARE(store->saved().stats.size(), 2);
        QCOMPARE(store->saved().results.first().session.profile, anna);
    }

    void guestLeavesNoTrace_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("mode");
        QTest::newRow("Guest practice") << QStringLiteral("Guest") << QStringLiteral("Study All");
        QTest::newRow("mixed case exam") << QStringLiteral("gUeSt") << QStringLiteral("Exam");
        QTest::newRow("blanks around") << QStringLiteral("  GUEST \n") << QStringLiteral("Club Challenge");
    }
    void guestLeavesNoTrace()
    {
        QFETCH(QString, name);
        QFETCH(QString, mode);
        auto store = freshStore();
        const Saved before = store->saved();
        const QByteArray fileBefore = Fixtures::readFile(m_storage->filePath(QStringLiteral("progress.json")));
        store->begin(tech(), mode, name, false, QStringLiteral("c"));
        QVERIFY(store->session());
        store->answer(0);
        store->reveal();
        store->flag();
        store->move(1);
        store->answer(1);
        store->leave();
        QCOMPARE(store->saved(), before);
        store->begin(tech(), mode, name, false, QStringLiteral("c"));
        store->answer(0);
        store->finish();
        QVERIFY(store->result());
        QVERIFY(!store->session());
        QCOMPARE(store->saved().results, before.results);
        QCOMPARE(store->saved().stats, before.stats);
        QCOMPARE(store->saved().drafts, before.drafts);
        QCOMPARE(onDisk(), Saved::fromBytes(fileBefore));
    }

    void moveClamps_data()
    {
        QTest::addColumn<qint64>("target");
        QTest::addColumn<qint64>("index");
        QTest::newRow("before first") << qint64(-5) << qint64(0);
        QTest::newRow("inside") << qint64(7) << qint64(7);
        QTest::newRow("last") << qint64(34) << qint64(34);
        QTest::newRow("past last") << qint64(999) << qint64(34);
    }
    void moveClamps()
    {
        QFETCH(qint64, target);
        QFETCH(qint64, index);
        auto store = freshStore();
        store->begin(tech(), QStringLiteral("Exam"), QStringLiteral("Anna"), false, QString());
        store->move(target);
        QCOMPARE(store->session()->index, index);
        QCOMPARE(onDisk().drafts.first().index, index);
    }

    void flagsToggleAndAreStored()
    {
        auto store = freshStore();
        practice(*store, {QStringLiteral("T1A01"), QStringLiteral("T1A02")});
        store->flag();
        store->move(1);
        store->flag();
        store->flag();
        QCOMPARE(store->session()->flags, QSet<QString>{QStringLiteral("T1A01")});
        QCOMPARE(onDisk().drafts.first().flags, QSet<QString>{QStringLiteral("T1A01")});
    }

    void bookmarksToggleWithoutSession()
    {
        auto store = freshStore();
        const Question q = tech().questions.at(3);
        store->toggleBookmark(tech(), q);
        const QString key = annaKey(*store, q.id);
        QCOMPARE(store->key(tech(), q), key);
        QCOMPARE(onDisk().bookmarks, QSet<QString>{key});
        store->addProfile(QStringLiteral("Ben"));
        store->toggleBookmark(tech(), q); // Ben's own bookmark, Anna's stays
        QCOMPARE(store->saved().bookmarks.size(), 2);
        store->toggleBookmark(tech(), q);
        QCOMPARE(onDisk().bookmarks, QSet<QString>{key});
    }

    void interruptedExamLosesEligibility_data()
    {
        QTest::addColumn<QString>("how");
        QTest::addColumn<QString>("mode");
        QTest::addColumn<bool>("eligible");
        QTest::newRow("uninterrupted exam") << QStringLiteral("none") << QStringLiteral("Exam") << true;
        QTest::newRow("left exam") << QStringLiteral("leave") << QStringLiteral("Exam") << false;
        QTest::newRow("resumed after restart") << QStringLiteral("restart") << QStringLiteral("Exam") << false;
        QTest::newRow("left challenge") << QStringLiteral("leave") << QStringLiteral("Club Challenge") << false;
        QTest::newRow("left practice keeps flag") << QStringLiteral("leave") << QStringLiteral("Study All") << true;
    }
    void interruptedExamLosesEligibility()
    {
        QFETCH(QString, how);
        QFETCH(QString, mode);
        QFETCH(bool, eligible);
        auto store = freshStore();
        store->begin(tech(), mode, QStringLiteral("Anna"), false, QStringLiteral("club"));
        store->answer(1);
        if (how == QLatin1StringView("leave")) {
            store->leave();
            QVERIFY(!store->session());
            QCOMPARE(onDisk().drafts.first().eligible, eligible);
            store->resume(store->savedSessions().first());
        } else if (how == QLatin1StringView("restart")) {
            store->persistDraft(); // what quitting does
            store = openStore();
            QVERIFY(!store->session());
            store->resume(store->savedSessions().first());
        }
        QCOMPARE(store->session()->eligible, eligible);
        QCOMPARE(store->session()->answers.size(), 1);
        store->finish();
        QCOMPARE(store->result()->session.eligible, eligible);
        QVERIFY(store->saved().drafts.isEmpty());
        QCOMPARE(onDisk().results.size(), 1);
    }

    void elapsedTimeSurvivesLeaving()
    {
        auto store = freshStore();
        store->begin(tech(), QStringLiteral("Exam"), QStringLiteral("Anna"), false, QString());
        m_now += 100;
        QCOMPARE(store->elapsed(), 100.0);
        store->leave();
        QCOMPARE(store->elapsed(), 0.0);
        QCOMPARE(onDisk().drafts.first().elapsed, 100.0);
        m_now += 86400; // a day away does not count
        store->resume(store->savedSessions().first());
        m_now += 20.5;
        store->answer(2);
        // Only the stored copy carries the time so far.
        QCOMPARE(onDisk().drafts.first().elapsed, 120.5);
        QCOMPARE(store->session()->elapsed, 100.0);
        store->finish();
        QCOMPARE(store->result()->seconds, 120.5);
        QCOMPARE(store->result()->session.elapsed, 120.5);
    }

    void draftsMoveToEndAndStayPerProfile()
    {
        auto store = freshStore();
        practice(*store, {QStringLiteral("T1A01")});
        const QUuid first = store->session()->id;
        store->leave();
        practice(*store, {QStringLiteral("T1A02")});
        const QUuid second = store->session()->id;
        store->leave();
        store->resume(store->savedSessions().first());
        store->flag();
        QCOMPARE(store->saved().drafts.size(), 2);
        QCOMPARE(store->saved().drafts.last().id, first);
        store->leave();

        store->addProfile(QStringLiteral("Ben"));
        QVERIFY(store->savedSessions().isEmpty());
        store->deleteSession(first); // Anna's draft: not Ben's to delete
        QCOMPARE(onDisk().drafts.size(), 2);
        store->addProfile(QStringLiteral("anna"));
        QCOMPARE(store->savedSessions().size(), 2);
        store->deleteSession(second);
        QCOMPARE(onDisk().drafts.size(), 1);
        QCOMPARE(onDisk().drafts.first().id, first);
    }

    void operationsWithoutSessionAreIgnored()
    {
        auto store = freshStore();
        const Saved before = store->saved();
        store->answer(1);
        store->reveal();
        store->move(3);
        store->flag();
        store->persistDraft();
        store->leave();
        store->finish();
        QVERIFY(!store->result());
        QCOMPARE(store->elapsed(), 0.0);
        QCOMPARE(store->saved(), before);
    }

    void passMark_data()
    {
        QTest::addColumn<bool>("extraPool");
        QTest::addColumn<int>("right");
        QTest::addColumn<bool>("passed");
        QTest::newRow("26 of 35") << false << 26 << true;
        QTest::newRow("25 of 35") << false << 25 << false;
        QTest::newRow("37 of 50") << true << 37 << true;
        QTest::newRow("36 of 50") << true << 36 << false;
        QTest::newRow("nothing answered") << false << 0 << false;
    }
    void passMark()
    {
        QFETCH(bool, extraPool);
        QFETCH(int, right);
        QFETCH(bool, passed);
        auto store = freshStore();
        store->begin(extraPool ? extra() : tech(), QStringLiteral("Exam"), QStringLiteral("Anna"), false, QString());
        const QList<Question> questions = store->session()->questions;
        for (int i = 0; i < questions.size(); ++i) {
            store->move(i);
            store->answer(i < right ? questions.at(i).correct : wrong(questions.at(i)));
        }
        store->finish();
        QCOMPARE(store->result()->score(), right);
        QCOMPARE(store->result()->passed(), passed);
        QCOMPARE(store->saved().results.last().score(), right);
    }
};

AEROWEN_TEST_MAIN(TestPlay, QCoreApplication)
#include "TestPlay.moc"
