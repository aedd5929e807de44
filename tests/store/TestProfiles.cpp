// Learners: adding, selecting, renaming, the Guest profile and completed levels.
#include "model/Json.h"
#include "store/Store.h"
#include "support/Fixtures.h"
#include "support/TestEnvironment.h"

#include <QFileInfo>
#include <QSignalSpy>
#include <QTest>

namespace {

const QString duplicateMessage =
    QStringLiteral("A profile with that name already exists. Select it or use a different name.");

QStringList names(const Store& store)
{
    QStringList list;
    for (const Profile& p : store.saved().profiles)
        list.append(p.name);
    return list;
}

Saved savedOnDisk(const QString& folder)
{
    return Saved::fromBytes(Fixtures::readFile(folder + QStringLiteral("/progress.json")));
}

} // namespace

class TestProfiles : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QString m_pack;
    std::unique_ptr<QTemporaryDir> m_storage;

    std::unique_ptr<Store> freshStore()
    {
        m_storage = std::make_unique<QTemporaryDir>();
        return std::make_unique<Store>(m_pack, m_storage->path());
    }

private slots:
    void initTestCase()
    {
        m_pack = m_dir.filePath(QStringLiteral("pools.json"));
        Fixtures::writeFile(m_pack, Fixtures::threeLevelPack().toBytes());
    }

    void addProfileCleansAndMatchesCaseInsensitively_data()
    {
        QTest::addColumn<QStringList>("typed");
        QTest::addColumn<QStringList>("expectedNames");
        QTest::addColumn<QString>("expectedCurrent");
        QTest::newRow("trimmed") << QStringList{QStringLiteral("  Anna \n")}
                                 << QStringList{QStringLiteral("Guest"), QStringLiteral("Anna")}
                                 << QStringLiteral("Anna");
        QTest::newRow("second in other case selects")
            << QStringList{QStringLiteral("  Anna \n"), QStringLiteral("Ben"), QStringLiteral("anna")}
            << QStringList{QStringLiteral("Guest"), QStringLiteral("Anna"), QStringLiteral("Ben")}
            << QStringLiteral("Anna");
        QTest::newRow("GUEST selects Guest")
            << QStringList{QStringLiteral("Ben"), QStringLiteral("GUEST")}
            << QStringList{QStringLiteral("Guest"), QStringLiteral("Ben")} << QStringLiteral("Guest");
        QTest::newRow("blanks ignored") << QStringList{QStringLiteral("Ben"), QStringLiteral(" \t\n ")}
                                        << QStringList{QStringLiteral("Guest"), QStringLiteral("Ben")}
                                        << QStringLiteral("Ben");
        QTest::newRow("accented case fold")
            << QStringList{QStringLiteral("Émile"), QStringLiteral("émile")}
            << QStringList{QStringLiteral("Guest"), QStringLiteral("Émile")} << QStringLiteral("Émile");
    }
    void addProfileCleansAndMatchesCaseInsensitively()
    {
        QFETCH(QStringList, typed);
        QFETCH(QStringList, expectedNames);
        QFETCH(QString, expectedCurrent);
        auto store = freshStore();
        for (const QString& name : typed)
            store->addProfile(name);
        QCOMPARE(names(*store), expectedNames);
        QCOMPARE(store->profile().name, expectedCurrent);
        QVERIFY(store->message().isEmpty());
        // What the learner sees is what the file holds.
        const Saved disk = savedOnDisk(m_storage->path());
        QCOMPARE(disk.profiles, store->saved().profiles);
        QCOMPARE(disk.selected, store->saved().selected);
    }

    void blankNameWritesNothing()
    {
        auto store = freshStore();
        QSignalSpy spy(store.get(), &Store::savedChanged);
        store->addProfile(QStringLiteral("   \n"));
        store->renameProfile(QStringLiteral("\t"));
        QCOMPARE(spy.count(), 0);
        QVERIFY(!QFileInfo::exists(m_storage->path() + QStringLiteral("/progress.json")));
    }

    void namesKeepEightyCharacters_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("stored");
        const QString hundred = QString(100, QLatin1Char('x'));
        QTest::newRow("100 letters") << hundred << hundred.left(80);
        // A family emoji is several code points but one character; e + combining acute is one character.
        const QString family = QStringLiteral("👨‍👩‍👧");
        QString emojis;
        for (int i = 0; i < 85; ++i)
            emojis += family;
        QString eighty;
        for (int i = 0; i < 80; ++i)
            eighty += family;
        QTest::newRow("emoji count once") << emojis << eighty;
        const QString accent = QStringLiteral("e\u0301");
        QTest::newRow("combining marks stay")
            << QString(79, QLatin1Char('a')) + accent + QStringLiteral("zz") << QString(79, QLatin1Char('a')) + accent;
        QTest::newRow("trim before cut") << QStringLiteral("   ") + hundred << hundred.left(80);
    }
    void namesKeepEightyCharacters()
    {
        QFETCH(QString, typed);
        QFETCH(QString, stored);
        auto store = freshStore();
        store->addProfile(typed);
        QCOMPARE(store->profile().name, stored);
        // Renaming cuts before comparing: the first 80 characters are those of the existing learner.
        store->addProfile(QStringLiteral("Other"));
        store->renameProfile(typed + QStringLiteral("!"));
        QCOMPARE(store->profile().name, QStringLiteral("Other"));
        QCOMPARE(store->message(), duplicateMessage);
    }

    void renameRules_data()
    {
        QTest::addColumn<QString>("current");
        QTest::addColumn<QString>("newName");
        QTest::addColumn<QStringList>("expectedNames");
        QTest::addColumn<QString>("expectedCurrent");
        QTest::addColumn<QString>("expectedMessage");
        const QStringList base{QStringLiteral("Guest"), QStringLiteral("Anna"), QStringLiteral("ben")};
        QTest::newRow("onto another learner")
            << QStringLiteral("Anna") << QStringLiteral("Ben") << base << QStringLiteral("Anna") << duplicateMessage;
        QTest::newRow("own name other case")
            << QStringLiteral("Anna") << QStringLiteral("ANNA")
            << QStringList{QStringLiteral("Guest"), QStringLiteral("ANNA"), QStringLiteral("ben")}
            << QStringLiteral("ANNA") << QString();
        QTest::newRow("free name") << QStringLiteral("Anna") << QStringLiteral(" Carla ")
                                   << QStringList{QStringLiteral("Guest"), QStringLiteral("Carla"),
                                                  QStringLiteral("ben")}
                                   << QStringLiteral("Carla") << QString();
        QTest::newRow("Guest creates named") << QStringLiteral("Guest") << QStringLiteral("Dora")
                                             << QStringList{QStringLiteral("Guest"), QStringLiteral("Anna"),
                                                            QStringLiteral("ben"), QStringLiteral("Dora")}
                                             << QStringLiteral("Dora") << QString();
        QTest::newRow("Guest selects existing")
            << QStringLiteral("Guest") << QStringLiteral("BEN") << base << QStringLiteral("ben") << QString();
        QTest::newRow("onto Guest is a duplicate")
            << QStringLiteral("Anna") << QStringLiteral("guest") << base << QStringLiteral("Anna") << duplicateMessage;
    }
    void renameRules()
    {
        QFETCH(QString, current);
        QFETCH(QString, newName);
        QFETCH(QStringList, expectedNames);
        QFETCH(QString, expectedCurrent);
        QFETCH(QString, expectedMessage);
        auto store = freshStore();
        store->addProfile(QStringLiteral("Anna"));
        store->addProfile(QStringLiteral("ben"));
        store->addProfile(current);
        const Profile before = store->profile();
        store->renameProfile(newName);
        QCOMPARE(names(*store), expectedNames);
        QCOMPARE(store->profile().name, expectedCurrent);
        QCOMPARE(store->message(), expectedMessage);
        if (expectedMessage.isEmpty() && current != QLatin1StringView("Guest"))
            QCOMPARE(store->profile().id, before.id); // renamed, not replaced
        QCOMPARE(savedOnDisk(m_storage->path()).profiles, store->saved().profiles);
    }

    void renameKeepsNamesOfStartedSessions()
    {
        auto store = freshStore();
        store->addProfile(QStringLiteral("Anna"));
        store->begin(store->pools().first(), QStringLiteral("Study All"), QStringLiteral("Anna"), false, QString());
        store->renameProfile(QStringLiteral("Annabel"));
        QCOMPARE(store->session()->name, QStringLiteral("Anna"));
        QCOMPARE(store->saved().drafts.first().name, QStringLiteral("Anna"));
    }

    void profileFallsBackToFirst()
    {
        auto store = freshStore();
        const QUuid guest = store->profile().id;
        store->addProfile(QStringLiteral("Anna"));
        QVERIFY(store->profile().id != guest);
        store->select(QUuid::createUuid());
        QCOMPARE(store->profile().id, guest);
        QVERIFY(store->saved().selected.has_value()); // the unknown id is kept as given
        store->select(store->saved().profiles.at(1).id);
        QCOMPARE(store->profile().name, QStringLiteral("Anna"));
    }

    void completedLevelsHideAndShowPools()
    {
        auto store = freshStore();
        store->addProfile(QStringLiteral("Anna"));
        QCOMPARE(store->studyPools().size(), 3);
        store->setLevelComplete(QStringLiteral("technician"), true);
        const QList<Pool> without = store->studyPools();
        QCOMPARE(without.size(), 2);
        QCOMPARE(without.at(0).level, QStringLiteral("general"));
        QCOMPARE(without.at(1).level, QStringLiteral("extra"));
        store->setLevelComplete(QStringLiteral("technician"), false);
        QCOMPARE(store->studyPools().size(), 3);
        // Another learner is not affected, and the file keeps an empty, present set.
        const Saved disk = savedOnDisk(m_storage->path());
        QCOMPARE(disk.profiles.at(1).completedLevels, std::optional<QSet<QString>>(QSet<QString>()));
        QVERIFY(Fixtures::readFile(m_storage->path() + QStringLiteral("/progress.json"))
                    .contains("\"completedLevels\":[]"));
        QCOMPARE(disk.profiles.at(0).completedLevels, std::nullopt);
    }

    void completedLevelsArePerProfile()
    {
        auto store = freshStore();
        store->addProfile(QStringLiteral("Anna"));
        store->setLevelComplete(QStringLiteral("extra"), true);
        store->setLevelComplete(QStringLiteral("anything"), true);
        QCOMPARE(store->profile().completedLevels,
                 std::optional<QSet<QString>>(QSet<QString>{QStringLiteral("extra"), QStringLiteral("anything")}));
        store->addProfile(QStringLiteral("Ben"));
        QCOMPARE(store->studyPools().size(), 3);
    }
};

AEROWEN_TEST_MAIN(TestProfiles, QCoreApplication)
#include "TestProfiles.moc"
