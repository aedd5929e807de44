// Starting sessions: name and code cleaning, refusals, the question selection of every mode.
#include "store/Seeded.h"
#include "support/StoreFixtures.h"
#include "support/TestEnvironment.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace StoreFixtures;

// Statistics spread over the questions of one group: {attempts, correct} per question.
using Tallies = QList<QPair<qint64, qint64>>;
using Edit = std::function<void(Saved&, const QUuid& anna, const QUuid& ben)>;

class TestBegin : public QObject
{
    Q_OBJECT

    StoreRig m_rig;
    const QString none = u"No questions match this practice mode yet."_s;

    // Learners Anna (current) and Ben, with the given extra state in the progress file.
    std::unique_ptr<Store> storeWith(const Edit& edit = {})
    {
        return m_rig.fresh([&](Saved& saved) {
            const Profile anna{QUuid::createUuid(), u"Anna"_s, std::nullopt};
            const Profile ben{QUuid::createUuid(), u"Ben"_s, std::nullopt};
            saved.profiles << anna << ben;
            saved.selected = anna.id;
            if (edit)
                edit(saved, anna.id, ben.id);
        });
    }
    const Pool& tech() const { return m_rig.tech(); }

private slots:
    void refusalsInOrder_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("mode");
        QTest::addColumn<QString>("code");
        QTest::addColumn<bool>("emptySubset");
        QTest::addColumn<QString>("message");
        const QString noName = u"Enter a name before starting."_s, noCode = u"Enter a shared challenge code."_s;
        QTest::newRow("blank name before code") << u" \n\t"_s << u"Club Challenge"_s << u"  "_s << false << noName;
        QTest::newRow("blank code") << u"Anna"_s << u"Club Challenge"_s << u" \n "_s << false << noCode;
        QTest::newRow("code before empty subset") << u"Anna"_s << u"Club Challenge"_s << QString() << true << noCode;
        QTest::newRow("empty subset") << u"Anna"_s << u"Mistakes"_s << QString() << true << none;
        QTest::newRow("no bookmarks") << u"Anna"_s << u"Bookmarks"_s << QString() << false << none;
    }
    void refusalsInOrder()
    {
        QFETCH(QString, name);
        QFETCH(QString, mode);
        QFETCH(QString, code);
        QFETCH(bool, emptySubset);
        QFETCH(QString, message);
        auto store = storeWith();
        store->begin(tech(), u"Study All"_s, u"Anna"_s, false, QString());
        const Session before = *store->session();
        const Saved savedBefore = store->saved();
        store->begin(tech(), mode, name, true, code,
                     emptySubset ? std::optional<QList<Question>>(QList<Question>()) : std::nullopt);
        QCOMPARE(store->message(), message);
        // A refused start changes nothing else: the session on screen and the drafts stay.
        QCOMPARE(*store->session(), before);
        QCOMPARE(store->saved(), savedBefore);
    }

    void nameAndCodeAreNormalised_data()
    {
        QTest::addColumn<QString>("mode");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("code");
        QTest::addColumn<QString>("storedName");
        QTest::addColumn<QString>("storedCode");
        const QString seventy = u"club"_s + QString(66, u'x');
        const QString club = u"Club Challenge"_s;
        QTest::newRow("trimmed code") << club << u"  Anna\n"_s << u"  club-7 \n"_s << u"Anna"_s << u"CLUB-7"_s;
        QTest::newRow("70 characters") << club << u"Anna"_s << seventy << u"Anna"_s << seventy.toUpper().left(60);
        // Upper-casing first: ß becomes SS, so the cut falls after the longer text.
        QTest::newRow("upper before cut")
            << club << u"Anna"_s << QString(59, u'a') + u"ßb"_s << u"Anna"_s << QString(59, u'A') + u"S"_s;
        QTest::newRow("code ignored in practice") << u"Study All"_s << u"Anna"_s << u"c"_s << u"Anna"_s << QString();
        QTest::newRow("code ignored in exam") << u"Exam"_s << u"Anna"_s << u"club-7"_s << u"Anna"_s << QString();
        QTest::newRow("long name") << u"Study All"_s << QString(100, u'n') << QString() << QString(80, u'n')
                                   << QString();
    }
    void nameAndCodeAreNormalised()
    {
        QFETCH(QString, mode);
        QFETCH(QString, name);
        QFETCH(QString, code);
        QFETCH(QString, storedName);
        QFETCH(QString, storedCode);
        auto store = storeWith();
        store->begin(tech(), mode, name, false, code);
        QVERIFY(store->session());
        QCOMPARE(store->session()->name, storedName);
        QCOMPARE(store->session()->challenge, storedCode);
        QCOMPARE(store->session()->mode, mode);
        QVERIFY(store->message().isEmpty());
    }

    void questionSelectionPerMode()
    {
        auto store = storeWith();
        // A challenge code gives every learner the same exam; the subset is ignored.
        store->begin(tech(), u"Club Challenge"_s, u"Anna"_s, true, u"club-7"_s, pick(tech(), {u"T1A01"_s}));
        const QList<Question> club = store->session()->questions;
        QCOMPARE(ids(club), ids(examQuestions(tech(), u"CLUB-7"_s)));
        store->begin(tech(), u"Club Challenge"_s, u"Ben"_s, false, u"CLUB-7 "_s);
        QCOMPARE(store->session()->questions, club);
        // An exam ignores the subset and draws a fresh seed each time.
        store->begin(tech(), u"Exam"_s, u"Anna"_s, false, QString(), pick(tech(), {u"T1A01"_s, u"T1A02"_s}));
        const QList<Question> exam = store->session()->questions;
        QSet<QString> groups;
        for (const Question& q : exam)
            groups.insert(q.group);
        QCOMPARE(exam.size(), tech().examCount);
        QCOMPARE(groups.size(), tech().examCount); // one question of each group
        store->begin(tech(), u"Exam"_s, u"Anna"_s, false, QString());
        QVERIFY(ids(store->session()->questions) != ids(exam));
        // Practice keeps pool order unless shuffled; shuffling keeps every question.
        store->begin(tech(), u"Study All"_s, u"Anna"_s, false, QString());
        QCOMPARE(store->session()->questions, tech().questions);
        store->begin(tech(), u"Study All"_s, u"Anna"_s, true, QString());
        QStringList shuffled = ids(store->session()->questions), all = ids(tech().questions);
        QVERIFY(shuffled != all);
        shuffled.sort();
        QCOMPARE(shuffled, all);
        // Mistakes start exactly the subset, in its order unless shuffled, and never carry a code.
        const QStringList wrongIds{u"T1C03"_s, u"T1A01"_s, u"T2B07"_s, u"T1A05"_s};
        store->begin(tech(), u"Mistakes"_s, u"Anna"_s, true, u"x"_s, pick(tech(), wrongIds));
        QStringList got = ids(store->session()->questions), expected = wrongIds;
        got.sort();
        expected.sort();
        QCOMPARE(got, expected);
        QCOMPARE(store->session()->challenge, QString());
        store->begin(tech(), u"Mistakes"_s, u"Anna"_s, false, QString(), pick(tech(), wrongIds));
        QCOMPARE(ids(store->session()->questions), wrongIds);
    }

    void weakTopicsUseEightyPercentLine_data()
    {
        QTest::addColumn<Tallies>("tallies");
        QTest::addColumn<bool>("weak");
        QTest::newRow("never answered") << Tallies{} << true;
        QTest::newRow("4 of 5 is not weak") << Tallies{{3, 3}, {2, 1}} << false;
        QTest::newRow("3 of 4 is weak") << Tallies{{4, 3}} << true;
        QTest::newRow("all right") << Tallies{{1, 1}} << false;
        QTest::newRow("records with no attempts") << Tallies{{0, 0}} << true;
        QTest::newRow("79 of 99") << Tallies{{99, 79}} << true;
        QTest::newRow("8 of 10 over questions") << Tallies{{5, 5}, {3, 1}, {2, 2}} << false;
    }
    void weakTopicsUseEightyPercentLine()
    {
        QFETCH(Tallies, tallies);
        QFETCH(bool, weak);
        const QString id = tech().id;
        auto store = storeWith([&](Saved& saved, const QUuid& anna, const QUuid& ben) {
            // Every group but T1A is mastered by Anna.
            for (const Question& q : tech().questions) {
                if (q.group != QLatin1StringView("T1A"))
                    saved.stats.insert(statKey(anna, id, q.id), Stat{1, 1, true});
                // Perfect T1A records of another learner and of another pool never count for Anna.
                saved.stats.insert(statKey(ben, id, q.id), Stat{1, 1, true});
                saved.stats.insert(statKey(anna, u"other-pool"_s, q.id), Stat{1, 1, true});
            }
            for (int i = 0; i < tallies.size(); ++i)
                saved.stats.insert(statKey(anna, id, tech().questions.at(i).id),
                                   Stat{tallies[i].first, tallies[i].second, false});
        });
        store->begin(tech(), u"Weak Topics"_s, u"Anna"_s, false, QString());
        QCOMPARE(bool(store->session()), weak);
        if (weak)
            QCOMPARE(ids(store->session()->questions), ids(tech().questions.mid(0, 10)));
        else
            QCOMPARE(store->message(), none);
    }

    void weakTopicsFilterTheSubsetByWholePoolGroups()
    {
        // T1A01 answered wrongly makes T1A weak although the subset holds only a T1A question never answered.
        auto store = storeWith([&](Saved& saved, const QUuid& anna, const QUuid&) {
            for (const Question& q : tech().questions)
                saved.stats.insert(statKey(anna, tech().id, q.id), Stat{1, 1, true});
            saved.stats.insert(statKey(anna, tech().id, u"T1A01"_s), Stat{10, 0, false});
        });
        store->begin(tech(), u"Weak Topics"_s, u"Anna"_s, false, QString(),
                     pick(tech(), {u"T1B02"_s, u"T1A07"_s, u"T1C01"_s}));
        QCOMPARE(ids(store->session()->questions), QStringList{u"T1A07"_s});
    }

    void bookmarksArePerProfileAndPool_data()
    {
        QTest::addColumn<bool>("ownInThisPool");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("only others") << false << QStringList();
        QTest::newRow("own too") << true << QStringList{u"T1A03"_s, u"T1B01"_s};
    }
    void bookmarksArePerProfileAndPool()
    {
        QFETCH(bool, ownInThisPool);
        QFETCH(QStringList, expected);
        auto store = storeWith([&](Saved& saved, const QUuid& anna, const QUuid& ben) {
            saved.bookmarks.insert(statKey(ben, tech().id, u"T1A01"_s));
            saved.bookmarks.insert(statKey(anna, u"other-pool"_s, u"T1A02"_s));
            if (ownInThisPool) {
                saved.bookmarks.insert(statKey(anna, tech().id, u"T1B01"_s));
                saved.bookmarks.insert(statKey(anna, tech().id, u"T1A03"_s));
            }
        });
        store->begin(tech(), u"Bookmarks"_s, u"Anna"_s, false, QString());
        if (expected.isEmpty())
            QCOMPARE(store->message(), none);
        else
            QCOMPARE(ids(store->session()->questions), expected); // pool order, not insertion order
        QCOMPARE(bool(store->session()), !expected.isEmpty());
    }

    void startLeavesFreshSession_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("stored");
        QTest::newRow("named") << u"Anna"_s << true;
        QTest::newRow("guest") << u" gUeSt "_s << false;
    }
    void startLeavesFreshSession()
    {
        QFETCH(QString, name);
        QFETCH(bool, stored);
        auto store = storeWith();
        store->begin(tech(), u"Exam"_s, u"Anna"_s, false, QString());
        m_rig.now += 50;
        store->finish();
        QVERIFY(store->result());
        const double before = Dates::now();
        store->begin(tech(), u"Exam"_s, name, false, QString());
        const Session& s = *store->session();
        QVERIFY(!store->result());
        QCOMPARE(s.index, 0);
        QVERIFY(s.eligible);
        QVERIFY(s.answers.isEmpty() && s.flags.isEmpty() && s.revealed.isEmpty());
        QCOMPARE(s.elapsed, 0.0);
        QCOMPARE(store->elapsed(), 0.0);
        QCOMPARE(s.profile, store->profile().id);
        QCOMPARE(s.pool, tech());
        QVERIFY(s.started >= before - 1 && s.started <= Dates::now() + 1);
        QCOMPARE(store->saved().drafts.size(), stored ? 1 : 0);
        if (stored)
            QCOMPARE(store->saved().drafts.first().id, s.id);
        // What the screen shows is what a restart would find.
        QCOMPARE(m_rig.onDisk(), store->saved());
    }
};

AEROWEN_TEST_MAIN(TestBegin, QCoreApplication)
#include "TestBegin.moc"
