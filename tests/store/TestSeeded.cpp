// Exam composition must be identical on every installation: generator values, draws and statistics keys.
#include "store/Seeded.h"
#include "support/Fixtures.h"
#include "support/TestEnvironment.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestSeeded : public QObject
{
    Q_OBJECT

private:
    static Pool workedExamplePool()
    {
        Pool p;
        p.id = u"X"_s;
        for (const char* id : {"T1B03", "T1A02", "T1B01", "T1A01", "T1B02"}) {
            Question q;
            q.id = QString::fromLatin1(id);
            q.group = q.id.left(3);
            q.answers = {u"a"_s, u"b"_s, u"c"_s, u"d"_s};
            p.questions.append(q);
        }
        p.examCount = 2;
        return p;
    }

    static QStringList ids(const QList<Question>& questions)
    {
        QStringList list;
        for (const Question& q : questions)
            list.append(q.id);
        return list;
    }

private slots:
    void seedStateIsFnv1aOfUtf8_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<quint64>("state");
        QTest::newRow("empty") << QString() << quint64(0xcbf29ce484222325ULL);
        QTest::newRow("a") << u"a"_s << quint64(0xaf63dc4c8601ec8cULL);
        QTest::newRow("X|A") << u"X|A"_s << quint64(0xd28cd11a1af2dbe0ULL);
        // Two UTF-8 bytes: hashing UTF-16 units or Latin-1 would give another state.
        QTest::newRow("e acute") << u"é"_s << quint64(0x0ac21707b7181e01ULL);
    }
    void seedStateIsFnv1aOfUtf8()
    {
        QFETCH(QString, text);
        QFETCH(quint64, state);
        QCOMPARE(Seeded(text).state, state);
    }

    void nextFollowsSplitMix64_data()
    {
        QTest::addColumn<quint64>("start");
        QTest::addColumn<QList<quint64>>("values");
        QTest::newRow("zero") << quint64(0) << QList<quint64>{0xe220a8397b1dcdafULL, 0x6e789e6aa1b965f4ULL};
        QTest::newRow("empty text") << quint64(0xcbf29ce484222325ULL) << QList<quint64>{0xc3817c016ba4ff30ULL};
        QTest::newRow("X|A") << quint64(0xd28cd11a1af2dbe0ULL)
                             << QList<quint64>{0xf0ca91390a83bab8ULL, 0xa28ab9ef602ddb2dULL, 0xb96408f66de87a55ULL};
    }
    void nextFollowsSplitMix64()
    {
        QFETCH(quint64, start);
        QFETCH(QList<quint64>, values);
        Seeded generator(start);
        for (quint64 expected : values)
            QCOMPARE(generator.next(), expected);
    }

    void workedExampleComposesT1A01ThenT1B02()
    {
        // Questions are stored out of order on purpose: candidates must be sorted by id before drawing.
        QCOMPARE(ids(examQuestions(workedExamplePool(), u"A"_s)), (QStringList{u"T1A01"_s, u"T1B02"_s}));
    }

    void examHasOneQuestionPerGroupAndIsReproducible_data()
    {
        QTest::addColumn<QString>("seed");
        QTest::newRow("code") << u"CLUB-7"_s;
        QTest::newRow("uuid") << u"E621E1F8-C36C-495A-93FC-0C247A3E6E5F"_s;
        QTest::newRow("empty") << QString();
    }
    void examHasOneQuestionPerGroupAndIsReproducible()
    {
        QFETCH(QString, seed);
        const Pool pool = Fixtures::pool(u"technician"_s, u"tech-2026"_s);
        const QList<Question> first = examQuestions(pool, seed);
        QCOMPARE(first, examQuestions(pool, seed));
        QCOMPARE(first.size(), pool.examCount);
        QSet<QString> groups;
        for (const Question& q : first)
            groups.insert(q.group);
        QCOMPARE(groups.size(), pool.examCount);
        // The pool id is part of the seed: the same code on another pool gives another exam.
        Pool other = pool;
        other.id = u"tech-2026-b"_s;
        QVERIFY(ids(examQuestions(other, seed)) != ids(first));
    }

    void examOrderIsShuffled()
    {
        // With 35 groups the composed order practically never equals the group order.
        const Pool pool = Fixtures::pool(u"technician"_s, u"tech-2026"_s);
        const QList<Question> exam = examQuestions(pool, u"CLUB-7"_s);
        QStringList groups;
        for (const Question& q : exam)
            groups.append(q.group);
        QStringList sorted = groups;
        sorted.sort();
        QVERIFY(groups != sorted);
    }

    void statKeyJoinsUpperCaseUuidPoolAndQuestion()
    {
        const QUuid id = QUuid::fromString(u"{e621e1f8-c36c-495a-93fc-0c247a3e6e5f}"_s);
        QCOMPARE(statKey(id, u"P"_s, u"T1A01"_s), u"E621E1F8-C36C-495A-93FC-0C247A3E6E5F|P|T1A01"_s);
    }
};

AEROWEN_TEST_MAIN(TestSeeded, QCoreApplication)
#include "TestSeeded.moc"
