// Playing a session: answers, checks, statistics, drafts, timing, eligibility and finishing.
#include "store/Seeded.h"
#include "support/Fixtures.h"
#include "support/StoreFixtures.h"
#include "support/TestEnvironment.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace StoreFixtures;

class TestPlay : public QObject
{
    Q_OBJECT

    StoreRig m_rig;

    std::unique_ptr<Store> freshStore()
    {
        auto store = m_rig.fresh();
        store->addProfile(u"Anna"_s);
        return store;
    }
    const Pool& tech() const { return m_rig.tech(); }
    void practice(Store& store, const QStringList& ids)
    {
        store.begin(tech(), u"Study All"_s, store.profile().name, false, QString(), pick(tech(), ids));
    }

private slots:
    void checkedAnswerIsFinalAndCountedOnce()
    {
        auto store = freshStore();
        const QUuid anna = store->profile().id;
        const auto stat = [&](const QString& id) { return store->saved().stats.value(statKey(anna, tech().id, id)); };
        practice(*store, {u"T1A01"_s, u"T1A02"_s, u"T1A03"_s});
        // Another learner selected meanwhile: the session's statistics stay Anna's.
        store->addProfile(u"Ben"_s);
        const Question q1 = store->session()->questions.at(0);
        store->reveal(); // nothing chosen yet: ignored
        QVERIFY(store->saved().stats.isEmpty());
        store->answer(wrong(q1));
        store->reveal();
        store->answer(q1.correct); // ignored: the answer was checked
        store->reveal();           // ignored: already revealed
        QCOMPARE(store->session()->answers.value(q1.id), wrong(q1));
        QCOMPARE(stat(q1.id), (Stat{1, 0, false}));
        QCOMPARE(store->session()->revealed, QSet<QString>{q1.id});
        // Second question answered correctly but never checked, third never answered.
        store->move(1);
        store->answer(store->session()->questions.at(1).correct);
        store->finish();
        QCOMPARE(stat(q1.id), (Stat{1, 0, false}));
        QCOMPARE(stat(u"T1A02"_s), (Stat{1, 1, true}));
        QCOMPARE(store->saved().stats.size(), 2);
        QCOMPARE(store->saved().results.first().session.profile, anna);
        QCOMPARE(m_rig.onDisk().stats, store->saved().stats);
        // A later session adds to the same record.
        store->addProfile(u"Anna"_s);
        practice(*store, {u"T1A01"_s});
        store->answer(q1.correct);
        store->reveal();
        store->finish();
        QCOMPARE(stat(q1.id), (Stat{2, 1, true}));
    }

    void examAnswersChangeUntilFinish()
    {
        auto store = freshStore();
        store->begin(tech(), u"Exam"_s, u"Anna"_s, false, QString());
        const Question q = store->session()->questions.first();
        store->answer(wrong(q));
        store->answer((wrong(q) + 1) % 4);
        store->answer(q.correct);
        store->reveal(); // exams are never checked one by one
        QVERIFY(store->session()->revealed.isEmpty());
        QVERIFY(store->saved().stats.isEmpty());
        store->finish();
        QCOMPARE(store->saved().stats.value(statKey(store->profile().id, tech().id, q.id)), (Stat{1, 1, true}));
        QCOMPARE(store->saved().stats.size(), 1);
        QCOMPARE(store->result()->score(), 1);
    }

    void guestLeavesNoTrace_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("mode");
        QTest::newRow("Guest practice") << u"Guest"_s << u"Study All"_s;
        QTest::newRow("mixed case exam") << u"gUeSt"_s << u"Exam"_s;
        QTest::newRow("blanks around") << u"  GUEST \n"_s << u"Club Challenge"_s;
    }
    void guestLeavesNoTrace()
    {
        QFETCH(QString, name);
        QFETCH(QString, mode);
        auto store = freshStore();
        const Saved before = store->saved();
        const QByteArray fileBefore = Fixtures::readFile(m_rig.progressPath());
        store->begin(tech(), mode, name, false, u"c"_s);
        QVERIFY(store->session());
        store->answer(0);
        store->reveal();
        store->flag();
        store->move(1);
        store->answer(1);
        store->leave();
        QCOMPARE(store->saved(), before);
        store->begin(tech(), mode, name, false, u"c"_s);
        store->answer(0);
        store->finish();
        QVERIFY(store->result() && !store->session());
        QCOMPARE(store->saved(), before);
        QCOMPARE(m_rig.onDisk(), Saved::fromBytes(fileBefore));
    }

    void moveClampsAndFlagsToggle_data()
    {
        QTest::addColumn<qint64>("target");
        QTest::addColumn<qint64>("index");
        QTest::newRow("before first") << qint64(-5) << qint64(0);
        QTest::newRow("inside") << qint64(7) << qint64(7);
        QTest::newRow("last") << qint64(34) << qint64(34);
        QTest::newRow("past last") << qint64(999) << qint64(34);
    }
    void moveClampsAndFlagsToggle()
    {
        QFETCH(qint64, target);
        QFETCH(qint64, index);
        auto store = freshStore();
        store->begin(tech(), u"Exam"_s, u"Anna"_s, false, QString());
        const QString first = store->session()->questions.first().id;
        store->flag();
        store->move(target);
        QCOMPARE(store->session()->index, index);
        QCOMPARE(m_rig.onDisk().drafts.first().index, index);
        store->flag();
        store->flag();
        QCOMPARE(store->session()->flags, QSet<QString>{first});
        QCOMPARE(m_rig.onDisk().drafts.first().flags, QSet<QString>{first});
    }

    void bookmarksToggleWithoutSession()
    {
        auto store = freshStore();
        const Question q = tech().questions.at(3);
        store->toggleBookmark(tech(), q);
        const QString key = statKey(store->profile().id, tech().id, q.id);
        QCOMPARE(store->key(tech(), q), key);
        QCOMPARE(m_rig.onDisk().bookmarks, QSet<QString>{key});
        store->addProfile(u"Ben"_s);
        store->toggleBookmark(tech(), q); // Ben's own bookmark, Anna's stays
        QCOMPARE(store->saved().bookmarks.size(), 2);
        store->toggleBookmark(tech(), q);
        QCOMPARE(m_rig.onDisk().bookmarks, QSet<QString>{key});
    }

    void interruptedExamLosesEligibility_data()
    {
        QTest::addColumn<QString>("how");
        QTest::addColumn<QString>("mode");
        QTest::addColumn<bool>("eligible");
        QTest::newRow("uninterrupted exam") << u"none"_s << u"Exam"_s << true;
        QTest::newRow("left exam") << u"leave"_s << u"Exam"_s << false;
        QTest::newRow("resumed after restart") << u"restart"_s << u"Exam"_s << false;
        QTest::newRow("left challenge") << u"leave"_s << u"Club Challenge"_s << false;
        QTest::newRow("left practice keeps flag") << u"leave"_s << u"Study All"_s << true;
    }
    void interruptedExamLosesEligibility()
    {
        QFETCH(QString, how);
        QFETCH(QString, mode);
        QFETCH(bool, eligible);
        auto store = freshStore();
        store->begin(tech(), mode, u"Anna"_s, false, u"club"_s);
        store->answer(1);
        if (how == "leave"_L1) {
            store->leave();
            QVERIFY(!store->session());
            QCOMPARE(m_rig.onDisk().drafts.first().eligible, eligible);
            store->resume(store->savedSessions().first());
        } else if (how == "restart"_L1) {
            store->persistDraft(); // what quitting does
            store = m_rig.reopen();
            QVERIFY(!store->session());
            store->resume(store->savedSessions().first());
        }
        QCOMPARE(store->session()->eligible, eligible);
        QCOMPARE(store->session()->answers.size(), 1);
        store->finish();
        QCOMPARE(store->result()->session.eligible, eligible);
        QVERIFY(store->saved().drafts.isEmpty());
        QCOMPARE(m_rig.onDisk().results.size(), 1);
    }

    void elapsedTimeSurvivesLeaving()
    {
        auto store = freshStore();
        store->begin(tech(), u"Exam"_s, u"Anna"_s, false, QString());
        m_rig.now += 100;
        QCOMPARE(store->elapsed(), 100.0);
        store->leave();
        QCOMPARE(store->elapsed(), 0.0);
        QCOMPARE(m_rig.onDisk().drafts.first().elapsed, 100.0);
        m_rig.now += 86400; // a day away does not count
        store->resume(store->savedSessions().first());
        m_rig.now += 20.5;
        store->answer(2);
        // Only the stored copy carries the time so far.
        QCOMPARE(m_rig.onDisk().drafts.first().elapsed, 120.5);
        QCOMPARE(store->session()->elapsed, 100.0);
        store->finish();
        QCOMPARE(store->result()->seconds, 120.5);
        QCOMPARE(store->result()->session.elapsed, 120.5);
    }

    void draftsMoveToEndAndStayPerProfile()
    {
        auto store = freshStore();
        practice(*store, {u"T1A01"_s});
        const QUuid first = store->session()->id;
        store->leave();
        practice(*store, {u"T1A02"_s});
        const QUuid second = store->session()->id;
        store->leave();
        store->resume(store->savedSessions().first());
        store->flag();
        QCOMPARE(store->saved().drafts.size(), 2);
        QCOMPARE(store->saved().drafts.last().id, first);
        store->leave();

        store->addProfile(u"Ben"_s);
        QVERIFY(store->savedSessions().isEmpty());
        store->deleteSession(first); // Anna's draft: not Ben's to delete
        QCOMPARE(m_rig.onDisk().drafts.size(), 2);
        store->addProfile(u"anna"_s);
        QCOMPARE(store->savedSessions().size(), 2);
        store->deleteSession(second);
        QCOMPARE(m_rig.onDisk().drafts.size(), 1);
        QCOMPARE(m_rig.onDisk().drafts.first().id, first);
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
        QTest::addColumn<int>("pool");
        QTest::addColumn<int>("right");
        QTest::addColumn<bool>("passed");
        QTest::newRow("26 of 35") << 0 << 26 << true;
        QTest::newRow("25 of 35") << 0 << 25 << false;
        QTest::newRow("37 of 50") << 2 << 37 << true;
        QTest::newRow("36 of 50") << 2 << 36 << false;
        QTest::newRow("nothing answered") << 0 << 0 << false;
    }
    void passMark()
    {
        QFETCH(int, pool);
        QFETCH(int, right);
        QFETCH(bool, passed);
        auto store = freshStore();
        store->begin(m_rig.pack.pools.at(pool), u"Exam"_s, u"Anna"_s, false, QString());
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
