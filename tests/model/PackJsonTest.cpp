// Strict decoding and encoding of the pool pack and the figure review records.
#include "support/Fixtures.h"
#include "support/TestEnvironment.h"

#include "model/DiagramReview.h"
#include "model/Errors.h"
#include "model/Json.h"
#include "model/Pack.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QTest>

class PackJsonTest : public QObject
{
    Q_OBJECT

    static QJsonObject smallPackJson()
    {
        Pack pack = Fixtures::pack({Fixtures::pool(QStringLiteral("technician"), QStringLiteral("t"),
                                                   QStringLiteral("2026-07-01"), QStringLiteral("2026-02-19"), 2, 1)});
        pack.pools[0].documentHash = QStringLiteral("ab");
        pack.pools[0].questions[0].figure = QStringLiteral("T1.png");
        pack.assets.insert(QStringLiteral("T1.png"), QStringLiteral("AAAA"));
        return pack.toJson();
    }

    // Applies an edit to the object found by path ("pools/0/questions/0") inside the pack object.
    static QJsonObject edited(QJsonObject root, const QStringList& path, const std::function<void(QJsonObject&)>& edit)
    {
        if (path.isEmpty()) {
            edit(root);
            return root;
        }
        const QString key = path.at(0);
        const int index = path.at(1).toInt();
        QJsonArray list = root.value(key).toArray();
        list[index] = edited(list.at(index).toObject(), path.mid(2), edit);
        root.insert(key, list);
        return root;
    }

private slots:
    void missingRequiredKeyFailsWholeRead_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("key");
        for (const char* k : {"schema", "pools", "assets"})
            QTest::newRow(k) << QString() << QString::fromLatin1(k);
        for (const char* k : {"id", "level", "name", "validFrom", "validUntil", "revision", "examCount", "passCount",
                              "source", "topics", "questions"})
            QTest::addRow("pool %s", k) << QStringLiteral("pools/0") << QString::fromLatin1(k);
        for (const char* k : {"id", "group", "prompt", "answers", "correct", "reference"})
            QTest::addRow("question %s", k) << QStringLiteral("pools/0/questions/0") << QString::fromLatin1(k);
    }

    void missingRequiredKeyFailsWholeRead()
    {
        QFETCH(QString, path);
        QFETCH(QString, key);
        const QStringList parts = path.isEmpty() ? QStringList() : path.split(QLatin1Char('/'));
        const QJsonObject broken = edited(smallPackJson(), parts, [&](QJsonObject& o) {
            QVERIFY(o.contains(key));
            o.remove(key);
        });
        QVERIFY_THROWS_EXCEPTION(DecodeError, Pack::fromJson(broken));
    }

    void wrongJsonTypeFailsWholeRead_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QJsonValue>("value");
        QTest::newRow("schema as text") << QString() << "schema" << QJsonValue(QStringLiteral("1"));
        QTest::newRow("schema fractional") << QString() << "schema" << QJsonValue(1.5);
        QTest::newRow("assets as array") << QString() << "assets" << QJsonValue(QJsonArray());
        QTest::newRow("asset value number") << QString() << "assets" << QJsonValue(QJsonObject{{"x.png", 3}});
        QTest::newRow("pools as object") << QString() << "pools" << QJsonValue(QJsonObject());
        QTest::newRow("examCount as text") << "pools/0"
                                           << "examCount" << QJsonValue(QStringLiteral("35"));
        QTest::newRow("topics value number") << "pools/0"
                                             << "topics" << QJsonValue(QJsonObject{{"T1", 1}});
        QTest::newRow("documentHash null") << "pools/0"
                                           << "documentHash" << QJsonValue(QJsonValue::Null);
        QTest::newRow("name as number") << "pools/0"
                                        << "name" << QJsonValue(7);
        QTest::newRow("answers element number") << "pools/0/questions/0"
                                                << "answers" << QJsonValue(QJsonArray{"a", "b", 3, "d"});
        QTest::newRow("correct as bool") << "pools/0/questions/0"
                                         << "correct" << QJsonValue(true);
        QTest::newRow("figure as number") << "pools/0/questions/0"
                                          << "figure" << QJsonValue(1);
        QTest::newRow("question not object") << "pools/0"
                                             << "questions" << QJsonValue(QJsonArray{1});
    }

    void wrongJsonTypeFailsWholeRead()
    {
        QFETCH(QString, path);
        QFETCH(QString, key);
        QFETCH(QJsonValue, value);
        const QStringList parts = path.isEmpty() ? QStringList() : path.split(QLatin1Char('/'));
        const QJsonObject broken = edited(smallPackJson(), parts, [&](QJsonObject& o) { o.insert(key, value); });
        QVERIFY_THROWS_EXCEPTION(DecodeError, Pack::fromJson(broken));
    }

    void unknownKeysAreIgnoredAndOptionalsOmitted()
    {
        QJsonObject json = edited(smallPackJson(), {QStringLiteral("pools"), QStringLiteral("0")}, [](QJsonObject& o) {
            o.insert(QStringLiteral("futureKey"), QJsonArray{1, 2});
            o.remove(QStringLiteral("documentHash"));
        });
        json.insert(QStringLiteral("comment"), QStringLiteral("ignored"));
        const Pack pack = Pack::fromJson(json);
        QCOMPARE(pack.pools.at(0).documentHash, std::nullopt);
        QCOMPARE(pack.pools.at(0).questions.at(0).figure, QStringLiteral("T1.png"));
        QCOMPARE(pack.pools.at(0).questions.at(1).figure, std::nullopt);

        const QJsonObject written = pack.toJson();
        QVERIFY(!written.contains(QStringLiteral("comment")));
        const QJsonObject pool = written.value(QStringLiteral("pools")).toArray().at(0).toObject();
        QVERIFY(!pool.contains(QStringLiteral("documentHash")));
        QVERIFY(!pool.value(QStringLiteral("questions")).toArray().at(1).toObject().contains(QStringLiteral("figure")));
        QCOMPARE(Pack::fromJson(written), pack);
    }

    void notJsonOrNotObjectFails()
    {
        QVERIFY_THROWS_EXCEPTION(DecodeError, Pack::fromBytes("{\"schema\":1,"));
        QVERIFY_THROWS_EXCEPTION(DecodeError, Pack::fromBytes("[1,2]"));
        QVERIFY_THROWS_EXCEPTION(DecodeError, Pack::fromBytes(""));
    }

    void diagramReviewRoundTripsWithImagesAndLabels()
    {
        DiagramReview review;
        static const char document[] = "PK\x03\x04 binary \x00\xff";
        review.document = QByteArray(document, sizeof document - 1);
        review.source = QStringLiteral("https://www.ncvec.org/downloads/E.docx");
        review.level = QStringLiteral("extra");
        review.documentKey = QString(64, QLatin1Char('a'));
        review.images = {QByteArray("\x89PNG one", 8), QByteArray()};
        review.labels = {QStringLiteral("E6-2"), QStringLiteral("E7-1")};
        Question q = Fixtures::pool(QStringLiteral("extra"), QStringLiteral("e")).questions.at(0);
        q.figure = QStringLiteral("E6-2");
        review.questions = {q};

        const DiagramReview back = DiagramReview::fromBytes(review.toBytes());
        QCOMPARE(back, review);
        QVERIFY(!review.toJson().contains(QStringLiteral("isDemo")));

        review.isDemo = true;
        QCOMPARE(DiagramReview::fromBytes(review.toBytes()).isDemo, std::optional<bool>(true));

        QJsonObject missing = review.toJson();
        missing.remove(QStringLiteral("labels"));
        QVERIFY_THROWS_EXCEPTION(DecodeError, DiagramReview::fromJson(missing));
        QJsonObject notBase64 = review.toJson();
        notBase64.insert(QStringLiteral("images"), QJsonArray{QStringLiteral("%%%")});
        QVERIFY_THROWS_EXCEPTION(DecodeError, DiagramReview::fromJson(notBase64));
    }

    void correctionsMapRoundTripsAndRejectsWrongTypes()
    {
        Corrections corrections;
        corrections[QString(64, QLatin1Char('b'))].insert(QStringLiteral("E6-1"), QStringLiteral("iVBO"));
        corrections[QString(64, QLatin1Char('b'))].insert(QStringLiteral("E6-2"), QStringLiteral("AAAA"));
        QCOMPARE(CorrectionsJson::fromBytes(CorrectionsJson::toBytes(corrections)), corrections);
        QVERIFY_THROWS_EXCEPTION(DecodeError, CorrectionsJson::fromBytes("{\"abc\":{\"E6-1\":5}}"));
        QVERIFY_THROWS_EXCEPTION(DecodeError, CorrectionsJson::fromBytes("{\"abc\":\"E6-1\"}"));
    }
};

AEROWEN_TEST_MAIN(PackJsonTest, QCoreApplication)
#include "PackJsonTest.moc"
