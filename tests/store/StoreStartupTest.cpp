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

using namespace Qt::StringLiterals;

namespace {

const QString unreadablePrefix = u"Saved progress could not be read. The original file has been preserved. "_s;

QStringList recoveryCopies(const QString& folder)
{
    return QDir(folder).entryList({u"progress-unreadable-*.json"_s}, QDir::Files);
}

} // namespace

class StoreStartupTest : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QString m_packPath;

    // A storage folder of its own for each test; made beforehand only when the test puts files in it.
    QString freshStorage(bool made = false)
    {
        static int n = 0;
        const QString path = m_dir.filePath(u"storage-%1/Kestovan Aerowen"_s.arg(++n));
        if (made)
            QDir().mkpath(path);
        return path;
    }

    static QString file(const QString& folder, const char* name) { return folder + u'/' + QLatin1StringView(name); }

private slots:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        m_packPath = m_dir.filePath(u"pools.json"_s);
        Fixtures::writeFile(m_packPath, Fixtures::threeLevelPack().toBytes());
    }

    void firstStartCreatesFolderWithGuestOnly()
    {
        const QString folder = freshStorage();
        Store store(m_packPath, folder);
        QVERIFY(QFileInfo(folder).isDir());
        QVERIFY(!QFile::exists(file(folder, "progress.json")));
        QCOMPARE(store.saved().profiles.size(), 1);
        QCOMPARE(store.saved().profiles.at(0).name, u"Guest"_s);
        QCOMPARE(store.message(), QString());
        QCOMPARE(store.updateStatus(), u"Bundled official pools ready for offline use."_s);
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
        const QString folder = freshStorage(true);
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
        QCOMPARE(Fixtures::readFile(folder + u'/' + copies.at(0)), bytes);
        QCOMPARE(Fixtures::readFile(file(folder, "progress.json")), bytes);
        QCOMPARE(store.saved().profiles.size(), 1);
        QCOMPARE(store.saved().profiles.at(0).name, u"Guest"_s);

        store.save();
        const Saved written = Saved::fromBytes(Fixtures::readFile(file(folder, "progress.json")));
        QCOMPARE(written, store.saved());
        QCOMPARE(Fixtures::readFile(folder + u'/' + copies.at(0)), bytes);
    }

    void recoveryCopyCollisionFailsPreparation()
    {
        const QString folder = freshStorage(true);
        Fixtures::writeFile(file(folder, "progress.json"), "broken");
        // Occupy the names of this second and the next few, so the copy cannot be made.
        const qint64 now = QDateTime::currentSecsSinceEpoch();
        for (qint64 s = now; s < now + 5; ++s)
            Fixtures::writeFile(folder + u"/progress-unreadable-%1.json"_s.arg(s), "taken");
        Pack installed = Fixtures::threeLevelPack();
        installed.pools[0].revision = u"2026-12-01"_s;
        Fixtures::writeFile(file(folder, "official-pools.json"), installed.toBytes());

        Store store(m_packPath, folder);
        QVERIFY2(store.message().startsWith(u"Storage could not be prepared: "_s), qPrintable(store.message()));
        QCOMPARE(store.pack(), Fixtures::threeLevelPack()); // installed pack not loaded
        QCOMPARE(Fixtures::readFile(file(folder, "progress.json")), QByteArray("broken"));
    }

    void validProgressIsLoadedAsWritten()
    {
        const QString folder = freshStorage(true);
        Saved saved = Saved::initial();
        saved.profiles.append(Profile{QUuid::createUuid(), u"Anna"_s, std::nullopt});
        saved.selected = saved.profiles.at(1).id;
        saved.bookmarks.insert(u"k"_s);
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
        const QString path = m_dir.filePath(u"invalid-pools.json"_s);
        Fixtures::writeFile(path, invalid.toBytes());
        const QString folder = freshStorage(true);
        Saved saved = Saved::initial();
        saved.profiles[0].name = u"Kept on disk"_s;
        Fixtures::writeFile(file(folder, "progress.json"), saved.toBytes());

        Store store(path, folder);
        QVERIFY(store.message().startsWith(u"Storage could not be prepared: "_s));
        QCOMPARE(store.pack(), invalid);
        QCOMPARE(store.saved().profiles.at(0).name, u"Guest"_s); // progress not loaded
    }

    void uncreatableFolderStopsPreparation()
    {
        const QString blocker = m_dir.filePath(u"a-file"_s);
        Fixtures::writeFile(blocker, "x");
        Store store(m_packPath, blocker + u"/Kestovan Aerowen"_s);
        QVERIFY(store.message().startsWith(u"Storage could not be prepared: "_s));
        QCOMPARE(store.saved().profiles.size(), 1);
    }

    void missingOrUndecodableBuiltInPackIsFatal()
    {
        QVERIFY_THROWS_EXCEPTION(BuiltInPackError, Store(m_dir.filePath(u"absent.json"_s), freshStorage()));
        const QString path = m_dir.filePath(u"garbage.json"_s);
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
        Pool general = Fixtures::pool(u"general"_s, u"installed"_s, validFrom, revision);
        Pack installed = Fixtures::pack({general});
        installed.assets.insert(u"shared.png"_s, u"SU5T"_s);
        installed.assets.insert(u"new.png"_s, u"TkVX"_s);
        const QString folder = freshStorage(true);
        Fixtures::writeFile(file(folder, "official-pools.json"), installed.toBytes());
        Pack builtIn = Fixtures::threeLevelPack();
        builtIn.assets.insert(u"shared.png"_s, u"QlVJ"_s);
        builtIn.assets.insert(u"old.png"_s, u"T0xE"_s);
        const QString builtInPath = m_dir.filePath(u"builtin-with-assets.json"_s);
        Fixtures::writeFile(builtInPath, builtIn.toBytes());

        Store store(builtInPath, folder);
        QStringList ids;
        for (const Pool& p : store.pack().pools)
            ids.append(p.id);
        QCOMPARE(ids, expectedIds);
        QCOMPARE(store.pack().assets.value(u"shared.png"_s), u"SU5T"_s);
        QCOMPARE(store.pack().assets.value(u"old.png"_s), u"T0xE"_s);
        QCOMPARE(store.pack().assets.value(u"new.png"_s), u"TkVX"_s);
        QCOMPARE(store.message(), QString());
        QCOMPARE(store.updateStatus(), u"Bundled official pools ready for offline use."_s);
    }

    void laterInstalledPoolsSeeEarlierOnes()
    {
        Pack builtIn = Fixtures::pack({Fixtures::pool(u"general"_s, u"b"_s, u"2023-07-01"_s, u"2026-01-01"_s)});
        Pack installed = Fixtures::pack({Fixtures::pool(u"general"_s, u"i1"_s, u"2023-07-01"_s, u"2026-05-01"_s),
                                         Fixtures::pool(u"general"_s, u"i2"_s, u"2023-07-01"_s, u"2026-03-01"_s)});
        const Pack merged = mergeInstalledPack(builtIn, installed);
        QCOMPARE(merged.pools.size(), 1);
        QCOMPARE(merged.pools.at(0).id, u"i1"_s);
    }

    void invalidInstalledPackIsIgnoredSilently_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        Pack schema2 = Fixtures::pack({Fixtures::pool(u"general"_s, u"x"_s, u"2023-07-01"_s, u"2027-01-01"_s)});
        schema2.schema = 2;
        QTest::newRow("schema 2") << schema2.toBytes();
        QTest::newRow("not JSON") << QByteArray("nope");
        QTest::newRow("missing key") << QByteArray(R"({"schema":1,"pools":[]})");
    }

    void invalidInstalledPackIsIgnoredSilently()
    {
        QFETCH(QByteArray, bytes);
        const QString folder = freshStorage(true);
        Fixtures::writeFile(file(folder, "official-pools.json"), bytes);
        Store store(m_packPath, folder);
        QCOMPARE(store.pack(), Fixtures::threeLevelPack());
        QCOMPARE(store.message(), QString());
    }

    void diagramFilesAreReadSilently()
    {
        const QString folder = freshStorage(true);
        Corrections corrections;
        corrections[u"d1"_s].insert(u"E6-1"_s, u"AAAA"_s);
        Fixtures::writeFile(file(folder, "diagram-corrections.json"), CorrectionsJson::toBytes(corrections));
        DiagramReview review;
        review.level = u"extra"_s;
        review.documentKey = u"d1"_s;
        review.labels = {u"E6-2"_s};
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
            Fixtures::pool(u"extra"_s, u"e24"_s, u"2024-07-01"_s),
            Fixtures::pool(u"general"_s, u"g23"_s, u"2023-07-01"_s),
            Fixtures::pool(u"technician"_s, u"t22"_s, u"2022-07-01"_s),
            Fixtures::pool(u"general"_s, u"g27"_s, u"2027-07-01"_s),
            Fixtures::pool(u"technician"_s, u"t26"_s, u"2026-07-01"_s),
            Fixtures::pool(u"technician"_s, u"t26b"_s, u"2026-07-01"_s),
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
        QCOMPARE(QDir(folder).entryList(QDir::Files), QStringList{u"progress.json"_s});

        // A folder standing where the progress file should be makes every write fail.
        QVERIFY(QFile::remove(file(folder, "progress.json")));
        QVERIFY(QDir().mkpath(file(folder, "progress.json")));
        store.save();
        QVERIFY2(store.message().startsWith(u"Progress could not be saved: "_s), qPrintable(store.message()));
        QVERIFY(store.message().size() > 30);
    }

    void clearAllDataStartsAgainWithGuest()
    {
        const QString folder = freshStorage(true);
        Saved saved = Saved::initial();
        saved.profiles.append(Profile{QUuid::createUuid(), u"Anna"_s, std::nullopt});
        saved.stats.insert(u"a|b|c"_s, Stat{1, 1, true});
        Fixtures::writeFile(file(folder, "progress.json"), saved.toBytes());
        Fixtures::writeFile(file(folder, "progress-unreadable-100.json"), "old");
        Fixtures::writeFile(file(folder, "progress-unreadable-200.json"), "older");
        Fixtures::writeFile(file(folder, "progress-unreadable-300.txt"), "not a recovery copy");
        const QByteArray installed =
            Fixtures::pack({Fixtures::pool(u"general"_s, u"inst"_s, u"2023-07-01"_s, u"2026-09-01"_s)}).toBytes();
        Fixtures::writeFile(file(folder, "official-pools.json"), installed);
        Fixtures::writeFile(file(folder, "diagram-corrections.json"), "{}");
        Settings::open()->setValue(Settings::studyTextSize, 22.0);
        Settings::open()->setValue(Settings::lastPoolCheck, u"stamp"_s);

        Store store(m_packPath, folder);
        const QUuid oldGuest = store.saved().profiles.at(0).id;
        const Pack packBefore = store.pack();
        store.setMessage(u"something earlier"_s);
        store.clearAllData();

        QCOMPARE(store.message(), QString());
        QCOMPARE(store.saved().profiles.size(), 1);
        QCOMPARE(store.saved().profiles.at(0).name, u"Guest"_s);
        QVERIFY(store.saved().profiles.at(0).id != oldGuest);
        QCOMPARE(Saved::fromBytes(Fixtures::readFile(file(folder, "progress.json"))), store.saved());
        QVERIFY(recoveryCopies(folder).isEmpty());
        QVERIFY(QFile::exists(file(folder, "progress-unreadable-300.txt")));
        QCOMPARE(Fixtures::readFile(file(folder, "official-pools.json")), installed);
        QVERIFY(QFile::exists(file(folder, "diagram-corrections.json")));
        QCOMPARE(store.pack(), packBefore);
        QVERIFY(!Settings::open()->contains(Settings::studyTextSize));
        QCOMPARE(Settings::open()->value(Settings::lastPoolCheck).toString(), u"stamp"_s);
    }

    void clearAllDataThatCannotWriteChangesNothing()
    {
        const QString folder = freshStorage();
        Store store(m_packPath, folder);
        const Saved before = store.saved();
        Fixtures::writeFile(file(folder, "progress-unreadable-5.json"), "old");
        QVERIFY(QDir().mkpath(file(folder, "progress.json")));
        store.clearAllData();
        QVERIFY(store.message().startsWith(u"Could not finish clearing local data: "_s));
        QCOMPARE(store.saved(), before);
        QVERIFY(QFile::exists(file(folder, "progress-unreadable-5.json")));
    }
};

AEROWEN_TEST_MAIN(StoreStartupTest, QCoreApplication)
#include "StoreStartupTest.moc"
