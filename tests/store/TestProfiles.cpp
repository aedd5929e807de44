// Learners: adding, selecting, renaming, the Guest profile and completed levels.
#include "support/Fixtures.h"
#include "support/StoreFixtures.h"
#include "support/TestEnvironment.h"

#include <QFileInfo>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using StoreFixtures::StoreRig;

namespace {

const QString duplicate = u"A profile with that name already exists. Select it or use a different name."_s;

QStringList names(const Store& store)
{
    QStringList list;
    for (const Profile& p : store.saved().profiles)
        list.append(p.name);
    return list;
}

} // namespace

class TestProfiles : public QObject
{
    Q_OBJECT

    StoreRig m_rig;

private slots:
    void addProfileCleansAndMatchesCaseInsensitively_data()
    {
        QTest::addColumn<QStringList>("typed");
        QTest::addColumn<QStringList>("expectedNames");
        QTest::addColumn<QString>("expectedCurrent");
        QTest::newRow("trimmed") << QStringList{u"  Anna \n"_s} << QStringList{u"Guest"_s, u"Anna"_s} << u"Anna"_s;
        QTest::newRow("second in other case selects") << QStringList{u"  Anna \n"_s, u"Ben"_s, u"anna"_s}
                                                      << QStringList{u"Guest"_s, u"Anna"_s, u"Ben"_s} << u"Anna"_s;
        QTest::newRow("GUEST selects Guest")
            << QStringList{u"Ben"_s, u"GUEST"_s} << QStringList{u"Guest"_s, u"Ben"_s} << u"Guest"_s;
        QTest::newRow("blanks ignored") << QStringList{u"Ben"_s, u" \t\n "_s} << QStringList{u"Guest"_s, u"Ben"_s}
                                        << u"Ben"_s;
        QTest::newRow("accented case fold")
            << QStringList{u"Émile"_s, u"émile"_s} << QStringList{u"Guest"_s, u"Émile"_s} << u"Émile"_s;
    }
    void addProfileCleansAndMatchesCaseInsensitively()
    {
        QFETCH(QStringList, typed);
        QFETCH(QStringList, expectedNames);
        QFETCH(QString, expectedCurrent);
        auto store = m_rig.fresh();
        for (const QString& name : typed)
            store->addProfile(name);
        QCOMPARE(names(*store), expectedNames);
        QCOMPARE(store->profile().name, expectedCurrent);
        QVERIFY(store->message().isEmpty());
        // What the learner sees is what the file holds.
        QCOMPARE(m_rig.onDisk().profiles, store->saved().profiles);
        QCOMPARE(m_rig.onDisk().selected, store->saved().selected);
    }

    void blankNameWritesNothing()
    {
        auto store = m_rig.fresh();
        QSignalSpy spy(store.get(), &Store::savedChanged);
        store->addProfile(u"   \n"_s);
        store->renameProfile(u"\t"_s);
        QCOMPARE(spy.count(), 0);
        QVERIFY(!QFileInfo::exists(m_rig.progressPath()));
    }

    void namesKeepEightyCharacters_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("stored");
        const QString hundred(100, u'x');
        QTest::newRow("100 letters") << hundred << hundred.left(80);
        // A family emoji is several code points but one character; e + combining acute is one character.
        const QString family = u"👨‍👩‍👧"_s;
        QTest::newRow("emoji count once") << family.repeated(85) << family.repeated(80);
        const QString accented = QString(79, u'a') + u"e\u0301"_s;
        QTest::newRow("combining marks stay") << accented + u"zz"_s << accented;
        QTest::newRow("trim before cut") << u"   "_s + hundred << hundred.left(80);
    }
    void namesKeepEightyCharacters()
    {
        QFETCH(QString, typed);
        QFETCH(QString, stored);
        auto store = m_rig.fresh();
        store->addProfile(typed);
        QCOMPARE(store->profile().name, stored);
        // Renaming cuts before comparing: the first 80 characters are those of the existing learner.
        store->addProfile(u"Other"_s);
        store->renameProfile(typed + u"!"_s);
        QCOMPARE(store->profile().name, u"Other"_s);
        QCOMPARE(store->message(), duplicate);
    }

    void renameRules_data()
    {
        QTest::addColumn<QString>("current");
        QTest::addColumn<QString>("newName");
        QTest::addColumn<QStringList>("expectedNames");
        QTest::addColumn<QString>("expectedCurrent");
        QTest::addColumn<QString>("expectedMessage");
        const QStringList base{u"Guest"_s, u"Anna"_s, u"ben"_s};
        QTest::newRow("onto another learner") << u"Anna"_s << u"Ben"_s << base << u"Anna"_s << duplicate;
        QTest::newRow("own name other case")
            << u"Anna"_s << u"ANNA"_s << QStringList{u"Guest"_s, u"ANNA"_s, u"ben"_s} << u"ANNA"_s << QString();
        QTest::newRow("free name") << u"Anna"_s << u" Carla "_s << QStringList{u"Guest"_s, u"Carla"_s, u"ben"_s}
                                   << u"Carla"_s << QString();
        QTest::newRow("Guest creates named")
            << u"Guest"_s << u"Dora"_s << base + QStringList{u"Dora"_s} << u"Dora"_s << QString();
        QTest::newRow("Guest selects existing") << u"Guest"_s << u"BEN"_s << base << u"ben"_s << QString();
        QTest::newRow("onto Guest is a duplicate") << u"Anna"_s << u"guest"_s << base << u"Anna"_s << duplicate;
    }
    void renameRules()
    {
        QFETCH(QString, current);
        QFETCH(QString, newName);
        QFETCH(QStringList, expectedNames);
        QFETCH(QString, expectedCurrent);
        QFETCH(QString, expectedMessage);
        auto store = m_rig.fresh();
        store->addProfile(u"Anna"_s);
        store->addProfile(u"ben"_s);
        store->addProfile(current);
        const Profile before = store->profile();
        store->renameProfile(newName);
        QCOMPARE(names(*store), expectedNames);
        QCOMPARE(store->profile().name, expectedCurrent);
        QCOMPARE(store->message(), expectedMessage);
        if (expectedMessage.isEmpty() && current != "Guest"_L1)
            QCOMPARE(store->profile().id, before.id); // renamed, not replaced
        QCOMPARE(m_rig.onDisk().profiles, store->saved().profiles);
    }

    void renameKeepsNamesOfStartedSessions()
    {
        auto store = m_rig.fresh();
        store->addProfile(u"Anna"_s);
        store->begin(store->pools().first(), u"Study All"_s, u"Anna"_s, false, QString());
        store->renameProfile(u"Annabel"_s);
        QCOMPARE(store->session()->name, u"Anna"_s);
        QCOMPARE(store->saved().drafts.first().name, u"Anna"_s);
    }

    void profileFallsBackToFirst()
    {
        auto store = m_rig.fresh();
        const QUuid guest = store->profile().id;
        store->addProfile(u"Anna"_s);
        QVERIFY(store->profile().id != guest);
        store->select(QUuid::createUuid());
        QCOMPARE(store->profile().id, guest);
        QVERIFY(store->saved().selected.has_value()); // the unknown id is kept as given
        store->select(store->saved().profiles.at(1).id);
        QCOMPARE(store->profile().name, u"Anna"_s);
    }

    void completedLevelsArePerProfile()
    {
        auto store = m_rig.fresh();
        store->addProfile(u"Anna"_s);
        QCOMPARE(store->studyPools().size(), 3);
        store->setLevelComplete(u"technician"_s, true);
        const QList<Pool> without = store->studyPools();
        QCOMPARE(without.size(), 2);
        QCOMPARE(without.at(0).level, u"general"_s);
        QCOMPARE(without.at(1).level, u"extra"_s);
        store->setLevelComplete(u"technician"_s, false);
        QCOMPARE(store->studyPools().size(), 3);
        // Another learner is not affected, and the file keeps an empty, present set.
        const Saved disk = m_rig.onDisk();
        QCOMPARE(disk.profiles.at(1).completedLevels, std::optional<QSet<QString>>(QSet<QString>()));
        QVERIFY(Fixtures::readFile(m_rig.progressPath()).contains("\"completedLevels\":[]"));
        QCOMPARE(disk.profiles.at(0).completedLevels, std::nullopt);
        // Any level name is kept as given; a new learner starts with every pool.
        store->setLevelComplete(u"extra"_s, true);
        store->setLevelComplete(u"anything"_s, true);
        QCOMPARE(store->profile().completedLevels,
                 std::optional<QSet<QString>>(QSet<QString>{u"extra"_s, u"anything"_s}));
        store->addProfile(u"Ben"_s);
        QCOMPARE(store->studyPools().size(), 3);
    }
};

AEROWEN_TEST_MAIN(TestProfiles, QCoreApplication)
#include "TestProfiles.moc"
