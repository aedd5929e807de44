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

using namespace Qt::StringLiterals;

class PackJsonTest : public QObject
{
    Q_OBJECT

    static QJsonObject smallPackJson()
    {
        Pack pack = Fixtures::pack({Fixtures::pool(u"technician"_s, u"t"_s, u"2026-07-01"_s, u"2026-02-19"_s, 2, 1)});
        pack.pools[0].documentHash = u"ab"_s;
        pack.pools[0].questions[0].figure = u"T1.png"_s;
        pack.assets.insert(u"T1.png"_s, u"AAAA"_s);
        return pack.toJson();
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
            QTest::addRow("pool %s", k) << u"pools/0"_s << QString::fromLatin1(k);
        for (const char* k : {"id", "group", "prompt", "answers", "correct", "reference"})
            QTest::addRow("question %s", k) << u"pools/0/questions/0"_s << QString::fromLatin1(k);
    }

    void missingRequiredKeyFailsWholeRead()
    {
        QFETCH(QString, path);
        QFETCH(QString, key);
        const QJsonObject broken = Fixtures::editedJson(smallPackJson(), path, [&](QJsonObject& o) {
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
        QTest::newRow("schema as text") << QString() << "schema" << QJsonValue(u"1"_s);
        QTest::newRow("schema fractional") << QString() << "schema" << QJsonValue(1.5);
        QTest::newRow("assets as array") << QString() << "assets" << QJsonValue(QJsonArray());
        QTest::newRow("asset value number") << QString() << "assets" << QJsonValue(QJsonObject{{"x.png", 3}});
        QTest::newRow("pools as object") << QString() << "pools" << QJsonValue(QJsonObject());
        QTest::newRow("examCount as text") << "pools/0"
                                           << "examCount" << QJsonValue(u"35"_s);
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
        const QJsonObject broken =
            Fixtures::editedJson(smallPackJson(), path, [&](QJsonObject& o) { o.insert(key, value); });
        QVERIFY_THROWS_EXCEPTION(DecodeError, Pack::fromJson(broken));
    }

    void unknownKeysAreIgnoredAndOptionalsOmitted()
    {
        QJsonObject json = Fixtures::editedJson(smallPackJson(), u"pools/0"_s, [](QJsonObject& o) {
            o.insert(u"futureKey"_s, QJsonArray{1, 2});
            o.remove(u"documentHash"_s);
        });
        json.insert(u"comment"_s, u"ignored"_s);
        const Pack pack = Pack::fromJson(json);
        QCOMPARE(pack.pools.at(0).documentHash, std::nullopt);
        QCOMPARE(pack.pools.at(0).questions.at(0).figure, u"T1.png"_s);
        QCOMPARE(pack.pools.at(0).questions.at(1).figure, std::nullopt);

        const QJsonObject written = pack.toJson();
        QVERIFY(!written.contains(u"comment"_s));
        const QJsonObject pool = written.value(u"pools"_s).toArray().at(0).toObject();
        QVERIFY(!pool.contains(u"documentHash"_s));
        QVERIFY(!pool.value(u"questions"_s).toArray().at(1).toObject().contains(u"figure"_s));
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
        review.source = u"https://www.ncvec.org/downloads/E.docx"_s;
        review.level = u"extra"_s;
        review.documentKey = QString(64, u'a');
        review.images = {QByteArray("\x89PNG one", 8), QByteArray()};
        review.labels = {u"E6-2"_s, u"E7-1"_s};
        Question q = Fixtures::pool(u"extra"_s, u"e"_s).questions.at(0);
        q.figure = u"E6-2"_s;
        review.questions = {q};

        const DiagramReview back = DiagramReview::fromBytes(review.toBytes());
        QCOMPARE(back, review);
        QVERIFY(!review.toJson().contains(u"isDemo"_s));

        review.isDemo = true;
        QCOMPARE(DiagramReview::fromBytes(review.toBytes()).isDemo, std::optional<bool>(true));

        QJsonObject missing = review.toJson();
        missing.remove(u"labels"_s);
        QVERIFY_THROWS_EXCEPTION(DecodeError, DiagramReview::fromJson(missing));
        QJsonObject notBase64 = review.toJson();
        notBase64.insert(u"images"_s, QJsonArray{u"%%%"_s});
        QVERIFY_THROWS_EXCEPTION(DecodeError, DiagramReview::fromJson(notBase64));
    }

    void correctionsMapRoundTripsAndRejectsWrongTypes()
    {
        Corrections corrections;
        corrections[QString(64, u'b')].insert(u"E6-1"_s, u"iVBO"_s);
        corrections[QString(64, u'b')].insert(u"E6-2"_s, u"AAAA"_s);
        QCOMPARE(CorrectionsJson::fromBytes(CorrectionsJson::toBytes(corrections)), corrections);
        QVERIFY_THROWS_EXCEPTION(DecodeError, CorrectionsJson::fromBytes("{\"abc\":{\"E6-1\":5}}"));
        QVERIFY_THROWS_EXCEPTION(DecodeError, CorrectionsJson::fromBytes("{\"abc\":\"E6-1\"}"));
    }
};

AEROWEN_TEST_MAIN(PackJsonTest, QCoreApplication)
#include "PackJsonTest.moc"
