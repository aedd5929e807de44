// Pack validation rules, pool dates and pool groups.
#include "support/Fixtures.h"
#include "support/TestEnvironment.h"

#include "model/Dates.h"
#include "model/Errors.h"
#include "model/Pack.h"

#include <QCoreApplication>
#include <QTest>

using namespace Qt::StringLiterals;

using Mutation = std::function<void(Pack&)>;
Q_DECLARE_METATYPE(Mutation)

class PackValidationTest : public QObject
{
    Q_OBJECT

    static Pack validPack()
    {
        Pack pack = Fixtures::threeLevelPack();
        pack.pools[0].questions[0].figure = u"T1.png"_s;
        pack.assets.insert(u"T1.png"_s, u"iVBORw0KGgo="_s);
        return pack;
    }

    static Question& tq(Pack& p, int i = 0) { return p.pools[0].questions[i]; }

private slots:
    void validPackPasses()
    {
        validPack().validate();
        // Whitespace-only texts are not empty; expired and upcoming periods are still valid.
        Pack pack = validPack();
        tq(pack).prompt = u" "_s;
        tq(pack).answers[2] = u"\t"_s;
        pack.pools[0].validFrom = u"1990-07-01"_s;
        pack.pools[0].validUntil = u"1994-07-01"_s;
        pack.validate();
    }

    void eachRuleFailsOnItsOwn_data()
    {
        QTest::addColumn<Mutation>("mutate");
        // clang-format off
        QTest::newRow("schema 2") << Mutation([](Pack& p) { p.schema = 2; });
        QTest::newRow("no pools") << Mutation([](Pack& p) { p.pools.clear(); });
        QTest::newRow("duplicate pool id across levels") << Mutation([](Pack& p) { p.pools[2].id = p.pools[0].id; });
        QTest::newRow("unknown level") << Mutation([](Pack& p) { p.pools[1].level = u"novice"_s; });
        QTest::newRow("revision 2026-7-1") << Mutation([](Pack& p) { p.pools[0].revision = u"2026-7-1"_s; });
        QTest::newRow("validFrom 2026-02-30") << Mutation([](Pack& p) { p.pools[0].validFrom = u"2026-02-30"_s; p.pools[0].validUntil = u"2030-07-01"_s; });
        QTest::newRow("validUntil trailing blank") << Mutation([](Pack& p) { p.pools[0].validUntil = u"2030-07-01 "_s; });
        QTest::newRow("equal start and end") << Mutation([](Pack& p) { p.pools[0].validUntil = p.pools[0].validFrom; });
        QTest::newRow("end before start") << Mutation([](Pack& p) { p.pools[0].validUntil = u"2025-07-01"_s; });
        QTest::newRow("extra with 35") << Mutation([](Pack& p) { p.pools[2] = Fixtures::pool(u"extra"_s, u"e"_s, u"2024-07-01"_s, u"2026-01-01"_s, 35); p.pools[2].examCount = 35; p.pools[2].passCount = 26; });
        QTest::newRow("general with 50") << Mutation([](Pack& p) { p.pools[1] = Fixtures::pool(u"general"_s, u"g"_s, u"2023-07-01"_s, u"2026-01-01"_s, 50); p.pools[1].examCount = 50; p.pools[1].passCount = 37; });
        QTest::newRow("technician pass 25") << Mutation([](Pack& p) { p.pools[0].passCount = 25; });
        QTest::newRow("34 groups") << Mutation([](Pack& p) { p.pools[0] = Fixtures::pool(u"technician"_s, u"t"_s, u"2026-07-01"_s, u"2026-01-01"_s, 34, 11); });
        QTest::newRow("349 questions") << Mutation([](Pack& p) { p.pools[0].questions.removeLast(); });
        QTest::newRow("duplicate question id") << Mutation([](Pack& p) { p.pools[0].questions.append(p.pools[0].questions.at(3)); });
        QTest::newRow("id T1A1") << Mutation([](Pack& p) { tq(p).id = u"T1A1"_s; });
        QTest::newRow("technician questions in general pool") << Mutation([](Pack& p) { p.pools[0].level = u"general"_s; });
        QTest::newRow("three answers") << Mutation([](Pack& p) { tq(p).answers.removeLast(); });
        QTest::newRow("five answers") << Mutation([](Pack& p) { tq(p).answers.append(u"E"_s); });
        QTest::newRow("correct 4") << Mutation([](Pack& p) { tq(p).correct = 4; });
        QTest::newRow("correct -1") << Mutation([](Pack& p) { tq(p).correct = -1; });
        QTest::newRow("empty prompt") << Mutation([](Pack& p) { tq(p).prompt.clear(); });
        QTest::newRow("empty answer") << Mutation([](Pack& p) { tq(p).answers[3].clear(); });
        QTest::newRow("group differs from id") << Mutation([](Pack& p) { tq(p).group = u"T1B"_s; });
        QTest::newRow("figure without asset") << Mutation([](Pack& p) { tq(p, 1).figure = u"T2.png"_s; });
        QTest::newRow("figure with no assets at all") << Mutation([](Pack& p) { p.assets.clear(); });
        QTest::newRow("asset key with slash") << Mutation([](Pack& p) { p.assets.insert(u"figs/T1.png"_s, u"AAAA"_s); });
        QTest::newRow("asset not Base64") << Mutation([](Pack& p) { p.assets.insert(u"x.png"_s, u"not base64!"_s); });
        QTest::newRow("asset Base64 with line break") << Mutation([](Pack& p) { p.assets.insert(u"x.png"_s, u"AAAA\nAAAA"_s); });
        QTest::newRow("asset Base64 bad padding") << Mutation([](Pack& p) { p.assets.insert(u"x.png"_s, u"AAA=A==="_s); });
        // clang-format on
    }

    void eachRuleFailsOnItsOwn()
    {
        QFETCH(Mutation, mutate);
        Pack pack = validPack();
        mutate(pack);
        QVERIFY_THROWS_EXCEPTION(DataError, pack.validate());
    }

    void validDateAcceptsOnlyCanonicalDays_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("valid");
        QTest::newRow("ordinary") << "2026-07-01" << true;
        QTest::newRow("leap day") << "2024-02-29" << true;
        QTest::newRow("no leap day") << "2026-02-29" << false;
        QTest::newRow("single digits") << "2026-7-1" << false;
        QTest::newRow("31 February") << "2026-02-31" << false;
        QTest::newRow("trailing blank") << "2026-07-01 " << false;
        QTest::newRow("leading blank") << " 2026-07-01" << false;
        QTest::newRow("slashes") << "2026/07/01" << false;
        QTest::newRow("empty") << "" << false;
        QTest::newRow("month 13") << "2026-13-01" << false;
    }

    void validDateAcceptsOnlyCanonicalDays()
    {
        QFETCH(QString, text);
        QFETCH(bool, valid);
        QCOMPARE(Dates::validDate(text), valid);
    }

    void currentIsHalfOpenAndUpcomingFollowsToday()
    {
        Pool pool = Fixtures::pool(u"technician"_s, u"t"_s);
        QVERIFY(pool.current(u"2026-07-01"_s));
        QVERIFY(pool.current(u"2030-06-30"_s));
        QVERIFY(!pool.current(u"2030-07-01"_s));
        QVERIFY(!pool.current(u"2026-06-30"_s));

        const QDate today = QDate::currentDate();
        pool.validFrom = today.addDays(1).toString(Qt::ISODate);
        pool.validUntil = today.addYears(4).toString(Qt::ISODate);
        QVERIFY(pool.upcoming());
        QVERIFY(!pool.current());
        pool.validFrom = Dates::today();
        QVERIFY(!pool.upcoming());
        QVERIFY(pool.current());
        QCOMPARE(Dates::today(), today.toString(Qt::ISODate));
    }

    void groupsAreDistinctAndSorted()
    {
        Pool pool;
        for (const char* id : {"T1B02", "T1A01", "T1A02"}) {
            Question q;
            q.id = QString::fromLatin1(id);
            q.group = q.id.left(3);
            pool.questions.append(q);
        }
        QCOMPARE(pool.groups(), QStringList({u"T1A"_s, u"T1B"_s}));
    }
};

AEROWEN_TEST_MAIN(PackValidationTest, QCoreApplication)
#include "PackValidationTest.moc"
