// Figures from finished results: boards, ranking pools, durations, history, status lines and readiness.
#include "store/Results.h"
#include "store/Seeded.h"
#include "support/Fixtures.h"
#include "support/TestEnvironment.h"

#include <QTest>

namespace {

// One stored result, described by what the boards look at.
struct Entry
{
    QString tag;
    QString name = QStringLiteral("Alice");
    qint64 score = 30;
    double seconds = 1200;
    double finished = 100;
    QString pool = QStringLiteral("tech-2026");
    QString mode = QStringLiteral("Exam");
    QString challenge;
    bool eligible = true;
    qsizetype questions = 35;
    QUuid profile;
};

const Pool& techPool()
{
    static const Pool pool = Fixtures::pool(QStringLiteral("technician"), QStringLiteral("tech-2026"));
    return pool;
}

Result makeResult(const Entry& e)
{
    Pool pool = techPool();
    pool.id = e.pool;
    Session s;
    s.id = QUuid::createUuid();
    s.profile = e.profile;
    s.name = e.name;
    s.pool = pool;
    s.mode = e.mode;
    s.challenge = e.challenge;
    s.questions = examQuestions(pool, e.tag).mid(0, e.questions);
    for (qsizetype i = 0; i < s.questions.size(); ++i) {
        const Question& q = s.questions.at(i);
        s.answers.insert(q.id, i < e.score ? q.correct : (q.correct + 1) % 4);
    }
    s.eligible = e.eligible;
    Result r;
    r.id = QUuid::createUuid();
    r.session = s;
    r.finished = e.finished;
    r.seconds = e.seconds;
    r.session.elapsed = e.seconds;
    return r;
}

// Results are told apart by the tag, which is kept in the pool's source field.
QList<Result> makeResults(const QList<Entry>& entries)
{
    QList<Result> list;
    for (const Entry& e : entries) {
        Result r = makeResult(e);
        r.session.pool.source = e.tag;
        list.append(r);
    }
    return list;
}

QStringList tags(const QList<Result>& results)
{
    QStringList list;
    for (const Result& r : results)
        list.append(r.session.pool.source);
    return list;
}

Entry entry(const QString& tag, std::function<void(Entry&)> edit = {})
{
    Entry e;
    e.tag = tag;
    if (edit)
        edit(e);
    return e;
}

} // namespace

Q_DECLARE_METATYPE(Entry)

class TestResults : public QObject
{
    Q_OBJECT

private slots:
    void leaderboardRanksBestPerName_data()
    {
        QTest::addColumn<QList<Entry>>("entries");
        QTest::addColumn<QString>("pool");
        QTest::addColumn<QString>("challenge");
        QTest::addColumn<QStringList>("expected");

        QTest::newRow("faster best of same learner, higher score above")
            << QList<Entry>{entry(QStringLiteral("a20"), [](Entry& e) { e.seconds = 1200; }),
                            entry(QStringLiteral("a15"), [](Entry& e) { e.seconds = 900; }),
                            entry(QStringLiteral("b31"),
                                  [](Entry& e) {
                                      e.name = QStringLiteral("Bob");
                                      e.score = 31;
                                      e.seconds = 2400;
                                  })}
            << QStringLiteral("tech-2026") << QString() << QStringList{QStringLiteral("b31"), QStringLiteral("a15")};
        QTest::newRow("names in any case and blanks are one learner")
            << QList<Entry>{entry(QStringLiteral("lower"), [](Entry& e) { e.name = QStringLiteral(" alice "); }),
                            entry(QStringLiteral("upper"),
                                  [](Entry& e) {
                                      e.name = QStringLiteral("ALICE");
                                      e.score = 32;
                                  })}
            << QStringLiteral("tech-2026") << QString() << QStringList{QStringLiteral("upper")};
        QTest::newRow("never on a board")
            << QList<Entry>{entry(QStringLiteral("guest"), [](Entry& e) { e.name = QStringLiteral(" gUEST "); }),
                            entry(QStringLiteral("blank"), [](Entry& e) { e.name = QStringLiteral("  "); }),
                            entry(QStringLiteral("practice"), [](Entry& e) { e.mode = QStringLiteral("Study All"); }),
                            entry(QStringLiteral("resumed"), [](Entry& e) { e.eligible = false; }),
                            entry(QStringLiteral("short"), [](Entry& e) { e.questions = 34; }),
                            entry(QStringLiteral("ok"),
                                  [](Entry& e) {
                                      e.name = QStringLiteral("Zed");
                                      e.score = 1;
                                  })}
            << QStringLiteral("tech-2026") << QString() << QStringList{QStringLiteral("ok")};
        QTest::newRow("other pool and challenges apart")
            << QList<Entry>{entry(QStringLiteral("poolB"), [](Entry& e) { e.pool = QStringLiteral("tech-2022"); }),
                            entry(QStringLiteral("codeX"),
                                  [](Entry& e) {
                                      e.mode = QStringLiteral("Club Challenge");
                                      e.challenge = QStringLiteral("X");
                                  }),
                            entry(QStringLiteral("plain"), [](Entry& e) { e.score = 2; })}
            << QStringLiteral("tech-2026") << QString() << QStringList{QStringLiteral("plain")};
        QTest::newRow("challenge board") << QList<Entry>{entry(QStringLiteral("codeX"),
                                                               [](Entry& e) {
                                                                   e.mode = QStringLiteral("Club Challenge");
                                                                   e.challenge = QStringLiteral("X");
                                                               }),
                                                         entry(QStringLiteral("codex"),
                                                               [](Entry& e) {
                                                                   e.name = QStringLiteral("Bob");
                                                                   e.mode = QStringLiteral("Club Challenge");
                                                                   e.challenge = QStringLiteral("x");
                                                               }),
                                                         entry(QStringLiteral("plain"))}
                                         << QStringLiteral("tech-2026") << QStringLiteral("X")
                                         << QStringList{QStringLiteral("codeX")};
        QTest::newRow("equal score and time: earlier finish first")
            << QList<Entry>{entry(QStringLiteral("late"), [](Entry& e) { e.finished = 500; }),
                            entry(QStringLiteral("early"),
                                  [](Entry& e) {
                                      e.name = QStringLiteral("Bob");
                                      e.finished = 400;
                                  })}
            << QStringLiteral("tech-2026") << QString() << QStringList{QStringLiteral("early"), QStringLiteral("late")};
        QTest::newRow("complete tie keeps stored order")
            << QList<Entry>{entry(QStringLiteral("first"), [](Entry& e) { e.name = QStringLiteral("Cid"); }),
                            entry(QStringLiteral("second"), [](Entry& e) { e.name = QStringLiteral("Ann"); }),
                            entry(QStringLiteral("third"), [](Entry& e) { e.name = QStringLiteral("Bob"); })}
            << QStringLiteral("tech-2026") << QString()
            << QStringList{QStringLiteral("first"), QStringLiteral("second"), QStringLiteral("third")};

        QList<Entry> twelve;
        QStringList topTen;
        for (int i = 0; i < 12; ++i) {
            const QString tag = QStringLiteral("l%1").arg(i);
            twelve.append(entry(tag, [i](Entry& e) {
                e.name = QStringLiteral("Learner %1").arg(i);
                e.score = 20 + i;
            }));
            if (i >= 2)
                topTen.prepend(tag);
        }
        QTest::newRow("twelve learners, ten listed") << twelve << QStringLiteral("tech-2026") << QString() << topTen;
        QTest::newRow("empty") << QList<Entry>{} << QStringLiteral("tech-2026") << QString() << QStringList{};
    }
    void leaderboardRanksBestPerName()
    {
        QFETCH(QList<Entry>, entries);
        QFETCH(QString, pool);
        QFETCH(QString, challenge);
        QFETCH(QStringList, expected);
        QCOMPARE(tags(leaderboard(makeResults(entries), pool, challenge)), expected);
    }

    void boardCodeTrimsBlanksOnly_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("code");
        QTest::newRow("blanks") << QStringLiteral("  club-7\t") << QStringLiteral("CLUB-7");
        QTest::newRow("line break kept") << QStringLiteral("club\n") << QStringLiteral("CLUB\n");
        QTest::newRow("no cut") << QString(70, QLatin1Char('a')) << QString(70, QLatin1Char('A'));
        QTest::newRow("empty") << QStringLiteral("   ") << QString();
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
        QList<Result> results =
            makeResults({entry(QStringLiteral("old"), [](Entry& e) { e.pool = QStringLiteral("tech-2022"); }),
                         entry(QStringLiteral("current")),
                         entry(QStringLiteral("old2"), [](Entry& e) { e.pool = QStringLiteral("tech-2022"); })});
        QStringList ids;
        for (const Pool& p : rankingPools(pack.pools, results, {}))
            ids.append(p.id);
        QCOMPARE(ids, (QStringList{QStringLiteral("tech-2026"), QStringLiteral("general-2023"),
                                   QStringLiteral("extra-2024"), QStringLiteral("tech-2022")}));
        ids.clear();
        for (const Pool& p : rankingPools(pack.pools, results, {QStringLiteral("technician")}))
            ids.append(p.id);
        QCOMPARE(ids, (QStringList{QStringLiteral("general-2023"), QStringLiteral("extra-2024")}));
    }

    void durationPrintsHoursMinutesSeconds_data()
    {
        QTest::addColumn<double>("seconds");
        QTest::addColumn<QString>("text");
        QTest::newRow("zero") << 0.0 << QStringLiteral("00:00:00");
        QTest::newRow("truncated") << 75.9 << QStringLiteral("00:01:15");
        QTest::newRow("59.99") << 59.99 << QStringLiteral("00:00:59");
        QTest::newRow("hours") << 3725.0 << QStringLiteral("01:02:05");
        QTest::newRow("100 hours") << 360000.0 << QStringLiteral("100:00:00");
        QTest::newRow("negative") << -3.0 << QStringLiteral("00:00:00");
        QTest::newRow("not a number") << std::nan("") << QStringLiteral("00:00:00");
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
        const QUuid other = QUuid::createUuid();
        const QList<Result> results = makeResults({
            entry(QStringLiteral("1"), [&](Entry& e) { e.profile = anna; }),
            entry(QStringLiteral("2"), [&](Entry& e) { e.profile = other; }),
            entry(QStringLiteral("3"),
                  [&](Entry& e) {
                      e.profile = anna;
                      e.name = QStringLiteral("guest");
                  }),
            entry(QStringLiteral("4"),
                  [&](Entry& e) {
                      e.profile = anna;
                      e.mode = QStringLiteral("Study All");
                  }),
        });
        QCOMPARE(tags(history(results, anna)), (QStringList{QStringLiteral("4"), QStringLiteral("1")}));
    }

    void statusLineByFirstRule_data()
    {
        QTest::addColumn<Entry>("e");
        QTest::addColumn<QString>("line");
        QTest::newRow("guest exam") << entry(QStringLiteral("g"), [](Entry& e) { e.name = QStringLiteral("GUEST"); })
                                    << QStringLiteral("Guest result — not saved to history, progress or the top 10.");
        QTest::newRow("eligible") << entry(QStringLiteral("e"))
                                  << QStringLiteral(
                                         "Eligible for the local top 10. Score ranks first; time breaks ties.");
        QTest::newRow("interrupted") << entry(QStringLiteral("i"), [](Entry& e) {
            e.eligible = false;
        }) << QStringLiteral("Practice result — excluded from rankings because it was interrupted.");
        QTest::newRow("incomplete challenge") << entry(QStringLiteral("c"), [](Entry& e) {
            e.mode = QStringLiteral("Club Challenge");
            e.questions = 3;
        }) << QStringLiteral("Practice result — excluded from rankings because it was interrupted.");
        QTest::newRow("practice") << entry(QStringLiteral("p"), [](Entry& e) { e.mode = QStringLiteral("Mistakes"); })
                                  << QString();
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
        QTest::addColumn<QList<Entry>>("entries");
        QTest::addColumn<QString>("text");
        const auto pass = [](const QString& tag) { return entry(tag, [](Entry& e) { e.score = 26; }); };
        const auto fail = [](const QString& tag) { return entry(tag, [](Entry& e) { e.score = 25; }); };
        QTest::newRow("none") << QList<Entry>{} << QStringLiteral("Take a fresh exam to begin tracking readiness.");
        QTest::newRow("three passed") << QList<Entry>{pass(QStringLiteral("1")), pass(QStringLiteral("2")),
                                                      pass(QStringLiteral("3"))}
                                      << QStringLiteral(
                                             "Recent fresh exams: 3/3 passed. Keep practising for consistency.");
        QTest::newRow("last five passed after a failure")
            << QList<Entry>{fail(QStringLiteral("0")), pass(QStringLiteral("1")), pass(QStringLiteral("2")),
                            pass(QStringLiteral("3")), pass(QStringLiteral("4")), pass(QStringLiteral("5"))}
            << QStringLiteral("Recent fresh exams: 5/5 passed. Consistent passing results.");
        QTest::newRow("four of five") << QList<Entry>{pass(QStringLiteral("1")), fail(QStringLiteral("2")),
                                                      pass(QStringLiteral("3")), pass(QStringLiteral("4")),
                                                      pass(QStringLiteral("5"))}
                                      << QStringLiteral(
                                             "Recent fresh exams: 4/5 passed. Keep practising for consistency.");
        QTest::newRow("challenges, practice, other pools and learners do not count")
            << QList<Entry>{pass(QStringLiteral("1")),
                            entry(QStringLiteral("c"),
                                  [](Entry& e) {
                                      e.mode = QStringLiteral("Club Challenge");
                                      e.challenge = QStringLiteral("X");
                                  }),
                            entry(QStringLiteral("o"), [](Entry& e) { e.pool = QStringLiteral("tech-2022"); }),
                            entry(QStringLiteral("l"), [](Entry& e) { e.profile = QUuid::createUuid(); }),
                            entry(QStringLiteral("r"), [](Entry& e) { e.eligible = false; })}
            << QStringLiteral("Recent fresh exams: 1/1 passed. Keep practising for consistency.");
    }
    void readinessCountsRecentFreshExams()
    {
        QFETCH(QList<Entry>, entries);
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
        QCOMPARE(p.caption, QStringLiteral("Practice performance is not a guarantee of an official exam result."));
    }

    void coverageAndGroupRows()
    {
        const QUuid anna = QUuid::createUuid();
        Pool pool = techPool();
        pool.topics = {{QStringLiteral("T1"), QStringLiteral("Commission's rules")}};
        Saved saved = Saved::initial();
        // T1A: 7 of 9 over two questions; T1B: a record without attempts; T2A: 2 of 3; others untouched.
        saved.stats.insert(statKey(anna, pool.id, QStringLiteral("T1A01")), Stat{5, 4, true});
        saved.stats.insert(statKey(anna, pool.id, QStringLiteral("T1A02")), Stat{4, 3, false});
        saved.stats.insert(statKey(anna, pool.id, QStringLiteral("T1B03")), Stat{0, 0, false});
        saved.stats.insert(statKey(anna, pool.id, QStringLiteral("T2A01")), Stat{3, 2, true});
        // Another learner's and another pool's records are not counted.
        saved.stats.insert(statKey(QUuid::createUuid(), pool.id, QStringLiteral("T1C01")), Stat{1, 1, true});
        saved.stats.insert(statKey(anna, QStringLiteral("other"), QStringLiteral("T1C01")), Stat{1, 1, true});

        const PoolProgress p = poolProgress(pool, saved, anna);
        QCOMPARE(p.studied, 4);
        QCOMPARE(p.total, 350);
        QCOMPARE(p.coverage, QStringLiteral("Pool coverage: 4/350"));
        QCOMPARE(p.rows.size(), 35);
        QCOMPARE(p.rows.at(0), (GroupRow{QStringLiteral("T1A"), QStringLiteral("Commission's rules"),
                                         QStringLiteral("77% · 9 answers")}));
        QCOMPARE(p.rows.at(1), (GroupRow{QStringLiteral("T1B"), QStringLiteral("Commission's rules"),
                                         QStringLiteral("Not studied")}));
        QCOMPARE(p.rows.at(2).accuracy, QStringLiteral("Not studied"));
        QCOMPARE(p.rows.at(26), (GroupRow{QStringLiteral("T2A"), QStringLiteral("Question group"),
                                          QStringLiteral("66% · 3 answers")}));

        Pool empty = pool;
        empty.questions.clear();
        QCOMPARE(poolProgress(empty, saved, anna).coverage, QStringLiteral("Pool coverage: 0/0"));
    }

    void progressListsOnlyCurrentPools()
    {
        Pack pack = Fixtures::threeLevelPack();
        pack.pools[1].validUntil = QStringLiteral("2026-07-01");
        const QList<PoolProgress> list =
            progress(pack.pools, Saved::initial(), QUuid::createUuid(), QStringLiteral("2026-11-22"));
        QCOMPARE(list.size(), 2);
        QCOMPARE(list.at(0).pool.id, QStringLiteral("tech-2026"));
        QCOMPARE(list.at(1).pool.id, QStringLiteral("extra-2024"));
    }
};

AEROWEN_TEST_MAIN(TestResults, QCoreApplication)
#include "TestResults.moc"
