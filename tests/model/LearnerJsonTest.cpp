// The progress file's JSON form: required keys, identifiers, instants, sets and the initial state.
#include "support/Fixtures.h"
#include "support/TestEnvironment.h"

#include "model/Errors.h"
#include "model/Json.h"
#include "model/Learner.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QTest>

using namespace Qt::StringLiterals;

class LearnerJsonTest : public QObject
{
    Q_OBJECT

    static Session sampleSession(const QUuid& profile)
    {
        Session s;
        s.id = QUuid::fromString(u"{e621e1f8-c36c-495a-93fc-0c247a3e6e5f}"_s);
        s.profile = profile;
        s.name = u"Anna — Ω"_s;
        s.pool = Fixtures::pool(u"technician"_s, u"t"_s);
        s.mode = Modes::exam;
        s.questions = s.pool.questions.mid(0, 3);
        s.answers = {{s.questions[0].id, 2}, {s.questions[1].id, 0}};
        s.flags = {s.questions[2].id};
        s.revealed = {};
        s.index = 1;
        s.started = 817000000.25;
        s.elapsed = 93.5;
        s.eligible = false;
        return s;
    }

    static Saved sampleSaved()
    {
        Saved saved = Saved::initial();
        Profile anna{QUuid::createUuid(), u"Anna"_s, QSet<QString>{u"general"_s}};
        saved.profiles.append(anna);
        saved.selected = anna.id;
        saved.stats.insert(u"X|t|T1A01"_s, Stat{3, 2, true});
        saved.bookmarks = {u"X|t|T1A02"_s, u"X|t|T1A03"_s};
        saved.drafts.append(sampleSession(anna.id));
        Result r{QUuid::createUuid(), sampleSession(anna.id), -12.5, 61.0};
        saved.results.append(r);
        return saved;
    }

private slots:
    void savedRoundTripsCompactly()
    {
        const Saved saved = sampleSaved();
        const QByteArray bytes = saved.toBytes();
        QVERIFY(!bytes.contains('\n'));
        QCOMPARE(Saved::fromBytes(bytes), saved);
        // Unknown keys are read past and not written back.
        QJsonObject json = saved.toJson();
        json.insert(u"theme"_s, u"dark"_s);
        QCOMPARE(Saved::fromJson(json), saved);
        QVERIFY(!Saved::fromJson(json).toJson().contains(u"theme"_s));
    }

    void identifiersAreUpperCaseAndReadInEitherCase()
    {
        const Saved saved = sampleSaved();
        const QJsonObject json = saved.toJson();
        const QString id = json.value(u"profiles"_s).toArray().at(0).toObject().value(u"id"_s).toString();
        QCOMPARE(id, id.toUpper());
        QCOMPARE(id.size(), 36);
        QCOMPARE(json.value(u"selected"_s).toString(), Json::uuidText(*saved.selected));

        QByteArray lower = saved.toBytes();
        lower.replace(Json::uuidText(*saved.selected).toLatin1(), Json::uuidText(*saved.selected).toLower().toLatin1());
        QCOMPARE(Saved::fromBytes(lower), saved);
    }

    void malformedIdentifierFailsRead_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("braces") << u"{E621E1F8-C36C-495A-93FC-0C247A3E6E5F}"_s;
        QTest::newRow("short") << u"E621E1F8-C36C-495A-93FC"_s;
        QTest::newRow("not hex") << u"Z621E1F8-C36C-495A-93FC-0C247A3E6E5F"_s;
    }

    void malformedIdentifierFailsRead()
    {
        QFETCH(QString, text);
        QJsonObject json = sampleSaved().toJson();
        json.insert(u"selected"_s, text);
        QVERIFY_THROWS_EXCEPTION(DecodeError, Saved::fromJson(json));
    }

    void instantsCountFromTwoThousandOne()
    {
        QCOMPARE(Dates::fromDateTime(QDateTime(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC)), 0.0);
        QCOMPARE(Dates::fromDateTime(QDateTime(QDate(2001, 1, 1), QTime(0, 1, 40), Qt::UTC)), 100.0);
        QCOMPARE(Dates::fromDateTime(QDateTime(QDate(2000, 12, 31), QTime(23, 59, 59), Qt::UTC)), -1.0);
        QCOMPARE(Dates::toDateTime(86400.0), QDateTime(QDate(2001, 1, 2), QTime(0, 0), Qt::UTC));
        const QJsonObject result = sampleSaved().toJson().value(u"results"_s).toArray().at(0).toObject();
        QCOMPARE(result.value(u"finished"_s).toDouble(), -12.5);
    }

    void optionalKeysStayAsTheyWere()
    {
        Saved saved = sampleSaved();
        saved.selected.reset();
        saved.profiles[1].completedLevels = QSet<QString>();
        const QJsonObject json = saved.toJson();
        QVERIFY(!json.contains(u"selected"_s));
        const QJsonArray profiles = json.value(u"profiles"_s).toArray();
        QVERIFY(!profiles.at(0).toObject().contains(u"completedLevels"_s));
        QCOMPARE(profiles.at(1).toObject().value(u"completedLevels"_s), QJsonValue(QJsonArray()));

        const Saved back = Saved::fromJson(json);
        QCOMPARE(back.selected, std::nullopt);
        QCOMPARE(back.profiles.at(0).completedLevels, std::nullopt);
        QCOMPARE(back.profiles.at(1).completedLevels, QSet<QString>());
        QVERIFY(!back.toJson().contains(u"selected"_s));
    }

    void missingRequiredKeyAnywhereFailsWholeRead_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("key");
        for (const char* k : {"profiles", "stats", "bookmarks", "drafts", "results"})
            QTest::addRow("saved %s", k) << QString() << k;
        for (const char* k : {"id", "name"})
            QTest::addRow("profile %s", k) << u"profiles/1"_s << k;
        for (const char* k : {"attempts", "correct", "lastCorrect"})
            QTest::addRow("stat %s", k) << u"stats/X|t|T1A01"_s << k;
        for (const char* k : {"id", "profile", "name", "pool", "mode", "challenge", "questions", "answers", "flags",
                              "revealed", "index", "started", "elapsed", "eligible"})
            QTest::addRow("draft %s", k) << u"drafts/0"_s << k;
        for (const char* k : {"id", "session", "finished", "seconds"})
            QTest::addRow("result %s", k) << u"results/0"_s << k;
        QTest::newRow("question inside result pool") << u"results/0/session/pool/questions/7"_s << "correct";
    }

    void missingRequiredKeyAnywhereFailsWholeRead()
    {
        QFETCH(QString, path);
        QFETCH(QString, key);
        const QJsonObject json = Fixtures::editedJson(sampleSaved().toJson(), path, [&](QJsonObject& o) {
            QVERIFY(o.contains(key));
            o.remove(key);
        });
        QVERIFY_THROWS_EXCEPTION(DecodeError, Saved::fromJson(json));
    }

    void wrongTypesFailWholeRead_data()
    {
        QTest::addColumn<QByteArray>("from");
        QTest::addColumn<QByteArray>("to");
        QTest::newRow("lastCorrect as number") << QByteArray("\"lastCorrect\":true") << QByteArray("\"lastCorrect\":1");
        QTest::newRow("eligible as text") << QByteArray("\"eligible\":false") << QByteArray("\"eligible\":\"no\"");
        QTest::newRow("answer index as text")
            << QByteArray("\"answers\":{\"T1A01\":2") << QByteArray("\"answers\":{\"T1A01\":\"C\"");
        QTest::newRow("bookmarks as object") << QByteArray("\"bookmarks\":[") << QByteArray("\"bookmarks\":{\"a\":[");
    }

    void wrongTypesFailWholeRead()
    {
        QFETCH(QByteArray, from);
        QFETCH(QByteArray, to);
        QByteArray bytes = sampleSaved().toBytes();
        QVERIFY2(bytes.contains(from), bytes.left(300).constData());
        bytes.replace(from, to);
        if (to.startsWith("\"bookmarks\":{"))
            bytes.replace("\"X|t|T1A03\"]", "\"X|t|T1A03\"]}");
        QVERIFY_THROWS_EXCEPTION(DecodeError, Saved::fromBytes(bytes));
    }

    void draftAndResultCarryTheirOwnFullPool()
    {
        const QJsonObject json = sampleSaved().toJson();
        QCOMPARE(json[u"drafts"_s][0][u"pool"_s][u"questions"_s].toArray().size(), 350);
        QCOMPARE(json[u"results"_s][0][u"session"_s][u"pool"_s][u"questions"_s].toArray().size(), 350);
    }

    void initialStateIsOneFreshGuest()
    {
        const Saved a = Saved::initial();
        const Saved b = Saved::initial();
        QCOMPARE(a.profiles.size(), 1);
        QCOMPARE(a.profiles.at(0).name, u"Guest"_s);
        QCOMPARE(a.profiles.at(0).completedLevels, std::nullopt);
        QVERIFY(!a.profiles.at(0).id.isNull());
        QVERIFY(a.profiles.at(0).id != b.profiles.at(0).id);
        QVERIFY(!a.selected && a.stats.isEmpty() && a.bookmarks.isEmpty() && a.drafts.isEmpty() && a.results.isEmpty());
    }
};

AEROWEN_TEST_MAIN(LearnerJsonTest, QCoreApplication)
#include "LearnerJsonTest.moc"
