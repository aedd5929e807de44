// Exam composition must be identical on every installation: generator values, draws and statistics keys.
#include "store/Seeded.h"
#include "support/Fixtures.h"
#include "support/TestEnvironment.h"

#include <QTest>

class TestSeeded : public QObject
{
    Q_OBJECT

private:
    static Pool workedExamplePool()
    {
        Pool p;
        p.id = QStringLiteral("X");
        for (const char* id : {"T1B03", "T1A02", "T1B01", "T1A01", "T1B02"}) {
            Question q;
            q.id = QString::fromLatin1(id);
            q.group = q.id.left(3);
            q.answers = {QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c"), QStringLiteral("d")};
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
        QTest::newRow("a") << QStringLiteral("a") << quint64(0xaf63dc4c8601ec8cULL);
        QTest::newRow("X|A") << QStringLiteral("X|A") << quint64(0xd28cd11a1af2dbe0ULL);
    }
    void seedStateIsFnv1aOfUtf8()
    {
        QFETCH(QString, text);
        QFETCH(quint64, state);
        QCOMPARE(Seeded(text).state, state);
    }

    void nonAsciiSeedHashesUtf8Bytes()
    {
        // "é" is two UTF-8 bytes; hashing UTF-16 units or Latin-1 would give another state.
        quint64 h = 0xcbf29ce484222325ULL;
        for (quint8 b : {quint8(0xc3), quint8(0xa9)})
            h = (h ^ b) * 0x100000001b3ULL;
        QCOMPARE(Seeded(QStringLiteral("é")).state, h);
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
        QCOMPARE(ids(examQuestions(workedExamplePool(), QStringLiteral("A"))),
                 (QStringList{QStringLiteral("T1A01"), QStringLiteral("T1B02")}));
    }

    void examHasOneQuestionPerGroupAndIsReproducible_data()
    {
        QTest::addColumn<QString>("seed");
        QTest::newRow("code") << QStringLiteral("CLUB-7");
        QTest::newRow("uuid") << QStringLiteral("E621E1F8-C36C-495A-93FC-0C247A3E6E5F");
        QTest::newRow("empty") << QString();
    }
    void examHasOneQuestionPerGroupAndIsReproducible()
    {
        QFETCH(QString, seed);
        const Pool pool = Fixtures::pool(QStringLiteral("technician"), QStringLiteral("tech-2026"));
        const QList<Question> first = examQuestions(pool, seed);
        QCOMPARE(first, examQuestions(pool, seed));
        QCOMPARE(first.size(), pool.examCount);
        QSet<QString> groups;
        for (const Question& q : first)
            groups.insert(q.group);
        QCOMPARE(groups.size(), pool.examCount);
        // The pool id is part of the seed: the same code on another pool gives another exam.
        Pool other = pool;
        other.id = QStringLiteral("tech-2026-b");
        QVERIFY(ids(examQuestions(other, seed)) != ids(first));
    }

    void examOrderIsShuffled()
    {
        // With 35 groups the composed order practically never equals the group order.
        const Pool pool = Fixtures::pool(QStringLiteral("technician"), QStringLiteral("tech-2026"));
        const QList<Question> exam = examQuestions(pool, QStringLiteral("CLUB-7"));
        QStringList groups;
        for (const Question& q : exam)
            groups.append(q.group);
        QStringList sorted = groups;
        sorted.sort();
        QVERIFY(groups != sorted);
    }

    void statKeyJoinsUpperCaseUuidPoolAndQuestion()
    {
        const QUuid id = QUuid::fromString(QStringLiteral("{e621e1f8-c36c-495a-93fc-0c247a3e6e5f}"));
        QCOMPARE(statKey(id, QStringLiteral("P"), QStringLiteral("T1A01")),
                 QStringLiteral("E621E1F8-C36C-495A-93FC-0C247A3E6E5F|P|T1A01"));
    }
};

AEROWEN_TEST_MAIN(TestSeeded, QCoreApplication)
#include "TestSeeded.moc"
