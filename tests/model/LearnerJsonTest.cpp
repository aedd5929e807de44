// The progress file's JSON form: required keys, identifiers, instants, sets and the initial state.
#include "support/Fixtures.h"
#include "support/TestEnvironment.h"

#include "model/Errors.h"
#include "model/Json.h"
#include "model/Learner.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QTest>

class LearnerJsonTest : public QObject
{
    Q_OBJECT

    static Session sampleSession(const QUuid& profile)
    {
        Session s;
        s.id = QUuid::fromString(QStringLiteral("{e621e1f8-c36c-495a-93fc-0c247a3e6e5f}"));
        s.profile = profile;
        s.name = QStringLiteral("Anna — Ω");
        s.pool = Fixtures::pool(QStringLiteral("technician"), QStringLiteral("t"));
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
        Profile anna{QUuid::createUuid(), QStringLiteral("Anna"), QSet<QString>{QStringLiteral("general")}};
        saved.profiles.append(anna);
        saved.selected = anna.id;
        saved.stats.insert(QStringLiteral("X|t|T1A01"), Stat{3, 2, true});
        saved.bookmarks = {QStringLiteral("X|t|T1A02"), QStringLiteral("X|t|T1A03")};
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
    }

    void identifiersAreUpperCaseAndReadInEitherCase()
    {
        const Saved saved = sampleSaved();
        const QJsonObject json = saved.toJson();
        const QString id =
            json.value(QStringLiteral("profiles")).toArray().at(0).toObject().value(QStringLiteral("id")).toString();
        QCOMPARE(id, id.toUpper());
        QCOMPARE(id.size(), 36);
        QCOMPARE(json.value(QStringLiteral("selected")).toString(), Json::uuidText(*saved.selected));

        QByteArray lower = saved.toBytes();
        lower.replace(Json::uuidText(*saved.selected).toLatin1(), Json::uuidText(*saved.selected).toLower().toLatin1());
        QCOMPARE(Saved::fromBytes(lower), saved);
    }

    void malformedIdentifierFailsRead_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("braces") << QStringLiteral("{E621E1F8-C36C-495A-93FC-0C247A3E6E5F}");
        QTest::newRow("short") << QStringLiteral("E621E1F8-C36C-495A-93FC");
        QTest::newRow("not hex") << QStringLiteral("Z621E1F8-C36C-495A-93FC-0C247A3E6E5F");
    }

    void malformedIdentifierFailsRead()
    {
        QFETCH(QString, text);
        QJsonObject json = sampleSaved().toJson();
        json.insert(QStringLiteral("selected"), text);
        QVERIFY_THROWS_EXCEPTION(DecodeError, Saved::fromJson(json));
    }

    void instantsCountFromTwoThousandOne()
    {
        QCOMPARE(Dates::fromDateTime(QDateTime(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC)), 0.0);
        QCOMPARE(Dates::fromDateTime(QDateTime(QDate(2001, 1, 1), QTime(0, 1, 40), Qt::UTC)), 100.0);
        QCOMPARE(Dates::fromDateTime(QDateTime(QDate(2000, 12, 31), QTime(23, 59, 59), Qt::UTC)), -1.0);
        QCOMPARE(Dates::toDateTime(86400.0), QDateTime(QDate(2001, 1, 2), QTime(0, 0), Qt::UTC));
        const QJsonObject result = sampleSaved().toJson().value(QStringLiteral("results")).toArray().at(0).toObject();
        QCOMPARE(result.value(QStringLiteral("finished")).toDouble(), -12.5);
    }

    void optionalKeysStayAsTheyWere()
    {
        Saved saved = sampleSaved();
        saved.selected.reset();
        saved.profiles[1].completedLevels = QSet<QString>();
        const QJsonObject json = saved.toJson();
        QVERIFY(!json.contains(QStringLiteral("selected")));
        const QJsonArray profiles = json.value(QStringLiteral("profiles")).toArray();
        QVERIFY(!profiles.at(0).toObject().contains(QStringLiteral("completedLevels")));
        QCOMPARE(profiles.at(1).toObject().value(QStringLiteral("completedLevels")), QJsonValue(QJsonArray()));

        const Saved back = Saved::fromJson(json);
        QCOMPARE(back.selected, std::nullopt);
        QCOMPARE(back.profiles.at(0).completedLevels, std::nullopt);
        QCOMPARE(back.profiles.at(1).completedLevels, QSet<QString>());
        QVERIFY(!back.toJson().contains(QStringLiteral("selected")));
    }

    void missingRequiredKeyAnywhereFailsWholeRead_data()
    {
        QTest::addColumn<QString>("record");
        QTest::addColumn<QString>("key");
        for (const char* k : {"profiles", "stats", "bookmarks", "drafts", "results"})
            QTest::addRow("saved %s", k) << "saved" << k;
        for (const char* k : {"id", "name"})
            QTest::addRow("profile %s", k) << "profile" << k;
        for (const char* k : {"attempts", "correct", "lastCorrect"})
            QTest::addRow("stat %s", k) << "stat" << k;
        for (const char* k : {"id", "profile", "name", "pool", "mode", "challenge", "questions", "answers", "flags",
                              "revealed", "index", "started", "elapsed", "eligible"})
            QTest::addRow("draft %s", k) << "draft" << k;
        for (const char* k : {"id", "session", "finished", "seconds"})
            QTest::addRow("result %s", k) << "result" << k;
        QTest::newRow("question inside result pool") << "resultPoolQuestion"
                                                     << "correct";
    }

    void missingRequiredKeyAnywhereFailsWholeRead()
    {
        QFETCH(QString, record);
        QFETCH(QString, key);
        QJsonObject json = sampleSaved().toJson();
        const auto dropFromArrayElement = [&](const QString& arrayKey, int index) {
            QJsonArray list = json.value(arrayKey).toArray();
            QJsonObject element = list.at(index).toObject();
            QVERIFY(element.contains(key));
            element.remove(key);
            list[index] = element;
            json.insert(arrayKey, list);
        };
        if (record == QLatin1StringView("saved")) {
            json.remove(key);
        } else if (record == QLatin1StringView("profile")) {
            dropFromArrayElement(QStringLiteral("profiles"), 1);
        } else if (record == QLatin1StringView("stat")) {
            QJsonObject stats = json.value(QStringLiteral("stats")).toObject();
            QJsonObject stat = stats.value(QStringLiteral("X|t|T1A01")).toObject();
            stat.remove(key);
            stats.insert(QStringLiteral("X|t|T1A01"), stat);
            json.insert(QStringLiteral("stats"), stats);
        } else if (record == QLatin1StringView("draft")) {
            dropFromArrayElement(QStringLiteral("drafts"), 0);
        } else if (record == QLatin1StringView("result")) {
            dropFromArrayElement(QStringLiteral("results"), 0);
        } else {
            QJsonArray results = json.value(QStringLiteral("results")).toArray();
            QJsonObject result = results.at(0).toObject();
            QJsonObject session = result.value(QStringLiteral("session")).toObject();
            QJsonObject pool = session.value(QStringLiteral("pool")).toObject();
            QJsonArray questions = pool.value(QStringLiteral("questions")).toArray();
            QJsonObject q = questions.at(7).toObject();
            q.remove(key);
            questions[7] = q;
            pool.insert(QStringLiteral("questions"), questions);
            session.insert(QStringLiteral("pool"), pool);
            result.insert(QStringLiteral("session"), session);
            results[0] = result;
            json.insert(QStringLiteral("results"), results);
        }
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

    void unknownKeysAreIgnored()
    {
        const Saved saved = sampleSaved();
        QJsonObject json = saved.toJson();
        json.insert(QStringLiteral("theme"), QStringLiteral("dark"));
        QCOMPARE(Saved::fromJson(json), saved);
        QVERIFY(!Saved::fromJson(json).toJson().contains(QStringLiteral("theme")));
    }

    void draftAndResultCarryTheirOwnFullPool()
    {
        const Saved saved = sampleSaved();
        const QJsonObject json = saved.toJson();
        const QJsonObject draftPool =
            json.value(QStringLiteral("drafts")).toArray().at(0).toObject().value(QStringLiteral("pool")).toObject();
        const QJsonObject resultPool = json.value(QStringLiteral("results"))
                                           .toArray()
                                           .at(0)
                                           .toObject()
                                           .value(QStringLiteral("session"))
                                           .toObject()
                                           .value(QStringLiteral("pool"))
                                           .toObject();
        QCOMPARE(draftPool.value(QStringLiteral("questions")).toArray().size(), 350);
        QCOMPARE(resultPool.value(QStringLiteral("questions")).toArray().size(), 350);
    }

    void initialStateIsOneFreshGuest()
    {
        const Saved a = Saved::initial();
        const Saved b = Saved::initial();
        QCOMPARE(a.profiles.size(), 1);
        QCOMPARE(a.profiles.at(0).name, QStringLiteral("Guest"));
        QCOMPARE(a.profiles.at(0).completedLevels, std::nullopt);
        QVERIFY(!a.profiles.at(0).id.isNull());
        QVERIFY(a.profiles.at(0).id != b.profiles.at(0).id);
        QVERIFY(!a.selected && a.stats.isEmpty() && a.bookmarks.isEmpty() && a.drafts.isEmpty() && a.results.isEmpty());
    }
};

AEROWEN_TEST_MAIN(LearnerJsonTest, QCoreApplication)
#include "LearnerJsonTest.moc"
