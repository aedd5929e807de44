// The store: start-up and storage, learners, exam composition, sessions, and the figures and texts of results.
#include "model/Json.h"
#include "model/Modules.h"
#include "store/Browse.h"
#include "store/ResultText.h"
#include "store/Results.h"
#include "store/Review.h"
#include "store/Seeded.h"
#include "store/Settings.h"
#include "store/Trends.h"
#include "support/StoreFixtures.h"
#include "support/TestEnvironment.h"

#include <QCoreApplication>
#include <QDir>
#include <QPainter>

using namespace Qt::StringLiterals;
using namespace StoreFixtures;
using Files = QMap<QString, QByteArray>;
using Answers = QMap<QString, qint64>;
using Ids = QSet<QString>;

namespace {

const QString unreadable = u"Saved progress could not be read. The original file has been preserved. "_s;
const QString unprepared = u"Storage could not be prepared: "_s;
const QUuid anna(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11);
const Pool techPool = Fixtures::pool(u"technician"_s, u"tech-2026"_s);

// A General pool whose id is its revision.
Pool general(const QString& validFrom, const QString& revision)
{
    return Fixtures::pool(u"general"_s, revision, validFrom, revision);
}

// One stored result, described by what boards, history and readiness look at.
struct Entry
{
    QString name = u"Alice"_s;
    qint64 score = 30;
    double seconds = 1200;
    double finished = 100;
    QString pool = u"tech-2026"_s;
    QString mode = u"Exam"_s;
    QString challenge = {};
    bool eligible = true;
    qsizetype questions = 35;
    QUuid profile = anna;
};
using Entries = QList<Entry>;

QList<Result> results(const Entries& entries)
{
    QList<Result> list;
    for (const Entry& e : entries) {
        Session s(QUuid::createUuid(), e.profile, e.name, techPool, e.mode, e.challenge,
                  techPool.questions.mid(0, e.questions), Answers(), Ids(), Ids());
        s.eligible = e.eligible;
        s.pool.id = e.pool;
        for (qsizetype i = 0; i < s.questions.size(); ++i)
            s.answers.insert(s.questions[i].id, (s.questions[i].correct + (i < e.score ? 0 : 1)) % 4);
        list.append(Result{QUuid::createUuid(), s, e.finished, e.seconds});
    }
    return list;
}

// Three questions (correct answers B, C, D) of a Technician exam finished on 2026-11-22 at 20:46 UTC.
Result sample(const Answers& answers, double seconds)
{
    Session s(QUuid::createUuid(), anna, u"Zoë Ω"_s, techPool, u"Exam"_s, QString(), techPool.questions.mid(0, 3),
              answers, Ids(), Ids());
    s.questions[0].prompt = u"Which Ω — café?"_s;
    return Result{QUuid::createUuid(), s, 817073160, seconds};
}

// Statistics without their memory state.
QMap<QString, Stat> counts(QMap<QString, Stat> stats)
{
    for (Stat& s : stats)
        s = Stat{s.attempts, s.correct, s.lastCorrect};
    return stats;
}

// A Technician pool whose texts share nothing but the few words a search test looks for.
Pool searchPool()
{
    Pool p = techPool;
    for (Question& q : p.questions) {
        q.prompt = u"Which choice fits?"_s;
        q.answers = {u"Alpha"_s, u"Bravo"_s, u"Charlie"_s, u"Delta"_s};
    }
    p.questions[0].prompt = u"What is the Impédance of a CAPACITOR?"_s; // T1A01
    p.questions[1].answers[2] = u"Résistance in the ﬁeld"_s;            // T1A02
    p.questions[10].prompt = u"Why don’t you — ever — say 73?"_s;       // T1B01
    p.questions[260].answers[3] = u"The IMPEDANCE is matched"_s;        // T2A01
    return p;
}

} // namespace

class StoreTest : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    int m_folders = 0;
    StoreRig m_rig;
    std::unique_ptr<Store> m_store;
    const Pool& tech() const { return m_rig.tech(); }

    // A storage folder of its own holding the given files; without files it is not made beforehand.
    QString folderWith(const Files& files = {})
    {
        const QString folder = m_dir.filePath(u"%1/Kestovan Aerowen"_s.arg(++m_folders));
        QDir().mkpath(files.isEmpty() ? m_dir.path() : folder);
        for (auto it = files.cbegin(); it != files.cend(); ++it)
            Fixtures::writeFile(folder + u'/' + it.key(), it.value());
        return folder;
    }
    // Learners Guest, Anna (current) and Ben; edit adds to their progress file before the store reads it.
    void annaAndBen(const std::function<void(Saved&, QUuid, QUuid)>& edit = [](Saved&, QUuid, QUuid) {})
    {
        m_store = m_rig.fresh([&](Saved& saved) {
            saved.profiles << Profile{QUuid::createUuid(), u"Anna"_s, {}} << Profile{QUuid::createUuid(), u"Ben"_s, {}};
            saved.selected = saved.profiles.at(1).id;
            edit(saved, saved.profiles.at(1).id, saved.profiles.at(2).id);
        });
    }
    // Starts a session on the Technician pool and gives the ids of its questions (none when refused, with a message).
    QStringList start(const QString& mode, const QString& name, const std::optional<QStringList>& subset = {},
                      bool shuffle = false, const QString& code = {})
    {
        m_store->setMessage(QString());
        m_store->begin(tech(), mode, name, shuffle, code, subset ? std::optional(pick(tech(), *subset)) : std::nullopt);
        return m_store->message().isEmpty() ? ids(m_store->session()->questions) : QStringList();
    }
    // The current learner practises the one question, answers it right or wrong and checks it; gives its statistic
    // afterwards.
    Stat answered(const QString& id, bool right)
    {
        start(Modes::studyAll, u"Anna"_s, QStringList{id});
        const Question q = m_store->session()->questions[0];
        m_store->answer(right ? q.correct : wrong(q));
        m_store->reveal();
        m_store->finish();
        return m_store->saved().stats.value(m_store->key(tech(), q));
    }

private slots:
    // Start-up and storage.

    void startUp_data()
    {
        QTest::addColumn<Files>("files");
        QTest::addColumn<QString>("message"); // its beginning
        QTest::addColumn<QString>("pools");
        const QString builtIn = u"tech-2026 general-2023 extra-2024"_s, progress = u"progress.json"_s;
        const QString pack = u"official-pools.json"_s;
        const QByteArray newPeriod = Fixtures::pack({general("2027-07-01", "2026-01-01")}).toBytes();
        Files taken{{progress, "{"}, {pack, newPeriod}};
        const qint64 now = QDateTime::currentSecsSinceEpoch();
        for (qint64 s = now; s < now + 5; ++s) // the recovery copy's names of the coming seconds are all taken
            taken.insert(u"progress-unreadable-%1.json"_s.arg(s), "taken");
        Pack invalid = Fixtures::pack({general("2027-07-01", "2026-01-01")});
        invalid.schema = 2;
        Saved kept = Saved::initial();
        kept.profiles[0].name = u"Kept"_s;
        QTest::newRow("first start") << Files{} << QString() << builtIn;
        // Unreadable progress (text that is not JSON: the hostile end-to-end rows) beside damaged diagram files and
        // an installed pool of a new period, which is still merged in.
        QTest::newRow("no profiles, damaged diagram files")
            << Files{{progress, R"({"profiles":[],"stats":{},"bookmarks":[],"drafts":[],"results":[]})"},
                     {u"diagram-corrections.json"_s, "["},
                     {u"diagram-review.json"_s, "{}"},
                     {pack, newPeriod}}
            << unreadable << builtIn + u" 2026-01-01"_s;
        QTest::newRow("empty progress file") << Files{{progress, ""}} << unreadable << builtIn;
        QTest::newRow("recovery copy impossible") << taken << unprepared << builtIn;
        QTest::newRow("invalid built-in pack: nothing read") // it is the one given in the folder
            << Files{{u"pools.json"_s, invalid.toBytes()}, {progress, kept.toBytes()}} << unprepared << u"2026-01-01"_s;
    }
    void startUp()
    {
        QFETCH(Files, files);
        QFETCH(QString, message);
        QFETCH(QString, pools);
        const QString folder = folderWith(files);
        const qint64 before = QDateTime::currentSecsSinceEpoch();
        Store store(files.contains(u"pools.json"_s) ? folder + u"/pools.json"_s : m_rig.packPath, folder);
        QVERIFY2(store.message().startsWith(message) &&
                     (message.isEmpty() ? store.message().isEmpty() : store.message().size() > message.size()),
                 qPrintable(store.message()));
        QCOMPARE(ids(store.pack().pools).join(u' '), pools);
        QVERIFY(store.saved().profiles.size() == 1 && store.saved().profiles.at(0).name == "Guest"_L1);
        QVERIFY(store.diagramCorrections().isEmpty() && !store.diagramReview());
        // Start-up writes no file but the recovery copy: a byte copy named after the second it was made in.
        QStringList written = QDir(folder).entryList(QDir::Files);
        for (const QString& name : files.keys())
            QVERIFY(written.removeOne(name));
        // A progress file start-up did not read is kept, whatever stopped it (a broken built-in pack too).
        const bool copied = message == unreadable || files.contains(u"pools.json"_s);
        QCOMPARE(written.size(), copied ? 1 : 0);
        if (copied) {
            const qint64 second = written.at(0).sliced(20).chopped(5).toLongLong();
            QVERIFY(written.at(0).startsWith(u"progress-unreadable-"_s) && second >= before && second <= before + 2);
            QCOMPARE(Fixtures::readFile(folder + u'/' + written.at(0)), files.value(u"progress.json"_s));
            QVERIFY(message == unreadable || store.message().contains(written.at(0)));
            // The next start finds the identical copy and makes no other.
            Store(files.contains(u"pools.json"_s) ? folder + u"/pools.json"_s : m_rig.packPath, folder);
            QCOMPARE(QDir(folder).entryList(QDir::Files).size(), files.size() + 1);
        }
        // The progress file is left in place.
        QCOMPARE(Fixtures::readFile(folder + u"/progress.json"_s), files.value(u"progress.json"_s));
        store.save();
        store.flush();
        if (files.contains(u"progress.json"_s) && !copied && message == unprepared) {
            // Nothing could keep the unread file aside: no save may replace it.
            QVERIFY(store.message().startsWith(u"Progress could not be saved: "_s));
            QCOMPARE(Fixtures::readFile(folder + u"/progress.json"_s), files.value(u"progress.json"_s));
        } else {
            QCOMPARE(Saved::fromBytes(Fixtures::readFile(folder + u"/progress.json"_s)), store.saved());
        }
    }

    void installedPoolsMergeAndPoolsAreOrdered()
    {
        Pack builtIn = Fixtures::threeLevelPack(); // its General pool is of 2023-07-01, revision 2026-02-04
        builtIn.assets = {{u"shared.png"_s, u"QlVJ"_s}, {u"old.png"_s, u"T0xE"_s}};
        const auto merged = [&](const QList<Pool>& pools) {
            return ids(mergeInstalledPack(builtIn, Fixtures::pack(pools)).pools).join(u' ');
        };
        QCOMPARE(merged({general("2023-07-01", "2026-02-04")}), u"tech-2026 general-2023 extra-2024"_s);
        QCOMPARE(merged({general("2023-07-01", "2026-05-01"), general("2023-07-01", "2026-03-01")}),
                 u"tech-2026 extra-2024 2026-05-01"_s); // a later installed pool meets the earlier one
        Pack installed = Fixtures::pack({general("2027-07-01", "2026-01-01")});
        installed.assets = {{u"shared.png"_s, u"SU5T"_s}, {u"new.png"_s, u"TkVX"_s}};
        QCOMPARE(mergeInstalledPack(builtIn, installed).assets,
                 (QMap<QString, QString>{{"shared.png", "SU5T"}, {"old.png", "T0xE"}, {"new.png", "TkVX"}}));
        // Display order: level, then newest period first, otherwise as stored.
        QList<Pool> pools;
        for (const QString& p : {u"extra e24 2024"_s, u"general g23 2023"_s, u"technician t22 2022"_s,
                                 u"general g27 2027"_s, u"technician t26 2026"_s, u"technician t26b 2026"_s})
            pools.append(
                Fixtures::pool(p.section(u' ', 0, 0), p.section(u' ', 1, 1), p.section(u' ', 2) + u"-07-01"_s));
        QCOMPARE(ids(displayOrder(pools)), (QStringList{"t26", "t26b", "t22", "g27", "g23", "e24"}));
        // A folder that cannot be made stops the preparation; without its built-in pack the application cannot run.
        QVERIFY(Store(m_rig.packPath, m_rig.packPath + u"/storage"_s).message().startsWith(unprepared));
        QVERIFY_THROWS_EXCEPTION(BuiltInPackError, Store(m_dir.filePath(u"absent.json"_s), folderWith()));
        QVERIFY_THROWS_EXCEPTION(BuiltInPackError, Store(u"" KESTOVAN_SOURCE_DIR "/README.md"_s, folderWith()));
    }

    void clearAllDataStartsAgainWithGuest()
    {
        Saved saved = Saved::initial();
        saved.stats.insert(u"a|b|c"_s, Stat{1, 1, true});
        const QString folder =
            folderWith({{u"progress.json"_s, saved.toBytes()},
                        {u"progress-unreadable-100.json"_s, "old"},
                        {u"progress-unreadable-300.txt"_s, "not a recovery copy"},
                        {u"official-pools.json"_s, Fixtures::pack({general("2023-07-01", "2026-09-01")}).toBytes()},
                        {u"diagram-review.json"_s, DiagramReview().toBytes()},
                        {u"diagram-corrections.json"_s, CorrectionsJson::toBytes({{u"d"_s, {}}})}});
        Settings::open()->setValue(Settings::studyTextSize, 22.0);
        Store store(m_rig.packPath, folder);
        store.setMessage(u"something earlier"_s);
        store.clearAllData();
        QCOMPARE(store.message(), QString());
        QVERIFY(store.saved().profiles.size() == 1 && store.saved().profiles.at(0).id != saved.profiles.at(0).id);
        QVERIFY(store.saved().profiles.at(0).name == "Guest"_L1 && store.saved().stats.isEmpty());
        QCOMPARE(Saved::fromBytes(Fixtures::readFile(folder + u"/progress.json"_s)), store.saved());
        QCOMPARE(QDir(folder).entryList(QDir::Files),
                 (QStringList{"diagram-corrections.json", "diagram-review.json", "official-pools.json",
                              "progress-unreadable-300.txt", "progress.json"}));
        QVERIFY(!Settings::open()->contains(Settings::studyTextSize) && store.diagramReview());
        QCOMPARE(store.diagramCorrections().keys(), QStringList{"d"}); // read at start-up, kept by clearing
        // A folder where the progress file should be makes saving and clearing fail, changing nothing.
        QVERIFY(QFile::remove(folder + u"/progress.json"_s) && QDir().mkpath(folder + u"/progress.json"_s));
        Fixtures::writeFile(folder + u"/progress-unreadable-5.json"_s, "old");
        store.setLevelComplete(u"general"_s, true); // the write fails on the writer thread, reported on this one
        QVERIFY(store.message().isEmpty());
        QTRY_VERIFY(store.message().startsWith(u"Progress could not be saved: "_s));
        store.setMessage(QString());
        store.addProfile(u"Anna"_s); // a change of learner waits for the file
        QVERIFY2(store.message().startsWith(u"Progress could not be saved: "_s), qPrintable(store.message()));
        const Saved before = store.saved();
        store.clearAllData();
        QVERIFY(store.message().startsWith(u"Could not finish clearing local data: "_s) && store.saved() == before);
        QVERIFY(QFile::exists(folder + u"/progress-unreadable-5.json"_s));
    }

    void progressEncoderWritesWhatPlainEncodingReads()
    {
        Saved saved = Saved::initial();
        saved.selected = saved.profiles.at(0).id;
        for (int i = 0; i < 3; ++i) {
            saved.drafts.append(Session(QUuid::createUuid(), anna, u"Anna"_s, techPool, u"Study All"_s, QString(),
                                        techPool.questions.mid(i, 20), Answers(), Ids(), Ids()));
            saved.results.append(Result{QUuid::createUuid(), saved.drafts.last(), 12.5, 300});
        }
        saved.stats.insert(statKey(anna, techPool.id, u"T1A01"_s), Stat{2, 1, true});
        // Changes made in place, the way the store makes them, while the encoder holds its copies.
        const QList<std::function<void()>> changes{
            [] {},
            [&] { saved.drafts.last().pool.questions[3].prompt = u"Changed “prompt” \\ \""_s; },
            [&] { saved.drafts.first().questions.swapItemsAt(0, 1); },
            [&] { saved.stats.first().attempts += 1; },
            [&] { saved.results.append(Result(QUuid::createUuid(), saved.drafts.first(), 1, 2)); },
            [&] { saved.results.removeFirst(); },
            [&] { saved.drafts.append(saved.drafts.takeFirst()); },
            [&] { saved.selected.reset(); },
            [&] { saved.drafts.first().pool.questions.clear(); }, // its own questions stay the session's
            [&] { // a hand-edited file: two results with one id, each written as it was read
                Result twin = saved.results.first();
                twin.seconds = 99;
                saved.results.append(twin);
            },
            [&] { // texts that look like the encoder's placeholders stay inside their strings
                saved.profiles[0].name = u"\"stats\":{} \"drafts\":[] \"pool\":{} \"results\":[]"_s;
                saved.drafts.first().flags.insert(u"\"questions\":[]"_s);
            }};
        ProgressEncoder encoder;
        for (qsizetype step = 0; step < changes.size(); ++step) {
            changes[step]();
            const QByteArray bytes = encoder.encode(saved);
            QVERIFY2(Saved::fromBytes(bytes) == saved && encoder.encode(saved) == bytes, QByteArray::number(step));
        }
    }

    // Learners, exam composition and sessions.

    void generatorAndExamMatchReferenceValues()
    {
        // FNV-1a over the UTF-8 bytes (é is two of them), then SplitMix64: every installation must draw alike.
        QCOMPARE(Seeded(QString()).state, 0xcbf29ce484222325ULL);
        QCOMPARE(Seeded(u"é"_s).state, 0x0ac21707b7181e01ULL);
        Seeded zero(quint64(0)), xa(u"X|A"_s);
        QCOMPARE(zero.next(), 0xe220a8397b1dcdafULL);
        for (const quint64 value : {0xf0ca91390a83bab8ULL, 0xa28ab9ef602ddb2dULL, 0xb96408f66de87a55ULL})
            QCOMPARE(xa.next(), value);
        // The worked example, its questions stored out of order: candidates are sorted by id before the draw.
        Pool x = Fixtures::pool(u"technician"_s, u"X"_s, u"2026-07-01"_s, u"2026-02-19"_s, 2, 3);
        x.questions.removeAt(2);
        std::reverse(x.questions.begin(), x.questions.end());
        QCOMPARE(ids(examQuestions(x, u"A"_s)), (QStringList{"T1A01", "T1B02"}));
        // Six groups, whose shuffle exchanges entries.
        x = Fixtures::pool(u"technician"_s, u"P"_s, u"2026-07-01"_s, u"2026-02-19"_s, 6, 3);
        QCOMPARE(ids(examQuestions(x, u"CLUB-7"_s)).join(u' '), u"T1A02 T1F03 T1B02 T1E03 T1D01 T1C03"_s);
        QCOMPARE(statKey(QUuid::fromString(u"e621e1f8-c36c-495a-93fc-0c247a3e6e5f"_s), u"P"_s, u"T1A01"_s),
                 u"E621E1F8-C36C-495A-93FC-0C247A3E6E5F|P|T1A01"_s);
    }

    void learnersAreAddedRenamedAndCompleteLevels()
    {
        auto store = m_rig.fresh();
        const QUuid guest = store->profile().id;
        store->addProfile(u" \t\n "_s);
        QVERIFY(!QFile::exists(m_rig.progressPath())); // a blank name changes nothing, not even the file
        store->addProfile(u"  Anna \n"_s);
        const QUuid anna = store->profile().id;
        store->addProfile(u"ben"_s);
        store->addProfile(u"ANNA"_s); // the same learner in other letters
        store->renameProfile(u"Ben"_s);
        QCOMPARE(store->message(), u"A profile with that name already exists. Select it or use a different name."_s);
        store->setMessage(QString());
        store->renameProfile(u" aNNA "_s); // its own name in other letters is allowed
        QVERIFY(store->message().isEmpty() && store->profile().id == anna);
        QCOMPARE(m_rig.onDisk().profiles.at(1).name, u"aNNA"_s); // renamed and saved at once
        store->select(guest);
        store->renameProfile(u"BEN"_s); // Guest keeps its name: renaming it picks or adds a named learner
        QCOMPARE(store->profile().name, u"ben"_s);
        store->select(QUuid::createUuid()); // an unknown learner falls back to the first
        QVERIFY(store->profile().id == guest && m_rig.onDisk().selected == store->saved().selected);
        // Completed levels hide their pools from this learner only; unmarked, an empty set stays in the file.
        store->setLevelComplete(u"technician"_s, true);
        QCOMPARE(store->studyPools(), store->pools().mid(1));
        store->setLevelComplete(u"technician"_s, false);
        QCOMPARE(store->studyPools(), store->pools());
        QVERIFY(m_rig.fileBytes().contains("\"completedLevels\":[]"));
        store->setLevelComplete(u"extra"_s, true);
        QCOMPARE(store->profile().completedLevels, QSet<QString>{u"extra"_s});
        store->addProfile(u"Dora"_s);
        QCOMPARE(store->studyPools(), store->pools());
        QCOMPARE(m_rig.onDisk(), store->saved());
    }

    void beginCleansAndEachModeSelects()
    {
        const QStringList offered{"T1C03", "T1A01", "T1B02", "T2B07", "T1A05", "T1D04"};
        annaAndBen([&](Saved& saved, QUuid anna, QUuid ben) {
            // Anna: T1A 3 of 4 (weak), T1B 4 of 5 (not weak, though T1B02 alone would be), T1C a record without
            // attempts, T1D answered only in another pool; every later group right. Ben's records are not hers.
            for (const Question& q : tech().questions.mid(40))
                saved.stats.insert(statKey(anna, tech().id, q.id), Stat{1, 1, true});
            saved.stats.insert(statKey(anna, tech().id, u"T1A02"_s), Stat{4, 3, false});
            saved.stats.insert(statKey(anna, tech().id, u"T1B01"_s), Stat{3, 3, true});
            saved.stats.insert(statKey(anna, tech().id, u"T1B02"_s), Stat{2, 1, false});
            saved.stats.insert(statKey(anna, tech().id, u"T1C01"_s), Stat{});
            saved.stats.insert(statKey(anna, u"other"_s, u"T1D01"_s), Stat{1, 1, true});
            saved.stats.insert(statKey(ben, tech().id, u"T1A01"_s), Stat{9, 9, true});
            saved.bookmarks << statKey(ben, tech().id, u"T1A01"_s) << statKey(anna, u"other"_s, u"T1A02"_s);
        });
        // Weak groups are judged on the whole pool, whatever part of it is offered.
        QCOMPARE(start(u"Weak Topics"_s, u"Anna"_s, offered), (QStringList{"T1C03", "T1A01", "T1A05", "T1D04"}));
        QVERIFY(start(u"Bookmarks"_s, u"Anna"_s).isEmpty());
        QCOMPARE(m_store->message(), u"No questions match this practice mode yet."_s);
        for (const int i : {12, 2, 5, 5}) // without a session; twice undoes
            m_store->toggleBookmark(tech(), tech().questions.at(i));
        QCOMPARE(m_rig.onDisk().bookmarks.size(), 4);
        QCOMPARE(start(u"Bookmarks"_s, u"Anna"_s), (QStringList{"T1A03", "T1B03"})); // pool order
        // Mistakes and practice keep the given order unless shuffled; shuffling keeps every question.
        QCOMPARE(start(u"Mistakes"_s, u"Anna"_s, offered, false, u"code"_s), offered);
        QStringList shuffled = start(u"Study All"_s, u"Anna"_s, {}, true);
        QVERIFY(shuffled != ids(tech().questions));
        shuffled.sort();
        QCOMPARE(shuffled, ids(tech().questions));
        // A challenge draws its code's exam, an exam a fresh one each time, whatever the subset and shuffle switch.
        const QString club = u"Club Challenge"_s, family = u"👨‍👩‍👧"_s, a59(59, u'a');
        QCOMPARE(start(club, u"Ben"_s, offered, true, u"club-7"_s), ids(examQuestions(tech(), u"CLUB-7"_s)));
        const QStringList exam = start(u"Exam"_s, u"Ben"_s, offered, true);
        QVERIFY(exam.size() == 35 && start(u"Exam"_s, u"Ben"_s) != exam);
        const QList<std::array<QString, 4>> cases{
            // mode, name, code, then "name|code" started or the refusal; names are cut at 80 characters as the
            // learner sees them (an emoji family is one), codes upper-cased first (ß grows to SS), then cut at 60.
            {club, u" Anna\n"_s, u"  club-7 \n"_s, u"Anna|CLUB-7"_s},
            {club, family.repeated(85), a59 + u"ßb"_s, family.repeated(80) + u'|' + a59.toUpper() + u'S'},
            {u"Exam"_s, u"Anna"_s, u"club-7"_s, u"Anna|"_s},
            {club, u" \n\t"_s, u"c"_s, u"Enter a name before starting."_s},
            {club, u"Anna"_s, u" \n "_s, u"Enter a shared challenge code."_s}};
        for (const auto& [mode, name, code, expected] : cases) {
            start(mode, name, {}, false, code);
            const Session& s = *m_store->session();
            QCOMPARE(m_store->message().isEmpty() ? s.name + u'|' + s.challenge : m_store->message(), expected);
        }
    }

    void spacedReviewOverWeeks()
    {
        annaAndBen([this](Saved& saved, QUuid anna, QUuid) {
            // Due a day ago with low recall, due now with higher recall, not yet due, and answered before memory
            // states were kept: only the first two are due, the last is not new either.
            const auto memory = [&](const char* id, double reviewed, double due) {
                saved.stats.insert(statKey(anna, tech().id, QString::fromLatin1(id)),
                                   {1, 1, true, 2, 5, reviewed, due});
            };
            memory("T1C01", -4 * 86400, -86400);
            memory("T1B01", -86400, 0);
            memory("T1A01", -86400, 86400);
            saved.stats.insert(statKey(anna, tech().id, u"T1A02"_s), Stat{2, 1, true});
        });
        double now = 0;
        m_store->setWallClock([&] { return now; });
        QCOMPARE(start(Modes::dueForReview, u"Anna"_s),
                 (QStringList{"T1C01", "T1B01"} + ids(tech().questions.mid(2, 8)) + QStringList{"T1B02", "T1B03"}));
        QCOMPARE(start(Modes::dueForReview, u"Anna"_s, {}, true).mid(0, 2), (QStringList{"T1C01", "T1B01"}));
        QVERIFY(start(Modes::dueForReview, u"Anna"_s, QStringList{"T1A01", "T1A02"}).isEmpty()); // refused

        // A wrong answer is due again the same day; right answers drift to days, then weeks apart.
        Stat t = answered(u"T1A05"_s, false);
        QVERIFY(*t.reviewed == now && *t.due > now && *t.due < now + 3600);
        now += 3600;
        QCOMPARE(start(Modes::dueForReview, u"Anna"_s, QStringList{"T1A05", "T1A01"}), QStringList{"T1A05"});
        QList<double> days;
        for (int review = 0; review < 5; ++review) {
            t = answered(u"T1A05"_s, true);
            days.append((*t.due - now) / 86400);
            QVERIFY(start(Modes::dueForReview, u"Anna"_s, QStringList{"T1A05"}).isEmpty());
            now = *t.due;
        }
        QVERIFY(days[0] >= 1 && std::is_sorted(days.cbegin(), days.cend(), std::less_equal<>()) && days[4] >= 14);
    }

    void progressFilesOfBothVersionsRead()
    {
        // A file as 1.0.2 writes it, without memory keys, reads unchanged; its attempts count on.
        annaAndBen([this](Saved& saved, QUuid anna, QUuid) {
            saved.stats.insert(statKey(anna, tech().id, u"T1A01"_s), Stat{3, 2, false});
        });
        const QByteArray old = m_rig.fileBytes();
        QVERIFY(!old.contains("\"due\"") && !old.contains("\"stability\""));
        QCOMPARE(m_store->saved(), Saved::fromBytes(old));
        const Stat t = answered(u"T1A01"_s, true); // the counts go on, and a memory state begins
        QVERIFY(t.attempts == 4 && t.correct == 3 && t.lastCorrect && t.due);
        // This version's file only adds the memory keys to a statistic, so 1.0.2, which reads the other three and
        // passes over unknown keys, reads it; this version reads its memory state back as it was.
        const QByteArray file = m_rig.fileBytes();
        QCOMPARE(Json::parseObject(file)[u"stats"_s][m_store->key(tech(), tech().questions.at(0))].toObject().keys(),
                 QStringList({"attempts", "correct", "difficulty", "due", "lastCorrect", "reviewed", "stability"}));
        QCOMPARE(Saved::fromBytes(file), m_store->saved());
    }

    void predictedScoreAndPassChance()
    {
        // Independent outcomes, computed exactly.
        const QList<std::tuple<QList<double>, qint64, double>> cases{
            {{0.5, 0.5, 0.5}, 2, 0.5}, {{1, 1, 0}, 2, 1}, {{1, 1, 0}, 3, 0},        {{0.9, 0.8}, 2, 0.72},
            {{0.9, 0.8}, 1, 0.98},     {{}, 0, 1},        {{0.2, 0.6, 0.5}, 2, 0.4}};
        for (const auto& [chances, pass, chance] : cases)
            QVERIFY(qAbs(passChance(chances, pass) - chance) < 1e-12);
        // One group at 3 of 4 right without memory state; one with a question just reviewed (recall 1) and a group
        // accuracy of 1; one with recall 0.9 after a stability's time and accuracy 1/2 for the rest; 32 guessed.
        QMap<QString, Stat> stats;
        stats.insert(statKey(anna, tech().id, u"T1A02"_s), Stat{4, 3, false});
        stats.insert(statKey(anna, tech().id, u"T1B03"_s), Stat{1, 1, true, 4, 5, 1000, 2000});
        stats.insert(statKey(anna, tech().id, u"T1C04"_s), Stat{2, 1, true, 1, 5, 1000 - 86400, 1000});
        stats.insert(statKey(anna, u"other"_s, u"T1D01"_s), Stat{1, 1, true});
        const Prediction p = predict(tech(), stats, anna, 1000);
        QVERIFY(qAbs(p.score - (0.75 + 1 + 0.54 + 32 * 0.25)) < 1e-9 && p.examCount == 35);
        QCOMPARE(predictionLine(p), u"Predicted score 10.3 of 35 · pass chance 0 %"_s);
        QCOMPARE(predictionLine({29.44, 35, 0.8399}), u"Predicted score 29.4 of 35 · pass chance 83 %"_s);
    }

    void playingLeavingAndResuming()
    {
        annaAndBen();
        const QUuid anna = m_store->profile().id;
        const auto key = [&](const char* id) { return statKey(anna, tech().id, QString::fromLatin1(id)); };
        start(u"Exam"_s, u"Anna"_s);
        m_store->finish();
        start(u"Study All"_s, u"Anna"_s, QStringList{"T1A01", "T1A02", "T1A03"});
        const Session s = *m_store->session(); // a fresh start: nothing answered, time from zero, stored as a draft
        QVERIFY(!m_store->result() && s.index == 0 && s.eligible && s.answers.isEmpty() && s.pool == tech());
        QVERIFY(s.elapsed == 0 && m_store->elapsed() == 0 && qAbs(s.started - Dates::now()) < 5);
        QCOMPARE(m_rig.onDisk().drafts, QList<Session>{s});
        m_store->addProfile(u"Ben"_s); // statistics go to the session's learner, not the current one
        const Question q = s.questions.at(0);
        m_store->reveal(); // nothing chosen yet
        m_store->answer(wrong(q));
        m_store->reveal();
        m_store->answer(q.correct); // a checked answer is final
        m_store->reveal();
        QCOMPARE(m_store->session()->answers.value(q.id), wrong(q));
        QCOMPARE(counts(m_store->saved().stats), (QMap<QString, Stat>{{key("T1A01"), {1, 0, false}}}));
        m_store->move(1); // answered but never checked: counted at the end; the third never answered
        m_store->answer(s.questions.at(1).correct);
        m_store->finish();
        QCOMPARE(counts(m_store->saved().stats),
                 (QMap<QString, Stat>{{key("T1A01"), {1, 0, false}}, {key("T1A02"), {1, 1, true}}}));
        m_store->addProfile(u"Anna"_s);
        // A Guest's attempt leaves no statistics, draft or result behind.
        const Saved before = m_store->saved();
        start(u"Study All"_s, u" gUeSt "_s);
        m_store->answer(0);
        m_store->reveal();
        m_store->leave();
        start(u"Exam"_s, u"guest"_s);
        m_store->answer(0);
        m_store->finish();
        QVERIFY(m_store->result() && !m_store->session() && m_store->saved() == before && m_rig.onDisk() == before);
        // Leaving keeps the time but ends an exam's place on the board.
        start(u"Exam"_s, u"Anna"_s);
        m_rig.now += 100;
        m_store->leave();
        QVERIFY(!m_store->session() && m_store->elapsed() == 0);
        const Session left = m_rig.onDisk().drafts.first();
        QVERIFY(left.elapsed == 100 && !left.eligible);
        m_rig.now += 86400; // time away does not count
        m_store->resume(left);
        m_rig.now += 20.5;
        m_store->answer(2);
        QCOMPARE(m_rig.onDisk().drafts.first().elapsed, 120.5); // only the stored copy carries the time so far
        m_store->finish();
        QVERIFY(m_store->result()->seconds == 120.5 && m_store->result()->session.elapsed == 120.5);
        QVERIFY(!m_store->result()->session.eligible);
        // A challenge resumed after quitting lost its place too; practice keeps the flag.
        start(u"Club Challenge"_s, u"Anna"_s, {}, false, u"c"_s);
        m_store = m_rig.reopen();
        m_store->resume(m_store->savedSessions().first());
        QVERIFY(!m_store->session()->eligible && !m_store->result());
        start(u"Study All"_s, u"Anna"_s, QStringList{"T1A01"});
        const QUuid practice = m_store->session()->id;
        m_store->leave();
        QVERIFY(m_rig.onDisk().drafts.last().eligible);
        // Drafts belong to their learner.
        m_store->addProfile(u"Ben"_s);
        m_store->deleteSession(practice);
        QVERIFY(m_store->savedSessions().isEmpty() && m_rig.onDisk().drafts.size() == 2);
        m_store->addProfile(u"Anna"_s);
        m_store->deleteSession(practice);
        QCOMPARE(m_rig.onDisk().drafts.size(), 1);
    }

    void wholeExamOnTheTechnicianPool()
    {
        QTemporaryDir storage;
        double now = 0;
        Result result;
        {
            Store store(Fixtures::sourcePackPath(), storage.path());
            store.setClock([&] { return now; });
            const Pool pool = store.pools().first();
            store.addProfile(u"Anna"_s);
            store.begin(pool, u"Exam"_s, u"Anna"_s, true, QString());
            const QList<Question> qs = store.session()->questions;
            store.answer(wrong(qs[0]));
            store.answer(qs[0].correct); // answers change freely until the end and are never checked one by one
            store.reveal();
            store.flag();
            store.move(-5);
            for (qsizetype i = 1; i < qs.size() - 1; ++i) { // right but for the last four, the very last unanswered
                store.move(i);
                store.answer(i < qs.size() - 4 ? qs[i].correct : wrong(qs[i]));
                now += 10;
            }
            store.move(999);
            store.flag();
            store.flag();
            store.flush();
            const Session draft = Saved::fromBytes(Fixtures::readFile(store.filePath(u"progress.json"_s))).drafts.at(0);
            QVERIFY(draft.index == qs.size() - 1 && draft.flags == QSet<QString>{qs[0].id} && draft.revealed.isEmpty());
            store.finish();
            result = *store.result();
            QVERIFY(result.score() == pool.examCount - 4 && result.passed() && result.seconds == 10 * (qs.size() - 2));
            QCOMPARE(store.saved().stats.size(), qs.size() - 1);
            QCOMPARE(counts(store.saved().stats).value(store.key(pool, qs[0])), (Stat{1, 1, true}));
        }
        Store again(Fixtures::sourcePackPath(), storage.path());
        QCOMPARE(again.saved().results, QList<Result>{result});
        QVERIFY(again.profile().id == result.session.profile && again.saved().drafts.isEmpty() && result.eligible());
    }

    // Figures and texts of finished results.

    void leaderboardKeepsEachLearnersBest()
    {
        const QString club = u"Club Challenge"_s;
        const Entry x{.mode = club, .challenge = u"X"_s};
        const Entries never{{.name = u" gUEST "_s},
                            {.name = u"  "_s},
                            {.mode = u"Study All"_s},
                            {.eligible = false},
                            {.questions = 34},
                            {.pool = u"tech-2022"_s},
                            x,
                            {.name = u"Zed"_s, .score = 1}};
        Entries twelve;
        for (int i = 0; i < 12; ++i)
            twelve.append({u"Learner %1"_s.arg(i), 20 + i});
        // Entries, the challenge code of the board, and the board as positions in the entries.
        const QList<std::tuple<Entries, QString, QList<int>>> cases{
            // score, then time; a name in any letters and blanks is one learner
            {{{}, {u" aLICE "_s, 30, 900}, {u"Bob"_s, 31, 2400}}, QString(), {2, 1}},
            // then the earlier finish, then the stored order
            {{{u"Cid"_s, 30, 1200, 500}, {u"Bob"_s, 30, 1200, 400}, {u"Ann"_s, 30, 1200, 500}}, QString(), {1, 0, 2}},
            {never, QString(), {7}},
            {{x, {.name = u"Bob"_s, .mode = club, .challenge = u"x"_s}, {}}, u"X"_s, {0}},
            {twelve, QString(), {11, 10, 9, 8, 7, 6, 5, 4, 3, 2}}};
        for (const auto& [entries, challenge, board] : cases) {
            const QList<Result> list = results(entries);
            QList<Result> expected;
            for (const int i : board)
                expected.append(list.at(i));
            QCOMPARE(leaderboard(list, u"tech-2026"_s, challenge), expected);
        }
    }

    void figuresOfResults()
    {
        const QString interrupted = u"Practice result — excluded from rankings because it was interrupted."_s;
        const QList<std::pair<Entry, QString>> lines{
            {{.name = u"GUEST"_s}, u"Guest result — not saved to history, progress or the top 10."_s},
            {{}, u"Eligible for the local top 10. Score ranks first; time breaks ties."_s},
            {{.eligible = false}, interrupted},
            {{.mode = u"Club Challenge"_s, .questions = 3}, interrupted},
            {{.mode = u"Mistakes"_s}, QString()}};
        for (const auto& [entry, line] : lines)
            QCOMPARE(resultStatusLine(results({entry}).first()).value_or(QString()), line);
        const QList<std::pair<double, QString>> durations{
            {0, "00:00:00"},    {1, "00:00:01"},       {75.9, "00:01:15"}, {59.99, "00:00:59"},
            {3725, "01:02:05"}, {360000, "100:00:00"}, {-3, "00:00:00"},   {std::nan(""), "00:00:00"}};
        for (const auto& [seconds, text] : durations)
            QCOMPARE(duration(seconds), text);
        // The top-10 screen trims blanks, not line breaks, and does not cut the code.
        QCOMPARE(boardChallengeCode(u" \tclub-7 "_s) + boardChallengeCode(u"club\n"_s), u"CLUB-7CLUB\n"_s);
        QCOMPARE(boardChallengeCode(QString(70, u'a')), QString(70, u'A'));
        const QList<Result> list = results({{},
                                            {.pool = u"tech-2022"_s, .profile = QUuid()},
                                            {u"guest"_s},
                                            {.mode = u"Study All"_s},
                                            {.pool = u"tech-2022"_s}});
        QCOMPARE(history(list, anna), (QList<Result>{list[4], list[3], list[0]}));
        const QList<Pool> pools = Fixtures::threeLevelPack().pools;
        QCOMPARE(rankingPools(pools, list, {}), pools + QList<Pool>{list.at(1).session.pool});
        QCOMPARE(rankingPools(pools, list, {u"technician"_s}), pools.mid(1));
        // Readiness counts the learner's last five fresh exams of the pool.
        const Entry pass{.score = 26}, fail{.score = 25};
        const QString keep = u" Keep practising for consistency."_s;
        const Entries others{pass,
                             {.mode = u"Club Challenge"_s, .challenge = u"X"_s},
                             {.pool = u"tech-2022"_s},
                             {.eligible = false},
                             {.profile = QUuid::createUuid()}};
        const QList<std::pair<Entries, QString>> readiness{
            {{}, u"Take a fresh exam to begin tracking readiness."_s},
            {{pass, pass, pass}, u"Recent fresh exams: 3/3 passed."_s + keep},
            {{fail, pass, pass, pass, pass, pass}, u"Recent fresh exams: 5/5 passed. Consistent passing results."_s},
            {{pass, fail, pass, pass, pass}, u"Recent fresh exams: 4/5 passed."_s + keep},
            {others, u"Recent fresh exams: 1/1 passed."_s + keep}};
        Saved saved = Saved::initial();
        for (const auto& [entries, text] : readiness) {
            saved.results = results(entries);
            QCOMPARE(poolProgress(techPool, saved, anna).readiness, text);
        }
        Pack pack = Fixtures::threeLevelPack();
        Pool& pool = pack.pools[0];
        pool.topics = {{u"T1"_s, u"Commission's rules"_s}};
        // T1A: 7 of 9 over two questions; T1B: a record without attempts; T2A: 2 of 3; others untouched.
        saved.stats.insert(statKey(anna, pool.id, u"T1A01"_s), Stat{5, 4, true});
        saved.stats.insert(statKey(anna, pool.id, u"T1A02"_s), Stat{4, 3, false});
        saved.stats.insert(statKey(anna, pool.id, u"T1B03"_s), Stat{0, 0, false});
        saved.stats.insert(statKey(anna, pool.id, u"T2A01"_s), Stat{3, 2, true});
        pack.pools[1].validUntil = u"2026-07-01"_s; // no longer current on the day asked for
        const QList<PoolProgress> figures = progress(pack.pools, saved, anna, u"2026-11-22"_s);
        QVERIFY(figures.size() == 2 && figures.at(1).pool == pack.pools.at(2));
        const PoolProgress& p = figures.at(0);
        QCOMPARE(p.coverage, u"Pool coverage: 4/350"_s);
        QCOMPARE(p.caption, u"Practice performance is not a guarantee of an official exam result."_s);
        QCOMPARE(p.rows.at(0), (GroupRow{u"T1A"_s, u"Commission's rules"_s, u"77% · 9 answers"_s}));
        QCOMPARE(p.rows.at(1), (GroupRow{u"T1B"_s, u"Commission's rules"_s, u"Not studied"_s}));
        QCOMPARE(p.rows.at(2).accuracy + p.rows.at(26).accuracy, u"Not studied66% · 3 answers"_s);
        QCOMPARE(p.rows.at(26).topic, u"Question group"_s);
    }

    // A question's figure is decoded from the pack: pictures directly, official PDF pages through the pdf module
    // at twice the page's point size. Without the module (a damaged installation) only the PDF figure is missing.
    void figuresDecodeAndPdfPagesRender()
    {
        const Pack official =
            Pack::fromBytes(Fixtures::readFile(QStringLiteral(KESTOVAN_SOURCE_DIR "/resources/pools.json")));
        StoreRig rig;
        for (const QString& name : {u"G7-1.pdf"_s, u"T1.jpg"_s, u"E5-1.png"_s})
            rig.pack.assets.insert(name, official.assets.value(name));
        rig.pack.assets.insert(u"damaged.pdf"_s, QString::fromLatin1(QByteArray("%PDF-1.7\n1 0 obj\n<<\n").toBase64()));
        rig.pack.assets.insert(u"text.png"_s, QString::fromLatin1(QByteArray("not a picture").toBase64()));
        Fixtures::writeFile(rig.packPath, rig.pack.toBytes());
        const std::unique_ptr<Store> store = rig.fresh();

        const QString pdf =
            QString::fromLatin1(QByteArray::fromBase64(official.assets.value(u"G7-1.pdf"_s).toLatin1()));
        const QRegularExpressionMatch box =
            QRegularExpression(uR"(/MediaBox\s*\[\s*0\s+0\s+([\d.]+)\s+([\d.]+)\s*\])"_s).match(pdf);
        QVERIFY(box.hasMatch());
        const std::optional<QImage> page = store->image(u"G7-1.pdf"_s);
        QVERIFY(page);
        QCOMPARE(page->size(), (QSizeF(box.captured(1).toDouble(), box.captured(2).toDouble()) * 2).toSize());
        // The diagram is drawn: dark lines, once laid on a white page.
        QImage gray(page->size(), QImage::Format_Grayscale8);
        gray.fill(Qt::white);
        QPainter(&gray).drawImage(0, 0, *page);
        qsizetype dark = 0;
        for (int y = 0; y < gray.height(); ++y)
            dark += std::count_if(gray.constScanLine(y), gray.constScanLine(y) + gray.width(),
                                  [](uchar v) { return v < 100; });
        QVERIFY2(dark > gray.width() * gray.height() / 200 && dark < gray.width() * gray.height() / 2,
                 qPrintable(QString::number(dark)));
        QCOMPARE(store->image(u"T1.jpg"_s)->size(), QSize(1800, 1200));
        QVERIFY(!store->image(u"E5-1.png"_s)->isNull());
        for (const QString& name : {u"damaged.pdf"_s, u"text.png"_s, u"absent.png"_s})
            QVERIFY2(!store->image(name), qPrintable(name));

        QTemporaryDir empty;
        Modules::setDirectoryForTesting(empty.path());
        const auto restore =
            qScopeGuard([] { Modules::setDirectoryForTesting(QStringLiteral(KESTOVAN_BUILD_MODULE_DIR)); });
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^module pdf could not be loaded: "_s));
        QVERIFY(!store->image(u"G7-1.pdf"_s));
        QVERIFY(store->image(u"T1.jpg"_s));
    }

    // The Browse screen's search and the charts' figures.

    void searchFindsByIdentifierWordsAndFilters_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("subelement");
        QTest::addColumn<bool>("bookmarked");
        QTest::addColumn<bool>("missed");
        QTest::addColumn<QString>("found");
        const auto row = [](const char* name, const QString& text, const QString& found, const QString& sub = {},
                            bool bookmarked = false, bool missed = false) {
            QTest::newRow(name) << text << sub << bookmarked << missed << found;
        };
        row("group prefix", u"T1A"_s, u"T1A01 T1A02 T1A03 T1A04 T1A05 T1A06 T1A07 T1A08 T1A09 T1A10"_s);
        row("identifier, any case, blanks around", u"  t1b01 "_s, u"T1B01"_s);
        row("identifier inside is no prefix", u"1A01"_s, QString());
        row("word without its accent", u"impedance"_s, u"T1A01 T2A01"_s);
        row("word typed with accent and capitals", u"IMPÉDANCE"_s, u"T1A01 T2A01"_s);
        row("part of a word in an answer", u"resist"_s, u"T1A02"_s);
        row("ligature", u"field"_s, u"T1A02"_s);
        row("typographic apostrophe and dash", u"don't -"_s, u"T1B01"_s);
        row("every word must match", u"capacitor impedance"_s, u"T1A01"_s);
        row("identifier prefix and a word", u"T2 impedance"_s, u"T2A01"_s);
        row("word nowhere", u"impedance xyz"_s, QString());
        row("subelement", u"impedance"_s, u"T2A01"_s, u"T2"_s);
        row("subelement without words", u"T2A0"_s, QString(), u"T1"_s);
        row("bookmarked, this learner and pool only", QString(), u"T1A02 T2A01"_s, QString(), true);
        row("missed before", QString(), u"T1A01 T1B01"_s, QString(), false, true);
        row("bookmarked and missed", QString(), QString(), QString(), true, true);
        row("missed, word and subelement", u"don't"_s, u"T1B01"_s, u"T1"_s, false, true);
    }
    void searchFindsByIdentifierWordsAndFilters()
    {
        QFETCH(QString, text);
        QFETCH(QString, subelement);
        QFETCH(bool, bookmarked);
        QFETCH(bool, missed);
        QFETCH(QString, found);
        const Pool pool = searchPool();
        Saved saved = Saved::initial();
        const QUuid other = QUuid::createUuid();
        const auto key = [&](const QString& id, const QUuid& who = anna) { return statKey(who, pool.id, id); };
        saved.bookmarks = {key(u"T1A02"_s), key(u"T2A01"_s), key(u"T1A01"_s, other),
                           statKey(anna, u"tech-2022"_s, u"T1B01"_s)};
        // Wrong once is missed, even if the last answer was right; never answered or always right is not.
        saved.stats = {{key(u"T1A01"_s), Stat{3, 2, true}},
                       {key(u"T1B01"_s), Stat{1, 0, false}},
                       {key(u"T2A01"_s), Stat{4, 4, true}},
                       {key(u"T1A03"_s), Stat{0, 0, false}},
                       {key(u"T1A02"_s, other), Stat{1, 0, false}}};
        const PoolSearch search(pool);
        QCOMPARE(ids(search.find({text, subelement, bookmarked, missed}, saved, anna)).join(u' '), found);
    }

    void browseListsAndChartFigures()
    {
        Pool pool = techPool;
        QCOMPARE(subelements(pool), (QStringList{u"T1"_s, u"T2"_s}));
        pool.questions.prepend(pool.questions.takeAt(300)); // a T2 question first: the pool's order decides
        pool.questions[5].group = u"T0A"_s;
        QCOMPARE(subelements(pool), (QStringList{u"T2"_s, u"T1"_s, u"T0"_s}));
        const QList<std::pair<std::optional<Stat>, QString>> records{
            {std::nullopt, u"Not studied"_s},
            {Stat{0, 0, false}, u"Not studied"_s},
            {Stat{3, 2, false}, u"2 of 3 right · last wrong"_s},
            {Stat{12, 12, true}, u"12 of 12 right · last right"_s}};
        for (const auto& [stat, text] : records)
            QCOMPARE(recordText(stat), text);

        // Subelement bars: T1 at 8 of 10 (80 % is not weak), T2 at 3 of 4; another learner's answers never count.
        pool = techPool;
        pool.topics = {{u"T1"_s, u"Commission's rules"_s}};
        QMap<QString, Stat> stats{{statKey(anna, pool.id, u"T1A01"_s), Stat{6, 5, true}},
                                  {statKey(anna, pool.id, u"T1Z10"_s), Stat{4, 3, false}},
                                  {statKey(anna, pool.id, u"T2A01"_s), Stat{4, 3, true}},
                                  {statKey(QUuid::createUuid(), pool.id, u"T2A02"_s), Stat{9, 0, false}}};
        QList<SubelementBar> bars = subelementBars(pool, stats, anna);
        QCOMPARE(bars, (QList<SubelementBar>{{u"T1"_s, u"Commission's rules"_s, 10, 8, false},
                                             {u"T2"_s, u"Subelement"_s, 4, 3, true}}));
        QCOMPARE(bars[0].description(), u"T1 Commission's rules: 80% correct, 10 answers"_s);
        QCOMPARE(bars[1].description(), u"T2 Subelement: 75% correct, 4 answers, needs practice"_s);
        stats = {{statKey(anna, pool.id, u"T2A01"_s), Stat{0, 0, false}}};
        bars = subelementBars(pool, stats, anna);
        QVERIFY(bars[0].weak && bars[1].weak && bars[1].percent() == 0);
        QCOMPARE(bars[1].description(), u"T2 Subelement: not studied"_s);

        // Score points: the last ones, judged by the pool's pass mark as a share (26 of 35).
        const QList<Result> list = results({{.score = 20, .finished = 1},
                                            {.score = 26, .finished = 2},
                                            {.score = 25, .finished = 3},
                                            {.score = 3, .finished = 4, .mode = u"Study All"_s, .questions = 4}});
        QCOMPARE(scorePoints(list, 3), (QList<ScorePoint>{{2, 26, 35, true}, {3, 25, 35, false}, {4, 3, 4, true}}));
        QCOMPARE(scorePoints(list, 10).size(), 4);
        QCOMPARE(freshExams(list, u"tech-2026"_s, anna), list.mid(0, 3));
    }

    void exportAndPrintTexts()
    {
        // Right, wrong, and an index a damaged file may hold, which must never index the answers.
        const Result r = sample({{u"T1A01"_s, 1}, {u"T1A02"_s, 0}, {u"T1A03"_s, 4}}, 3725.9);
        QCOMPARE(resultExportText(r),
                 u"Kestovan Aerowen\nZoë Ω — Technician\nExam · Pool tech-2026\n11/22/26 8:46 PM\n"
                 "Score: 1/3 · Time: 01:02:05\nPractice result, not a licensing examination.\n\n"
                 "T1A01: Which Ω — café?\nYour answer: B of T1A01\nCorrect answer: B of T1A01\n\n"
                 "T1A02: What is T1A02?\nYour answer: A of T1A02\nCorrect answer: C of T1A02\n\n"
                 "T1A03: What is T1A03?\nYour answer: Unanswered\nCorrect answer: D of T1A03\n\n"_s);
        const QString header = u"Kestovan Aerowen — Practice Result\nZoë Ω · Technician\nScore "_s;
        QCOMPARE(resultPrintText(r), header +
                                         u"1/3 · 01:02:05\nPool tech-2026\n\n"
                                         "T1A02: What is T1A02?\nYour answer: A of T1A02\nCorrect: C of T1A02\n\n"
                                         "T1A03: What is T1A03?\nYour answer: Unanswered\nCorrect: D of T1A03\n\n"_s);
        const Result perfect = sample({{u"T1A01"_s, 1}, {u"T1A02"_s, 2}, {u"T1A03"_s, 3}}, 0);
        QCOMPARE(resultPrintText(perfect), header + u"3/3 · 00:00:00\nPool tech-2026\n\n"_s);
        // Saved where the learner chooses under the name offered; failing says so.
        Store store(m_rig.packPath, folderWith());
        std::optional<QString> chosen = m_dir.filePath(u"Résultat Ω.txt"_s);
        store.setSavePanel([&](const QString& name) { return name == "Aerowen-Result.txt"_L1 ? chosen : QString(); });
        store.exportResult(r);
        QCOMPARE(Fixtures::readFile(*chosen), resultExportText(r).toUtf8()); // UTF-8 without mark, replaced whole
        QCOMPARE(store.message(), QString());
        chosen = *chosen + u"/in a file"_s;
        store.exportResult(r);
        QVERIFY(!store.message().isEmpty());
    }
};

AEROWEN_TEST_PROGRAM(QCoreApplication)
AEROWEN_TEST(StoreTest)
#include "StoreTest.moc"
