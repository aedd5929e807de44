// Store start-up: storage folder, built-in and installed packs, recovery of unreadable progress, saving, clearing.
#include "support/Fixtures.h"
#include "support/TestEnvironment.h"

#include "model/Json.h"
#include "store/Settings.h"
#include "store/Store.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QString unreadablePrefix =
    QStringLiteral("Saved progress could not be read. The original file has been preserved. ");

QStringList recoveryCopies(const QString& folder)
{
    return QDir(folder).entryList({QStringLiteral("progress-unreadable-*.json")}, QDir::Files);
}

} // namespace

class StoreStartupTest : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QString m_packPath;

    QString freshStorage()
    {
        static int n = 0;
        const QString path = m_dir.filePath(QStringLiteral("storage-%1/Kestovan Aerowen").arg(++n));
        return path;
    }

    static QString file(const QString& folder, const char* name)
    {
        return folder + QLatin1Char('/') + QLatin1StringView(name);
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        m_packPath = m_dir.filePath(QStringLiteral("pools.json"));
        Fixtures::writeFile(m_packPath, Fixtures::threeLevelPack().toBytes());
    }

    void firstStartCreatesFolderWithGuestOnly()
    {
        const QString folder = freshStorage();
        Store store(m_packPath, folder);
        QVERIFY(QFileInfo(folder).isDir());
        QVERIFY(!QFile::exists(file(folder, "progress.json")));
        QCOMPARE(store.saved().profiles.size(), 1);
        QCOMPARE(store.saved().profiles.at(0).name, QStringLiteral("Guest"));
        QCOMPARE(store.message(), QString());
        QCOMPARE(store.updateStatus(), QStringLiteral("Bundled official pools ready for offline use."));
        QVERIFY(!store.session() && !store.result() && !store.checking() && !store.checkingApp());
        QVERIFY(store.appUpdateStatus().isEmpty() && !store.availableRelease() && !store.diagramReview());
        QCOMPARE(store.pack(), Fixtures::threeLevelPack());
        QCOMPARE(QDir(folder).entryList(QDir::Files), QStringList());
    }

    void unreadableProgressIsPreservedAndReported_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("not JSON") << QByteArray("this is not { json");
        QTest::newRow("empty file") << QByteArray();
        QTest::newRow("no profiles key") << QByteArray(R"({"stats":{},"bookmarks":[],"drafts":[],"results":[]})");
        QTest::newRow("empty profiles") << QByteArray(
            R"({"profiles":[],"stats":{},"bookmarks":[],"drafts":[],"results":[]})");
        QTest::newRow("array") << QByteArray("[]");
    }

    void unreadableProgressIsPreservedAndReported()
    {
        QFETCH(QByteArray, bytes);
        const QString folder = freshStorage();
        QDir().mkpath(folder);
        Fixtures::writeFile(file(folder, "progress.json"), bytes);
        Fixtures::writeFile(file(folder, "official-pools.json"), Fixtures::threeLevelPack().toBytes());

        const qint64 before = QDateTime::currentSecsSinceEpoch();
        Store store(m_packPath, folder);
        const qint64 after = QDateTime::currentSecsSinceEpoch();

        QVERIFY2(store.message().startsWith(unreadablePrefix), qPrintable(store.message()));
        QVERIFY(store.message().size() > unreadablePrefix.size());
        const QStringList copies = recoveryCopies(folder);
        QCOMPARE(copies.size(), 1);
        const qint64 stamp = copies.at(0).mid(20).chopped(5).toLongLong();
        QVERIFY(stamp >= before && stamp <= after);
        QCOMPARE(Fixtures::readFile(folder + QLatin1Char('/') + copies.at(0)), bytes);
        QCOMPARE(Fixtures::readFile(file(folder, "progress.json")), bytes);
        QCOMPARE(store.saved().profiles.size(), 1);
        QCOMPARE(store.saved().profiles.at(0).name, QStringLiteral("Guest"));

        store.save();
        const Saved written = Saved::fromBytes(Fixtures::readFile(file(folder, "progress.json")));
        QCOMPARE(written, store.saved());
        QCOMPARE(Fixtures::readFile(folder + QLatin1Char('/') + copies.at(0)), bytes);
    }

    void recoveryCopyCollisionFailsPreparation()
    {
        const QString folder = freshStorage();
        QDir().mkpath(folder);
        Fixtures::writeFile(file(folder, "progress.json"), "broken");
        // Occupy the names of this second and the next few, so the copy cannot be made.
        const qint64 now = QDateTime::currentSecsSinceEpoch();
        for (qint64 s = now; s < now + 5; ++s)
            Fixtures::writeFile(folder + QStringLiteral("/progress-unreadable-%1.json").arg(s), "taken");
        Pack installed = Fixtures::threeLevelPack();
        installed.pools[0].revision = QStringLiteral("2026-12-01");
        Fixtures::writeFile(file(folder, "official-pools.json"), installed.toBytes());

        Store store(m_packPath, folder);
        QVERIFY2(store.message().startsWith(QStringLiteral("Storage could not be prepared: ")),
                 qPrintable(store.message()));
        QCOMPARE(store.pack(), Fixtures::threeLevelPack()); // installed pack not loaded
        QCOMPARE(Fixtures::readFile(file(folder, "progress.json")), QByteArray("broken"));
    }

    void validProgressIsLoadedAsWritten()
    {
        const QString folder = freshStorage();
        QDir().mkpath(folder);
        Saved saved = Saved::initial();
        saved.profiles.append(Profile{QUuid::createUuid(), QStringLiteral("Anna"), std::nullopt});
        saved.selected = saved.profiles.at(1).id;
        saved.bookmarks.insert(QStringLiteral("k"));
        Fixtures::writeFile(file(folder, "progress.json"), saved.toBytes());
        Store store(m_packPath, folder);
        QCOMPARE(store.message(), QString());
        QCOMPARE(store.saved(), saved);
        QVERIFY(recoveryCopies(folder).isEmpty());
    }

    void invalidBuiltInPackStopsPreparation()
    {
        Pack invalid = Fixtures::threeLevelPack();
        invalid.schema = 2;
        const QString path = m_dir.filePath(QStringLiteral("invalid-pools.json"));
        Fixtures::writeFile(path, invalid.toBytes());
        const QString folder = freshStorage();
        QDir().mkpath(folder);
        Saved saved = Saved::initial();
        saved.profiles[0].name = QStringLiteral("Kept on disk");
        Fixtures::writeFile(file(folder, "progress.json"), saved.toBytes());

        Store store(path, folder);
        QVERIFY(store.message().startsWith(QStringLiteral("Storage could not be prepared: ")));
        QCOMPARE(store.pack(), invalid);
        QCOMPARE(store.saved().profiles.at(0).name, QStringLiteral("Guest")); // progress not loaded
    }

    void uncreatableFolderStopsPreparation()
    {
        const QString blocker = m_dir.filePath(QStringLiteral("a-file"));
        Fixtures::writeFile(blocker, "x");
        Store store(m_packPath, blocker + QStringLiteral("/Kestovan Aerowen"));
        QVERIFY(store.message().startsWith(QStringLiteral("Storage could not be prepared: ")));
        QCOMPARE(store.saved().profiles.size(), 1);
    }

    void missingOrUndecodableBuiltInPackIsFatal()
    {
        QVERIFY_THROWS_EXCEPTION(BuiltInPackError,
                                 Store(m_dir.filePath(QStringLiteral("absent.json")), freshStorage()));
        const QString path = m_dir.filePath(QStringLiteral("garbage.json"));
        Fixtures::writeFile(path, "{\"schema\":1}");
        QVERIFY_THROWS_EXCEPTION(BuiltInPackError, Store(path, freshStorage()));
    }

    void installedPackMergeRule_data()
    {
        QTest::addColumn<QString>("revision");
        QTest::addColumn<QString>("validFrom");
        QTest::addColumn<QStringList>("expectedIds");
        // Built-in pools, in pack order: tech-2026, general-2023 (revision 2026-02-04), extra-2024.
        QTest::newRow("same revision keeps built-in")
            << "2026-02-04"
            << "2023-07-01" << QStringList{"tech-2026", "general-2023", "extra-2024"};
        QTest::newRow("older revision keeps built-in")
            << "2025-01-01"
            << "2023-07-01" << QStringList{"tech-2026", "general-2023", "extra-2024"};
        QTest::newRow("later revision replaces and moves last")
            << "2026-03-01"
            << "2023-07-01" << QStringList{"tech-2026", "extra-2024", "installed"};
        QTest::newRow("new period is added beside the old")
            << "2026-01-01"
            << "2027-07-01" << QStringList{"tech-2026", "general-2023", "extra-2024", "installed"};
    }

    void installedPackMergeRule()
    {
        QFETCH(QString, revision);
        QFETCH(QString, validFrom);
        QFETCH(QStringList, expectedIds);
        Pool general = Fixtures::pool(QStringLiteral("general"), QStringLiteral("installed"), validFrom, revision);
        Pack installed = Fixtures::pack({general});
        installed.assets.insert(QStringLiteral("shared.png"), QStringLiteral("SU5T"));
        installed.assets.insert(QStringLiteral("new.png"), QStringLiteral("TkVX"));
        const QString folder = freshStorage();
        QDir().mkpath(folder);
        Fixtures::writeFile(file(folder, "official-pools.json"), installed.toBytes());
        Pack builtIn = Fixtures::threeLevelPack();
        builtIn.assets.insert(QStringLiteral("shared.png"), QStringLiteral("QlVJ"));
        builtIn.assets.insert(QStringLiteral("old.png"), QStringLiteral("T0xE"));
        const QString builtInPath = m_dir.filePath(QStringLiteral("builtin-with-assets.json"));
        Fixtures::writeFile(builtInPath, builtIn.toBytes());

        Store store(builtInPath, folder);
        QStringList ids;
        for (const Pool& p : store.pack().pools)
            ids.append(p.id);
        QCOMPARE(ids, expectedIds);
        QCOMPARE(store.pack().assets.value(QStringLiteral("shared.png")), QStringLiteral("SU5T"));
        QCOMPARE(store.pack().assets.value(QStringLiteral("old.png")), QStringLiteral("T0xE"));
        QCOMPARE(store.pack().assets.value(QStringLiteral("new.png")), QStringLiteral("TkVX"));
        QCOMPARE(store.message(), QString());
        QCOMPARE(store.updateStatus(), QStringLiteral("Bundled official pools ready for offline use."));
    }

    void laterInstalledPoolsSeeEarlierOnes()
    {
        Pack builtIn = Fixtures::pack({Fixtures::pool(QStringLiteral("general"), QStringLiteral("b"),
                                                      QStringLiteral("2023-07-01"), QStringLiteral("2026-01-01"))});
        Pack installed = Fixtures::pack({Fixtures::pool(QStringLiteral("general"), QStringLiteral("i1"),
                                                        QStringLiteral("2023-07-01"), QStringLiteral("2026-05-01")),
                                         Fixtures::pool(QStringLiteral("general"), QStringLiteral("i2"),
                                                        QStringLiteral("2023-07-01"), QStringLiteral("2026-03-01"))});
        const Pack merged = mergeInstalledPack(builtIn, installed);
        QCOMPARE(merged.pools.size(), 1);
        QCOMPARE(merged.pools.at(0).id, QStringLiteral("i1"));
    }

    void invalidInstalledPackIsIgnoredSilently_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        Pack schema2 = Fixtures::pack({Fixtures::pool(QStringLiteral("general"), QStringLiteral("x"),
                                                      QStringLiteral("2023-07-01"), QStringLiteral("2027-01-01"))});
        schema2.schema = 2;
        QTest::newRow("schema 2") << schema2.toBytes();
        QTest::newRow("not JSON") << QByteArray("nope");
        QTest::newRow("missing key") << QByteArray(R"({"schema":1,"pools":[]})");
    }

    void invalidInstalledPackIsIgnoredSilently()
    {
        QFETCH(QByteArray, bytes);
        const QString folder = freshStorage();
        QDir().mkpath(folder);
        Fixtures::writeFile(file(folder, "official-pools.json"), bytes);
        Store store(m_packPath, folder);
        QCOMPARE(store.pack(), Fixtures::threeLevelPack());
        QCOMPARE(store.message(), QString());
    }

    void diagramFilesAreReadSilently()
    {
        const QString folder = freshStorage();
        QDir().mkpath(folder);
        Corrections corrections;
        corrections[QStringLiteral("d1")].insert(QStringLiteral("E6-1"), QStringLiteral("AAAA"));
        Fixtures::writeFile(file(folder, "diagram-corrections.json"), CorrectionsJson::toBytes(corrections));
        DiagramReview review;
        review.level = QStringLiteral("extra");
        review.documentKey = QStringLiteral("d1");
        review.labels = {QStringLiteral("E6-2")};
        Fixtures::writeFile(file(folder, "diagram-review.json"), review.toBytes());
        {
            Store store(m_packPath, folder);
            QCOMPARE(store.diagramCorrections(), corrections);
            QCOMPARE(store.diagramReview(), review);
        }
        Fixtures::writeFile(file(folder, "diagram-corrections.json"), "[");
        Fixtures::writeFile(file(folder, "diagram-review.json"), "{}");
        Store store(m_packPath, folder);
        QVERIFY(store.diagramCorrections().isEmpty());
        QVERIFY(!store.diagramReview());
        QCOMPARE(store.message(), QString());
    }

    void poolsAreInDisplayOrder()
    {
        Pack pack = Fixtures::pack({
            Fixtures::pool(QStringLiteral("extra"), QStringLiteral("e24"), QStringLiteral("2024-07-01")),
            Fixtures::pool(QStringLiteral("general"), QStringLiteral("g23"), QStringLiteral("2023-07-01")),
            Fixtures::pool(QStringLiteral("technician"), QStringLiteral("t22"), QStringLiteral("2022-07-01")),
            Fixtures::pool(QStringLiteral("general"), QStringLiteral("g27"), QStringLiteral("2027-07-01")),
            Fixtures::pool(QStringLiteral("technician"), QStringLiteral("t26"), QStringLiteral("2026-07-01")),
            Fixtures::pool(QStringLiteral("technician"), QStringLiteral("t26b"), QStringLiteral("2026-07-01")),
        });
        QStringList ids;
        for (const Pool& p : displayOrder(pack.pools))
            ids.append(p.id);
        QCOMPARE(ids, (QStringList{"t26", "t26b", "t22", "g27", "g23", "e24"}));
    }

    void saveWritesAtomicallyAndReportsFailure()
    {
        const QString folder = freshStorage();
        Store store(m_packPath, folder);
        QSignalSpy messages(&store, &Store::messageChanged);
        store.save();
        QCOMPARE(Saved::fromBytes(Fixtures::readFile(file(folder, "progress.json"))), store.saved());
        QCOMPARE(messages.count(), 0);
        QCOMPARE(QDir(folder).entryList(QDir::Files), QStringList{QStringLiteral("progress.json")});

        // A folder standing where the progress file should be makes every write fail.
        QVERIFY(QFile::remove(file(folder, "progress.json")));
        QVERIFY(QDir().mkpath(file(folder, "progress.json")));
        store.save();
        QVERIFY2(store.message().startsWith(QStringLiteral("Progress could not be saved: ")),
                 qPrintable(store.message()));
        QVERIFY(store.message().size() > 30);
    }

    void clearAllDataStartsAgainWithGuest()
    {
        const QString folder = freshStorage();
        QDir().mkpath(folder);
        Saved saved = Saved::initial();
        saved.profiles.append(Profile{QUuid::createUuid(), QStringLiteral("Anna"), std::nullopt});
        saved.stats.insert(QStringLiteral("a|b|c"), Stat{1, 1, true});
        Fixtures::writeFile(file(folder, "progress.json"), saved.toBytes());
        Fixtures::writeFile(file(folder, "progress-unreadable-100.json"), "old");
        Fixtures::writeFile(file(folder, "progress-unreadable-200.json"), "older");
        Fixtures::writeFile(file(folder, "progress-unreadable-300.txt"), "not a recovery copy");
        const QByteArray installed =
            Fixtures::pack({Fixtures::pool(QStringLiteral("general"), QStringLiteral("inst"),
                                           QStringLiteral("2023-07-01"), QStringLiteral("2026-09-01"))})
                .toBytes();
        Fixtures::writeFile(file(folder, "official-pools.json"), installed);
        Fixtures::writeFile(file(folder, "diagram-corrections.json"), "{}");
        Settings::open()->setValue(Settings::studyTextSize, 22.0);
        Settings::open()->setValue(Settings::lastPoolCheck, QStringLiteral("stamp"));

        Store store(m_packPath, folder);
        const QUuid oldGuest = store.saved().profiles.at(0).id;
        const Pack packBefore = store.pack();
        store.setMessage(QStringLiteral("something earlier"));
        store.clearAllData();

        QCOMPARE(store.message(), QString());
        QCOMPARE(store.saved().profiles.size(), 1);
        QCOMPARE(store.saved().profiles.at(0).name, QStringLiteral("Guest"));
        QVERIFY(store.saved().profiles.at(0).id != oldGuest);
        QCOMPARE(Saved::fromBytes(Fixtures::readFile(file(folder, "progress.json"))), store.saved());
        QVERIFY(recoveryCopies(folder).isEmpty());
        QVERIFY(QFile::exists(file(folder, "progress-unreadable-300.txt")));
        QCOMPARE(Fixtures::readFile(file(folder, "official-pools.json")), installed);
        QVERIFY(QFile::exists(file(folder, "diagram-corrections.json")));
        QCOMPARE(store.pack(), packBefore);
        QVERIFY(!Settings::open()->contains(Settings::studyTextSize));
        QCOMPARE(Settings::open()->value(Settings::lastPoolCheck).toString(), QStringLiteral("stamp"));
    }

    void clearAllDataThatCannotWriteChangesNothing()
    {
        const QString folder = freshStorage();
        Store store(m_packPath, folder);
        const Saved before = store.saved();
        Fixtures::writeFile(file(folder, "progress-unreadable-5.json"), "old");
        QVERIFY(QDir().mkpath(file(folder, "progress.json")));
        store.clearAllData();
        QVERIFY(store.message().startsWith(QStringLiteral("Could not finish clearing local data: ")));
        QCOMPARE(store.saved(), before);
        QVERIFY(QFile::exists(file(folder, "progress-unreadable-5.json")));
    }

    void encoderSplicesCachedResultsIntoValidJson()
    {
        Saved saved = Saved::initial();
        Session s;
        s.id = QUuid::createUuid();
        s.profile = saved.profiles.at(0).id;
        s.name = QStringLiteral("Anna");
        s.pool = Fixtures::pool(QStringLiteral("technician"), QStringLiteral("t"), QStringLiteral("2026-07-01"),
                                QStringLiteral("2026-02-19"), 35, 1);
        s.mode = Modes::exam;
        s.questions = s.pool.questions;
        for (int i = 0; i < 3; ++i)
            saved.results.append(Result{QUuid::createUuid(), s, double(i), 1.0 + i});
        ProgressEncoder encoder;
        QCOMPARE(Saved::fromBytes(encoder.encode(saved)), saved);
        saved.results.removeAt(1);
        saved.bookmarks.insert(QStringLiteral("x"));
        QCOMPARE(Saved::fromBytes(encoder.encode(saved)), saved);
        saved.results.clear();
        QCOMPARE(Saved::fromBytes(encoder.encode(saved)), saved);
    }
};

AEROWEN_TEST_MAIN(StoreStartupTest, QCoreApplication)
#include "StoreStartupTest.moc"
