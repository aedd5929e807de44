// Starting sessions: name and code cleaning, refusals, the question selection of every mode.
#include "store/Seeded.h"
#include "store/Store.h"
#include "support/Fixtures.h"
#include "support/TestEnvironment.h"

#include <QTest>

namespace {

QStringList ids(const QList<Question>& questions)
{
    QStringList list;
    for (const Question& q : questions)
        list.append(q.id);
    return list;
}

QList<Question> pick(const Pool& pool, const QStringList& wanted)
{
    QList<Question> list;
    for (const QString& id : wanted) {
        for (const Question& q : pool.questions) {
            if (q.id == id)
                list.append(q);
        }
    }
    return list;
}

// Statistics spread over the questions of one group: {attempts, correct} per question.
using Tallies = QList<QPair<qint64, qint64>>;

} // namespace

class TestBegin : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QString m_packPath;
    Pool m_tech;
    std::unique_ptr<QTemporaryDir> m_storage;
    double m_now = 1000;

    // A store whose learner Anna (current) and Ben exist, with the given extra state in the progress file.
    std::unique_ptr<Store> storeWith(const std::function<void(Saved&, const QUuid& anna, const QUuid& ben)>& edit = {})
    {
        m_storage = std::make_unique<QTemporaryDir>();
        Saved saved = Saved::initial();
        const Profile anna{QUuid::createUuid(), QStringLiteral("Anna"), std::nullopt};
        const Profile ben{QUuid::createUuid(), QStringLiteral("Ben"), std::nullopt};
        saved.profiles << anna << ben;
        saved.selected = anna.id;
        if (edit)
            edit(saved, anna.id, ben.id);
        Fixtures::writeFile(m_storage->filePath(QStringLiteral("progress.json")), saved.toBytes());
        auto store = std::make_unique<Store>(m_packPath, m_storage->path());
        store->setClock([this] { return m_now; });
        return store;
    }

private slots:
    void initTestCase()
    {
        m_packPath = m_dir.filePath(QStringLiteral("pools.json"));
        const Pack pack = Fixtures::threeLevelPack();
        Fixtures::writeFile(m_packPath, pack.toBytes());
        m_tech = pack.pools.first();
    }

    void refusalsInOrder_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("mode");
        QTest::addColumn<QString>("code");
        QTest::addColumn<bool>("emptySubset");
        QTest::addColumn<QString>("message");
        const QString noName = QStringLiteral("Enter a name before starting.");
        const QString noCode = QStringLiteral("Enter a shared challenge code.");
        const QString none = QStringLiteral("No questions match this practice mode yet.");
        QTest::newRow("blank name before code")
            << QStringLiteral(" \n\t") << QStringLiteral("Club Challenge") << QStringLiteral("  ") << false << noName;
        QTest::newRow("blank code in challenge")
            << QStringLiteral("Anna") << QStringLiteral("Club Challenge") << QStringLiteral(" \n ") << false << noCode;
        QTest::newRow("code before empty subset")
            << QStringLiteral("Anna") << QStringLiteral("Club Challenge") << QString() << true << noCode;
        QTest::newRow("empty subset") << QStringLiteral("Anna") << QStringLiteral("Mistakes") << QString() << true
                                      << none;
        QTest::newRow("no bookmarks") << QStringLiteral("Anna") << QStringLiteral("Bookmarks") << QString() << false
                                      << none;
    }
    void refusalsInOrder()
    {
        QFETCH(QString, name);
        QFETCH(QString, mode);
        QFETCH(QString, code);
        QFETCH(bool, emptySubset);
        QFETCH(QString, message);
        auto store = storeWith();
        store->begin(m_tech, QStringLiteral("Study All"), QStringLiteral("Anna"), false, QString());
        const Session before = *store->session();
        const Saved savedBefore = store->saved();
        store->begin(m_tech, mode, name, true, code,
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
        const QString seventy = QStringLiteral("club") + QString(66, QLatin1Char('x'));
        QTest::newRow("trimmed code") << QStringLiteral("Club Challenge") << QStringLiteral("  Anna\n")
                                      << QStringLiteral("  club-7 \n") << QStringLiteral("Anna")
                                      << QStringLiteral("CLUB-7");
        QTest::newRow("70 characters") << QStringLiteral("Club Challenge") << QStringLiteral("Anna") << seventy
                                       << QStringLiteral("Anna") << seventy.toUpper().left(60);
        // Upper-casing first: ß becomes SS, so the cut falls after the longer text.
        QTest::newRow("upper before cut")
            << QStringLiteral("Club Challenge") << QStringLiteral("Anna")
            << QString(59, QLatin1Char('a')) + QStringLiteral("ßb") << QStringLiteral("Anna")
            << QString(59, QLatin1Char('A')) + QStringLiteral("S");
        QTest::newRow("code ignored in practice") << QStringLiteral("Study All") << QStringLiteral("Anna")
                                                  << QStringLiteral("club-7") << QStringLiteral("Anna") << QString();
        QTest::newRow("code ignored in exam") << QStringLiteral("Exam") << QStringLiteral("Anna")
                                              << QStringLiteral("club-7") << QStringLiteral("Anna") << QString();
        QTest::newRow("long name") << QStringLiteral("Study All") << QString(100, QLatin1Char('n')) << QString()
                                   << QString(80, QLatin1Char('n')) << QString();
    }
    void nameAndCodeAreNormalised()
    {
        QFETCH(QString, mode);
        QFETCH(QString, name);
        QFETCH(QString, code);
        QFETCH(QString, storedName);
        QFETCH(QString, storedCode);
        auto store = storeWith();
        store->begin(m_tech, mode, name, false, code);
        QVERIFY(store->session());
        QCOMPARE(store->session()->name, storedName);
        QCOMPARE(store->session()->challenge, storedCode);
        QCOMPARE(store->session()->mode, mode);
        QVERIFY(store->message().isEmpty());
    }

    void sameCodeGivesSameExam()
    {
        auto store = storeWith();
        store->begin(m_tech, QStringLiteral("Club Challenge"), QStringLiteral("Anna"), true, QStringLiteral("club-7"),
                     pick(m_tech, {QStringLiteral("T1A01")}));
        const QList<Question> first = store->session()->questions;
        QCOMPARE(ids(first), ids(examQuestions(m_tech, QStringLiteral("CLUB-7"))));
        store->begin(m_tech, QStringLiteral("Club Challenge"), QStringLiteral("Ben"), false, QStringLiteral("CLUB-7 "));
        QCOMPARE(store->session()->questions, first);
        Pool other = m_tech;
        other.id = QStringLiteral("tech-2026-r2");
        store->begin(other, QStringLiteral("Club Challenge"), QStringLiteral("Ben"), false, QStringLiteral("CLUB-7"));
        QVERIFY(ids(store->session()->questions) != ids(first));
    }

    void examIgnoresSubsetAndDrawsFreshSeed()
    {
        auto store = storeWith();
        store->begin(m_tech, QStringLiteral("Exam"), QStringLiteral("Anna"), false, QString(),
                     pick(m_tech, {QStringLiteral("T1A01"), QStringLiteral("T1A02")}));
        const QList<Question> first = store->session()->questions;
        QCOMPARE(first.size(), m_tech.examCount);
        QSet<QString> groups;
        for (const Question& q : first)
            groups.insert(q.group);
        QCOMPARE(groups.size(), m_tech.examCount);
        store->begin(m_tech, QStringLiteral("Exam"), QStringLiteral("Anna"), false, QString());
        QVERIFY(ids(store->session()->questions) != ids(first));
    }

    void practiceOrderAndShuffle()
    {
        auto store = storeWith();
        store->begin(m_tech, QStringLiteral("Study All"), QStringLiteral("Anna"), false, QString());
        QCOMPARE(store->session()->questions, m_tech.questions);
        store->begin(m_tech, QStringLiteral("Study All"), QStringLiteral("Anna"), true, QString());
        const QStringList shuffled = ids(store->session()->questions);
        QVERIFY(shuffled != ids(m_tech.questions));
        QStringList sorted = shuffled;
        sorted.sort();
        QStringList all = ids(m_tech.questions);
        all.sort();
        QCOMPARE(sorted, all);
    }

    void mistakesStartsExactlyTheSubset()
    {
        auto store = storeWith();
        const QStringList wrong{QStringLiteral("T1C03"), QStringLiteral("T1A01"), QStringLiteral("T2B07"),
                                QStringLiteral("T1A05")};
        store->begin(m_tech, QStringLiteral("Mistakes"), QStringLiteral("Anna"), true, QStringLiteral("x"),
                     pick(m_tech, wrong));
        QStringList got = ids(store->session()->questions);
        got.sort();
        QStringList expected = wrong;
        expected.sort();
        QCOMPARE(got, expected);
        QCOMPARE(store->session()->challenge, QString());
        store->begin(m_tech, QStringLiteral("Mistakes"), QStringLiteral("Anna"), false, QString(), pick(m_tech, wrong));
        QCOMPARE(ids(store->session()->questions), wrong);
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
        auto store = storeWith([&](Saved& saved, const QUuid& anna, const QUuid& ben) {
            // Every group but T1A is mastered by Anna.
            for (const Question& q : m_tech.questions) {
                if (q.group != QLatin1StringView("T1A"))
                    saved.stats.insert(statKey(anna, m_tech.id, q.id), Stat{1, 1, true});
            }
            for (int i = 0; i < tallies.size(); ++i) {
                const QString id = m_tech.questions.at(i).id;
                saved.stats.insert(statKey(anna, m_tech.id, id), Stat{tallies[i].first, tallies[i].second, false});
            }
            // Perfect T1A records of another learner and of another pool never count for Anna.
            for (const Question& q : m_tech.questions) {
                saved.stats.insert(statKey(ben, m_tech.id, q.id), Stat{1, 1, true});
                saved.stats.insert(statKey(anna, QStringLiteral("other-pool"), q.id), Stat{1, 1, true});
            }
        });
        store->begin(m_tech, QStringLiteral("Weak Topics"), QStringLiteral("Anna"), false, QString());
        if (weak) {
            QVERIFY(store->session());
            QCOMPARE(ids(store->session()->questions), ids(m_tech.questions.mid(0, 10)));
        } else {
            QVERIFY(!store->session());
            QCOMPARE(store->message(), QStringLiteral("No questions match this practice mode yet."));
        }
    }

    void weakTopicsFilterTheSubsetByWholePoolGroups()
    {
        // T1A01 answered wrongly makes T1A weak although the subset holds only a T1A question never answered.
        auto store = storeWith([&](Saved& saved, const QUuid& anna, const QUuid&) {
            for (const Question& q : m_tech.questions)
                saved.stats.insert(statKey(anna, m_tech.id, q.id), Stat{1, 1, true});
            saved.stats.insert(statKey(anna, m_tech.id, QStringLiteral("T1A01")), Stat{10, 0, false});
        });
        store->begin(m_tech, QStringLiteral("Weak Topics"), QStringLiteral("Anna"), false, QString(),
                     pick(m_tech, {QStringLiteral("T1B02"), QStringLiteral("T1A07"), QStringLiteral("T1C01")}));
        QCOMPARE(ids(store->session()->questions), QStringList{QStringLiteral("T1A07")});
    }

    void bookmarksArePerProfileAndPool_data()
    {
        QTest::addColumn<bool>("ownInThisPool");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("only others") << false << QStringList();
        QTest::newRow("own too") << true << QStringList{QStringLiteral("T1A03"), QStringLiteral("T1B01")};
    }
    void bookmarksArePerProfileAndPool()
    {
        QFETCH(bool, ownInThisPool);
        QFETCH(QStringList, expected);
        auto store = storeWith([&](Saved& saved, const QUuid& anna, const QUuid& ben) {
            saved.bookmarks.insert(statKey(ben, m_tech.id, QStringLiteral("T1A01")));
            saved.bookmarks.insert(statKey(anna, QStringLiteral("other-pool"), QStringLiteral("T1A02")));
            if (ownInThisPool) {
                saved.bookmarks.insert(statKey(anna, m_tech.id, QStringLiteral("T1B01")));
                saved.bookmarks.insert(statKey(anna, m_tech.id, QStringLiteral("T1A03")));
            }
        });
        store->begin(m_tech, QStringLiteral("Bookmarks"), QStringLiteral("Anna"), false, QString());
        if (expected.isEmpty()) {
            QVERIFY(!store->session());
            QCOMPARE(store->message(), QStringLiteral("No questions match this practice mode yet."));
        } else {
            QCOMPARE(ids(store->session()->questions), expected); // pool order, not insertion order
        }
    }

    void startLeavesFreshSession_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("stored");
        QTest::newRow("named") << QStringLiteral("Anna") << true;
        QTest::newRow("guest") << QStringLiteral(" gUeSt ") << false;
    }
    void startLeavesFreshSession()
    {
        QFETCH(QString, name);
        QFETCH(bool, stored);
        auto store = storeWith();
        store->begin(m_tech, QStringLiteral("Exam"), QStringLiteral("Anna"), false, QString());
        m_now += 50;
        store->finish();
        QVERIFY(store->result());
        const double before = Dates::now();
        store->begin(m_tech, QStringLiteral("Exam"), name, false, QString());
        const Session& s = *store->session();
        QVERIFY(!store->result());
        QCOMPARE(s.index, 0);
        QVERIFY(s.eligible);
        QVERIFY(s.answers.isEmpty() && s.flags.isEmpty() && s.revealed.isEmpty());
        QCOMPARE(s.elapsed, 0.0);
        QCOMPARE(store->elapsed(), 0.0);
        QCOMPARE(s.profile, store->profile().id);
        QCOMPARE(s.pool, m_tech);
        QVERIFY(s.started >= before - 1 && s.started <= Dates::now() + 1);
        QCOMPARE(store->saved().drafts.size(), stored ? 1 : 0);
        if (stored)
            QCOMPARE(store->saved().drafts.first().id, s.id);
        // What the screen shows is what a restart would find.
        QCOMPARE(Saved::fromBytes(Fixtures::readFile(m_storage->filePath(QStringLiteral("progress.json")))),
                 store->saved());
    }
};

AEROWEN_TEST_MAIN(TestBegin, QCoreApplication)
#include "TestBegin.moc"
