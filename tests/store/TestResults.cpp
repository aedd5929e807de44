// Figures from finished results: boards, ranking pools, durations, history, status lines and readiness.
#include "store/Results.h"
#include "store/Seeded.h"
#include "support/Fixtures.h"
#include "support/TestEnvironment.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// One stored result, described by what the boards look at; the tag tells results apart.
struct Entry
{
    QString tag;
    QString name = u"Alice"_s;
    qint64 score = 30;
    double seconds = 1200;
    double finished = 100;
    QString pool = u"tech-2026"_s;
    QString mode = u"Exam"_s;
    QString challenge;
    bool eligible = true;
    qsizetype questions = 35;
    QUuid profile;
};
using Entries = QList<Entry>;

const Pool& techPool()
{
    static const Pool pool = Fixtures::pool(u"technician"_s, u"tech-2026"_s);
    return pool;
}

// The tag is kept in the pool's source field.
Result makeResult(const Entry& e)
{
    Session s;
    s.id = QUuid::createUuid();
    s.profile = e.profile;
    s.name = e.name;
    s.pool = techPool();
    s.pool.id = e.pool;
    s.mode = e.mode;
    s.challenge = e.challenge;
    s.questions = examQuestions(s.pool, e.tag).mid(0, e.questions);
    s.pool.source = e.tag;
    for (qsizetype i = 0; i < s.questions.size(); ++i) {
        const Question& q = s.questions.at(i);
        s.answers.insert(q.id, i < e.score ? q.correct : (q.correct + 1) % 4);
    }
    s.eligible = e.eligible;
    s.elapsed = e.seconds;
    return Result{QUuid::createUuid(), s, e.finished, e.seconds};
}

QList<Result> makeResults(const Entries& entries)
{
    QList<Result> list;
    for (const Entry& e : entries)
        list.append(makeResult(e));
    return list;
}

QStringList tags(const QList<Result>& results)
{
    QStringList list;
    for (const Result& r : results)
        list.append(r.session.pool.source);
    return list;
}

} // namespace

Q_DECLARE_METATYPE(Entry)

class TestResults : public QObject
{
    Q_OBJECT

private slots:
    void leaderboardRanksBestPerName_data()
    {
        QTest::addColumn<Entries>("entries");
        QTest::addColumn<QString>("challenge");
        QTest::addColumn<QStringList>("expected");
        const QString club = u"Club Challenge"_s;
        QTest::newRow("faster best of same learner, higher score above")
            << Entries{{.tag = u"a20"_s},
                       {.tag = u"a15"_s, .seconds = 900},
                       {.tag = u"b31"_s, .name = u"Bob"_s, .score = 31, .seconds = 2400}}
            << QString() << QStringList{u"b31"_s, u"a15"_s};
        QTest::newRow("names in any case and blanks are one learner")
            << Entries{{.tag = u"lower"_s, .name = u" alice "_s}, {.tag = u"upper"_s, .name = u"ALICE"_s, .score = 32}}
            << QString() << QStringList{u"upper"_s};
        QTest::newRow("never on a board")
            << Entries{{.tag = u"guest"_s, .name = u" gUEST "_s},      {.tag = u"blank"_s, .name = u"  "_s},
                       {.tag = u"practice"_s, .mode = u"Study All"_s}, {.tag = u"resumed"_s, .eligible = false},
                       {.tag = u"short"_s, .questions = 34},           {.tag = u"ok"_s, .name = u"Zed"_s, .score = 1}}
            << QString() << QStringList{u"ok"_s};
        QTest::newRow("other pool and challenges apart")
            << Entries{{.tag = u"poolB"_s, .pool = u"tech-2022"_s},
                       {.tag = u"codeX"_s, .mode = club, .challenge = u"X"_s},
                       {.tag = u"plain"_s, .score = 2}}
            << QString() << QStringList{u"plain"_s};
        QTest::newRow("challenge board")
            << Entries{{.tag = u"codeX"_s, .mode = club, .challenge = u"X"_s},
                       {.tag = u"codex"_s, .name = u"Bob"_s, .mode = club, .challenge = u"x"_s},
                       {.tag = u"plain"_s}}
            << u"X"_s << QStringList{u"codeX"_s};
        QTest::newRow("equal score and time: earlier finish first")
            << Entries{{.tag = u"late"_s, .finished = 500}, {.tag = u"early"_s, .name = u"Bob"_s, .finished = 400}}
            << QString() << QStringList{u"early"_s, u"late"_s};
        QTest::newRow("complete tie keeps stored order")
            << Entries{{.tag = u"first"_s, .name = u"Cid"_s},
                       {.tag = u"second"_s, .name = u"Ann"_s},
                       {.tag = u"third"_s, .name = u"Bob"_s}}
            << QString() << QStringList{u"first"_s, u"second"_s, u"third"_s};
        Entries twelve;
        QStringList topTen;
        for (int i = 0; i < 12; ++i) {
            twelve.append({.tag = u"l%1"_s.arg(i), .name = u"Learner %1"_s.arg(i), .score = 20 + i});
            if (i >= 2)
                topTen.prepend(twelve.last().tag);
        }
        QTest::newRow("twelve learners, ten listed") << twelve << QString() << topTen;
        QTest::newRow("empty") << Entries{} << QString() << QStringList{};
    }
    void leaderboardRanksBestPerName()
    {
        QFETCH(Entries, entries);
        QFETCH(QString, challenge);
        QFETCH(QStringList, expected);
        QCOMPARE(tags(leaderboard(makeResults(entries), u"tech-2026"_s, challenge)), expected);
    }

    void boardCodeTrimsBlanksOnly_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("code");
        QTest::newRow("blanks") << u"  club-7\t"_s << u"CLUB-7"_s;
        QTest::newRow("line break kept") << u"club\n"_s << u"CLUB\n"_s;
        QTest::newRow("no cut") << QString(70, u'a') << QString(70, u'A');
        QTest::newRow("empty") << u"   "_s << QString();
    }
    void boardCodeTrimsBlanksOnly()
    {
        QFETCH(QString, typed);
        QFETCH(QString, code);
        QCOMPARE(boardChallengeCode(typed), code);
    }

    void rankingPoolsAddOldPoolsAndSkipDoneLevels()
    {
        const Pack pack = Fixtures::threeLevelPack();
        const QList<Result> results = makeResults(
            {{.tag = u"old"_s, .pool = u"tech-2022"_s}, {.tag = u"now"_s}, {.tag = u"old2"_s, .pool = u"tech-2022"_s}});
        const auto poolIds = [&](const QSet<QString>& done) {
            QStringList ids;
            for (const Pool& p : rankingPools(pack.pools, results, done))
                ids.append(p.id);
            return ids;
        };
        QCOMPARE(poolIds({}), (QStringList{u"tech-2026"_s, u"general-2023"_s, u"extra-2024"_s, u"tech-2022"_s}));
        QCOMPARE(poolIds({u"technician"_s}), (QStringList{u"general-2023"_s, u"extra-2024"_s}));
    }

    void durationPrintsHoursMinutesSeconds_data()
    {
        QTest::addColumn<double>("seconds");
        QTest::addColumn<QString>("text");
        QTest::newRow("zero") << 0.0 << u"00:00:00"_s;
        QTest::newRow("truncated") << 75.9 << u"00:01:15"_s;
        QTest::newRow("59.99") << 59.99 << u"00:00:59"_s;
        QTest::newRow("hours") << 3725.0 << u"01:02:05"_s;
        QTest::newRow("100 hours") << 360000.0 << u"100:00:00"_s;
        QTest::newRow("negative") << -3.0 << u"00:00:00"_s;
        QTest::newRow("not a number") << std::nan("") << u"00:00:00"_s;
    }
    void durationPrintsHoursMinutesSeconds()
    {
        QFETCH(double, seconds);
        QFETCH(QString, text);
        QCOMPARE(duration(seconds), text);
    }

    void historyIsOwnNewestFirst()
    {
        const QUuid anna = QUuid::createUuid();
        const QList<Result> results = makeResults({{.tag = u"1"_s, .profile = anna},
                                                   {.tag = u"2"_s, .profile = QUuid::createUuid()},
                                                   {.tag = u"3"_s, .name = u"guest"_s, .profile = anna},
                                                   {.tag = u"4"_s, .mode = u"Study All"_s, .profile = anna}});
        QCOMPARE(tags(history(results, anna)), (QStringList{u"4"_s, u"1"_s}));
    }

    void statusLineByFirstRule_data()
    {
        QTest::addColumn<Entry>("e");
        QTest::addColumn<QString>("line");
        const QString interrupted = u"Practice result — excluded from rankings because it was interrupted."_s;
        QTest::newRow("guest exam") << Entry{.name = u"GUEST"_s}
                                    << u"Guest result — not saved to history, progress or the top 10."_s;
        QTest::newRow("eligible") << Entry{}
                                  << u"Eligible for the local top 10. Score ranks first; time breaks ties."_s;
        QTest::newRow("interrupted") << Entry{.eligible = false} << interrupted;
        QTest::newRow("incomplete challenge") << Entry{.mode = u"Club Challenge"_s, .questions = 3} << interrupted;
        QTest::newRow("practice") << Entry{.mode = u"Mistakes"_s} << QString();
    }
    void statusLineByFirstRule()
    {
        QFETCH(Entry, e);
        QFETCH(QString, line);
        const std::optional<QString> got = resultStatusLine(makeResult(e));
        QCOMPARE(got.has_value(), !line.isEmpty());
        if (got)
            QCOMPARE(*got, line);
    }

    void readinessCountsRecentFreshExams_data()
    {
        QTest::addColumn<Entries>("entries");
        QTest::addColumn<QString>("text");
        const Entry pass{.score = 26}, fail{.score = 25};
        const QString keep = u"Keep practising for consistency."_s;
        QTest::newRow("none") << Entries{} << u"Take a fresh exam to begin tracking readiness."_s;
        QTest::newRow("three passed") << Entries{pass, pass, pass} << u"Recent fresh exams: 3/3 passed. "_s + keep;
        QTest::newRow("last five passed after a failure")
            << Entries{fail, pass, pass, pass, pass, pass}
            << u"Recent fresh exams: 5/5 passed. Consistent passing results."_s;
        QTest::newRow("four of five") << Entries{pass, fail, pass, pass, pass}
                                      << u"Recent fresh exams: 4/5 passed. "_s + keep;
        QTest::newRow("challenges, practice, other pools and learners do not count")
            << Entries{pass,
                       {.mode = u"Club Challenge"_s, .challenge = u"X"_s},
                       {.pool = u"tech-2022"_s},
                       {.profile = QUuid::createUuid()},
                       {.eligible = false}}
            << u"Recent fresh exams: 1/1 passed. "_s + keep;
    }
    void readinessCountsRecentFreshExams()
    {
        QFETCH(Entries, entries);
        QFETCH(QString, text);
        const QUuid anna = QUuid::createUuid();
        for (Entry& e : entries) {
            if (e.profile.isNull())
                e.profile = anna;
        }
        Saved saved = Saved::initial();
        saved.results = makeResults(entries);
        const PoolProgress p = poolProgress(techPool(), saved, anna);
        QCOMPARE(p.readiness, text);
        QCOMPARE(p.caption, u"Practice performance is not a guarantee of an official exam result."_s);
    }

    void coverageAndGroupRows()
    {
        const QUuid anna = QUuid::createUuid();
        Pool pool = techPool();
        pool.topics = {{u"T1"_s, u"Commission's rules"_s}};
        Saved saved = Saved::initial();
        // T1A: 7 of 9 over two questions; T1B: a record without attempts; T2A: 2 of 3; others untouched.
        saved.stats.insert(statKey(anna, pool.id, u"T1A01"_s), Stat{5, 4, true});
        saved.stats.insert(statKey(anna, pool.id, u"T1A02"_s), Stat{4, 3, false});
        saved.stats.insert(statKey(anna, pool.id, u"T1B03"_s), Stat{0, 0, false});
        saved.stats.insert(statKey(anna, pool.id, u"T2A01"_s), Stat{3, 2, true});
        // Another learner's and another pool's records are not counted.
        saved.stats.insert(statKey(QUuid::createUuid(), pool.id, u"T1C01"_s), Stat{1, 1, true});
        saved.stats.insert(statKey(anna, u"other"_s, u"T1C01"_s), Stat{1, 1, true});

        const PoolProgress p = poolProgress(pool, saved, anna);
        QCOMPARE(p.studied, 4);
        QCOMPARE(p.total, 350);
        QCOMPARE(p.coverage, u"Pool coverage: 4/350"_s);
        QCOMPARE(p.rows.size(), 35);
        QCOMPARE(p.rows.at(0), (GroupRow{u"T1A"_s, u"Commission's rules"_s, u"77% · 9 answers"_s}));
        QCOMPARE(p.rows.at(1), (GroupRow{u"T1B"_s, u"Commission's rules"_s, u"Not studied"_s}));
        QCOMPARE(p.rows.at(2).accuracy, u"Not studied"_s);
        QCOMPARE(p.rows.at(26), (GroupRow{u"T2A"_s, u"Question group"_s, u"66% · 3 answers"_s}));
        pool.questions.clear();
        QCOMPARE(poolProgress(pool, saved, anna).coverage, u"Pool coverage: 0/0"_s);
    }

    void progressListsOnlyCurrentPools()
    {
        Pack pack = Fixtures::threeLevelPack();
        pack.pools[1].validUntil = u"2026-07-01"_s;
        const QList<PoolProgress> list = progress(pack.pools, Saved::initial(), QUuid::createUuid(), u"2026-11-22"_s);
        QCOMPARE(list.size(), 2);
        QCOMPARE(list.at(0).pool.id, u"tech-2026"_s);
        QCOMPARE(list.at(1).pool.id, u"extra-2024"_s);
    }
};

AEROWEN_TEST_MAIN(TestResults, QCoreApplication)
#include "TestResults.moc"
