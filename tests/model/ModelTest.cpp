// The pool pack and learner records: strict reading, the form they are written in, and the pack's rules.
#include "support/Fixtures.h"
#include "support/TestEnvironment.h"

#include "model/BuiltInPack.h"
#include "model/DiagramReview.h"
#include "model/Json.h"
#include "model/Memory.h"
#include "model/PoolCopies.h"

using namespace Qt::StringLiterals;
using Mutation = std::function<void(Pack&)>;
Q_DECLARE_METATYPE(Mutation)

namespace {

// Valid although its technician pool has long expired, was revised on a leap day and has texts of only white space.
Pack validPack()
{
    Pack pack = Fixtures::threeLevelPack();
    Pool& tech = pack.pools[0];
    tech.documentHash = QString(64, u'a');
    tech.revision = u"2024-02-29"_s;
    tech.validFrom = u"1990-07-01"_s;
    tech.validUntil = u"1994-07-01"_s;
    tech.questions[0].figure = u"T1.png"_s;
    tech.questions[0].prompt = u" "_s;
    tech.questions[1].answers[2] = u"\t"_s;
    // Every character class of the alphabet, past the 16-character blocks the check works in.
    pack.assets.insert(u"T1.png"_s, u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/iVBORw0K+/o="_s);
    return pack;
}

Saved sampleSaved()
{
    const Profile anna{QUuid::createUuid(), u"Anna — Ω"_s, QSet<QString>{u"general"_s}};
    const Pool pool = validPack().pools[0];
    const Session s{
        QUuid::createUuid(), anna.id,      u"Anna"_s,    pool, Modes::exam,  u"ABC"_s, pool.questions.mid(0, 3),
        {{u"T1A01"_s, 2}},   {u"T1A03"_s}, {u"T1A02"_s}, 1,    817000000.25, 93.5,     false};
    const Result result{QUuid::createUuid(), s, -12.5, 61.0};
    const QMap<QString, Stat> stats{{u"X|t|T1A01"_s, {3, 2, true}}};
    return Saved{{Saved::initial().profiles[0], anna}, anna.id, stats, {u"X|t|T1A02"_s}, {s}, {result}};
}

} // namespace

class ModelTest : public QObject
{
    Q_OBJECT

private slots:
    void strictReadingFailsAsAWhole_data()
    {
        QTest::addColumn<QString>("record");
        QTest::addColumn<QByteArray>("bytes");
        QJsonObject pack = validPack().toJson(), saved = sampleSaved().toJson();
        // Each edit alone fails the read: a missing key (an undefined value) or a value of the wrong JSON type.
        // Without keys given, every key of the object is removed in turn: all of them are required.
        const auto rows = [&](const char* record, const char* path, QStringList keys = {},
                              const QJsonValue& value = QJsonValue::Undefined) {
            const QJsonObject& sample = record == "pack"_L1 ? pack : saved;
            if (keys.isEmpty())
                Fixtures::editedJson(sample, path, [&](QJsonObject& o) { keys = o.keys(); });
            for (const QString& key : keys) {
                const auto edit = [&](QJsonObject& o) { o.insert(key, value); };
                QTest::addRow("%s %s %s %s", record, path, qPrintable(key),
                              value.isUndefined() ? "missing" : Json::compact(QJsonArray{value}).constData())
                    << QString::fromLatin1(record) << Json::compact(Fixtures::editedJson(sample, path, edit));
            }
        };
        saved.remove(u"selected"_s); // the one optional key of these objects
        for (const char* path : {"", "pools/1", "pools/0/questions/1"})
            rows("pack", path);
        for (const char* path : {"", "profiles/0", "stats/X|t|T1A01", "drafts/0", "results/0"})
            rows("saved", path);
        rows("pack", "", {"schema", "pools", "assets"}, u"1"_s);
        rows("pack", "", {"schema"}, 1.5);
        rows("pack", "", {"assets"}, QJsonObject{{"x.png", 3}});
        rows("pack", "pools/0", {"name", "documentHash", "examCount", "topics", "questions"}, QJsonValue::Null);
        rows("pack", "pools/0/questions/0", {"answers", "figure"}, QJsonArray{1});
        rows("saved", "stats/X|t|T1A01", {"lastCorrect", "correct"}, u"no"_s);
        for (const QJsonValue& v : {QJsonValue(QJsonValue::Null), QJsonValue(u"1"_s)}) // the memory keys are optional
            rows("saved", "stats/X|t|T1A01", {"stability", "difficulty", "reviewed", "due"}, v);
        rows("saved", "drafts/0", {"eligible", "started", "flags"}, u"no"_s);
        rows("saved", "drafts/0", {"answers"}, QJsonObject{{"T1A01", "C"}});
        rows("saved", "", {"selected"}, u"{E621E1F8-C36C-495A-93FC-0C247A3E6E5F}"_s);
        rows("saved", "", {"selected"}, u"Z621E1F8-C36C-495A-93FC-0C247A3E6E5F"_s);
    }
    void strictReadingFailsAsAWhole()
    {
        QFETCH(QString, record);
        QFETCH(QByteArray, bytes);
        QVERIFY_THROWS_EXCEPTION(DecodeError,
                                 record == "pack"_L1 ? void(Pack::fromBytes(bytes)) : void(Saved::fromBytes(bytes)));
    }

    void recordsAreWrittenCompactlyAndReadBack()
    {
        // Unknown keys are read past; absent optional fields are left out when written, never null.
        QJsonObject json = validPack().toJson();
        json.insert(u"futureKey"_s, 1);
        QCOMPARE(Pack::fromJson(json), validPack());
        QVERIFY(!json[u"pools"_s][1].toObject().contains(u"documentHash"_s));
        QVERIFY(!json[u"pools"_s][0][u"questions"_s][1].toObject().contains(u"figure"_s));

        // A review keeps whether it is the sample, and leaves the flag out when nobody set it.
        DiagramReview review{std::nullopt, "PK",        u"https://ncvec.org/x.docx"_s,      u"extra"_s, u"k"_s,
                             {"\x89PNG"},  {u"E6-1"_s}, {validPack().pools[2].questions[0]}};
        QVERIFY(!review.toJson().contains(u"isDemo"_s));
        for (const std::optional<bool> sample : {std::optional<bool>(), std::optional(true), std::optional(false)}) {
            review.isDemo = sample;
            QCOMPARE(DiagramReview::fromBytes(review.toBytes()), review);
        }

        // Identifiers are written in upper case and read in either.
        Saved saved = sampleSaved();
        QByteArray bytes = saved.toBytes();
        const QString id = Json::uuidText(*saved.selected);
        QVERIFY(!bytes.contains('\n') && bytes.contains(id.toLatin1()) && id == id.toUpper());
        QCOMPARE(Saved::fromBytes(bytes.replace(id.toLatin1(), id.toLower().toLatin1())), saved);
        // Instants are seconds since 2001-01-01 UTC.
        QCOMPARE(Dates::fromDateTime(QDateTime(QDate(2000, 12, 31), QTime(23, 58, 20), Qt::UTC)), -100.0);
        QCOMPARE(Dates::toDateTime(86400.5), QDateTime(QDate(2001, 1, 2), QTime(0, 0, 0, 500), Qt::UTC));
        // No selection and no completed levels stay absent; an empty set of levels stays an empty array.
        saved.selected.reset();
        saved.profiles[1].completedLevels = QSet<QString>();
        const QJsonObject without = saved.toJson();
        QVERIFY(!without.contains(u"selected"_s) &&
                !without[u"profiles"_s][0].toObject().contains(u"completedLevels"_s));
        QCOMPARE(without[u"profiles"_s][1][u"completedLevels"_s], QJsonValue(QJsonArray()));
        QCOMPARE(Saved::fromJson(without), saved);
        // Sets are written sorted, so that the same records always make the same file.
        saved.bookmarks = {u"T1A07"_s, u"T1A02"_s, u"T1A09"_s, u"T1A01"_s, u"T1A05"_s, u"T1A03"_s, u"T1A08"_s};
        QCOMPARE(saved.toJson()[u"bookmarks"_s].toArray(),
                 QJsonArray({"T1A01", "T1A02", "T1A03", "T1A05", "T1A07", "T1A08", "T1A09"}));
    }

    // The built-in pack's compact form reads back as the pack it was made from, with optional fields present and
    // absent; a damaged or foreign form is refused as a whole, never read in part.
    void builtInPackFormReadsAsWritten()
    {
        Pack pack = validPack();
        pack.schema = 7;
        pack.pools[0].topics = {{u"T1"_s, u"Commission’s rules"_s}, {u"T2"_s, u"Ω operating — procedures"_s}};
        pack.pools[0].source = u"https://ncvec.org/downloads/a.docx"_s;
        pack.pools[1].questions[0].reference = u"[97.1]"_s;
        QVERIFY(!pack.pools[1].documentHash && !pack.pools[0].questions[1].figure);
        const QByteArray bytes = BuiltInPack::encode(pack);
        QCOMPARE(BuiltInPack::decode(bytes), pack);

        QList<QByteArray> damaged{bytes + '\0', QByteArray(bytes).replace(0, 1, "X")};
        QByteArray laterLayout = bytes;
        laterLayout[4] = 2;
        damaged.append(laterLayout);
        QByteArray hugeCount = bytes;
        hugeCount[16] = char(0x7f); // the number of pools, after the header and the schema
        damaged.append(hugeCount);
        // Cut anywhere: in the header, at 200 places through the pools and figures, and in the last bytes.
        for (qsizetype size = 0; size < 64; ++size)
            damaged.append(bytes.left(size));
        for (qsizetype size = 64; size < bytes.size(); size += bytes.size() / 200 + 1)
            damaged.append(bytes.left(size));
        for (qsizetype size = bytes.size() - 16; size < bytes.size(); ++size)
            damaged.append(bytes.left(size));
        for (const QByteArray& form : std::as_const(damaged)) {
            try {
                BuiltInPack::decode(form);
                QFAIL(qPrintable(u"read a damaged form of "_s + QString::number(form.size()) + u" bytes"_s));
            } catch (const DecodeError&) {
            }
        }
    }

    // Identical pool copies of a long history are decoded once and shared; every file reads as it reads plainly.
    void poolCopiesReadAsWritten_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<bool>("valid");
        QTest::addColumn<bool>("shared"); // equal copies share one pool, and their questions the pool's texts
        Saved saved = sampleSaved();
        Result other = saved.results[0];
        other.session.pool.questions[1].prompt = u"A prompt with \"pool\":{} and \\ in it"_s;
        saved.results << saved.results[0] << other << saved.results[0];
        const QByteArray bytes = saved.toBytes(), pool = Json::compact(saved.results[0].session.pool.toJson());
        const auto edited = [&](QByteArrayView from, QByteArrayView to) { return QByteArray(bytes).replace(from, to); };
        QTest::newRow("copies") << bytes << true << true;
        QTest::newRow("spaced copies") << edited(",\"pool\":{", ",\"pool\" :\n {") << true << true;
        QTest::newRow("escaped key") << edited("\"pool\":{", "\"po\\u006fl\":{") << true << false;
        QTest::newRow("placeholder in file")
            << edited(QByteArray("\"pool\":" + pool), "\"pool\":[0]") << false << false;
        QTest::newRow("question placeholder in file")
            << QByteArray(bytes).insert(bytes.lastIndexOf("\"questions\":[{") + 13, "[0,0],") << false << false;
        QTest::newRow("cut after a copy") << bytes.left(bytes.lastIndexOf(pool) + pool.size()) << false << false;
        QTest::newRow("cut in a copy") << bytes.left(bytes.lastIndexOf(pool) + 20) << false << false;
        QTest::newRow("broken copy") << QByteArray(bytes).replace(bytes.lastIndexOf(pool) + 1, 4, "\"ix\"") << false
                                     << false;
    }
    void poolCopiesReadAsWritten()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(bool, valid);
        QFETCH(bool, shared);
        if (!valid) {
            QVERIFY_THROWS_EXCEPTION(DecodeError, Saved::fromBytes(bytes));
            return;
        }
        const Saved plain = Saved::fromJson(Json::parseObject(bytes)), read = Saved::fromBytes(bytes);
        QCOMPARE(read, plain);
        QCOMPARE(read.results.size(), 4);
        const Session &first = read.results[0].session, &second = read.results[1].session;
        QCOMPARE(first.pool.questions.isSharedWith(second.pool.questions), shared);
        QVERIFY(!first.pool.questions.isSharedWith(read.results[2].session.pool.questions));
        QCOMPARE(first.questions[0].prompt.isSharedWith(first.pool.questions[0].prompt), shared);
    }

    // Placeholders name only the copies and questions the reading found: anything else names nothing.
    void poolCopyPlaceholdersStayInBounds()
    {
        Saved saved = sampleSaved();
        Result other = saved.results[0];
        other.session.pool.questions[0].prompt = u"Another prompt"_s;
        saved.results << other;
        PoolCopies copies;
        QVERIFY(copies.extract(saved.toBytes()));
        const qsizetype last = other.session.pool.questions.size() - 1;
        QCOMPARE(copies.pool(QJsonArray{1})->questions.at(0).prompt, u"Another prompt"_s);
        QCOMPARE(copies.question(QJsonArray{1, last})->id, other.session.pool.questions.at(last).id);
        const QList<QJsonValue> nothing{QJsonArray{2},   QJsonArray{-1}, QJsonArray{u"0"_s}, QJsonArray{0, 0}, 0,
                                        QJsonArray{1.5}, QJsonArray{}};
        for (const QJsonValue& value : nothing)
            QVERIFY2(!copies.pool(value), qPrintable(Json::compact(QJsonObject{{u"v"_s, value}})));
        const QList<QJsonValue> noQuestion{QJsonArray{2, 0},  QJsonArray{1, last + 1}, QJsonArray{-1, 0},
                                           QJsonArray{0, -1}, QJsonArray{1},           QJsonArray{0, 0, 0}};
        for (const QJsonValue& value : noQuestion)
            QVERIFY2(!copies.question(value), qPrintable(Json::compact(QJsonObject{{u"v"_s, value}})));
    }

    // A pack's figures are taken straight from the text when they are plain; every text reads as it reads plainly.
    void packFiguresReadAsWritten()
    {
        QJsonObject json = validPack().toJson(), unusual = json;
        QJsonObject assets = json[u"assets"_s].toObject();
        assets.insert(u"Ω.png"_s, u"AAAA"_s);
        unusual.insert(u"assets"_s, assets);
        const QByteArray bytes = validPack().toBytes();
        QList<QByteArray> texts{
            bytes,
            QByteArray(bytes).replace("\"assets\":{", "\"assets\" :\n{ "),
            QByteArray(bytes).replace("K+/o=", "K+\\/o="),
            QByteArray(bytes).replace("\"assets\":{", "\"assets\":{\"T1.png\":\"AAAA\",\"T1.png\":\"BBBB\","),
            Json::compact(unusual),
            Json::compact(Fixtures::editedJson(json, "pools/0",
                                               [](QJsonObject& o) {
                                                   o.insert(u"assets"_s, QJsonObject{{"a", "b"}});
                                               })),
        };
        // A byte just outside printable ASCII in a figure's data, inside a 16-byte block or in the rest after the
        // blocks: a control character, the last ASCII one, UTF-8 for "é", and a stray continuation byte.
        const qsizetype figure = bytes.indexOf("\"T1.png\":\"") + 10;
        for (const char* stray : {"\x1f", "\x7f", "\xc3\xa9", "\x80"})
            for (const int at : {5, 66})
                texts.append(QByteArray(bytes).replace(figure + at, 1, stray));
        QCOMPARE(Pack::fromBytes(bytes), validPack());
        for (const QByteArray& text : texts) {
            std::optional<Pack> plain;
            try {
                plain = Pack::fromJson(Json::parseObject(text));
            } catch (const DecodeError&) {
                QVERIFY_THROWS_EXCEPTION(DecodeError, Pack::fromBytes(text));
                continue;
            }
            QCOMPARE(Pack::fromBytes(text), *plain);
        }
    }

    void validateAppliesEveryRule_data()
    {
        QTest::addColumn<Mutation>("mutate"); // none: the pack stays valid
        // clang-format off
        QTest::newRow("as built") << Mutation();
        QTest::newRow("schema 2") << Mutation([](Pack& p) { p.schema = 2; });
        QTest::newRow("no pools") << Mutation([](Pack& p) { p.pools.clear(); });
        QTest::newRow("duplicate pool id across levels") << Mutation([](Pack& p) { p.pools[2].id = p.pools[0].id; });
        QTest::newRow("unknown level") << Mutation([](Pack& p) { p.pools[1].level = u"novice"_s; });
        for (const char* day : {"2026-02-29", "2026-7-1", "2026-02-31", "2026-07-01 ", " 2026-07-01", "2026/07/01", "", "2026-13-01"})
            QTest::addRow("revision '%s'", day) << Mutation([day](Pack& p) { p.pools[0].revision = QString::fromLatin1(day); });
        QTest::newRow("validFrom 1994-02-30") << Mutation([](Pack& p) { p.pools[0].validFrom = u"1994-02-30"_s; });
        QTest::newRow("validUntil trailing blank") << Mutation([](Pack& p) { p.pools[0].validUntil += u" "_s; });
        QTest::newRow("equal start and end") << Mutation([](Pack& p) { p.pools[0].validUntil = p.pools[0].validFrom; });
        QTest::newRow("extra with 35") << Mutation([](Pack& p) { p.pools[2] = Fixtures::pool(u"extra"_s, u"e"_s, u"2024-07-01"_s, u"2026-01-01"_s, 35); p.pools[2].examCount = 35; p.pools[2].passCount = 26; });
        QTest::newRow("general with 50") << Mutation([](Pack& p) { p.pools[1] = Fixtures::pool(u"general"_s, u"g"_s, u"2023-07-01"_s, u"2026-01-01"_s, 50); p.pools[1].examCount = 50; p.pools[1].passCount = 37; });
        QTest::newRow("technician pass 25") << Mutation([](Pack& p) { p.pools[0].passCount = 25; });
        QTest::newRow("extra pass 36") << Mutation([](Pack& p) { p.pools[2].passCount = 36; });
        QTest::newRow("extra exam 49") << Mutation([](Pack& p) { p.pools[2].examCount = 49; });
        QTest::newRow("34 groups") << Mutation([](Pack& p) { p.pools[0] = Fixtures::pool(u"technician"_s, u"t"_s, u"2026-07-01"_s, u"2026-01-01"_s, 34, 11); });
        QTest::newRow("349 questions") << Mutation([](Pack& p) { p.pools[0].questions.removeLast(); });
        QTest::newRow("duplicate question id") << Mutation([](Pack& p) { p.pools[0].questions.append(p.pools[0].questions.at(3)); });
        QTest::newRow("id T1A1") << Mutation([](Pack& p) { p.pools[0].questions[0].id = u"T1A1"_s; });
        QTest::newRow("technician questions in general pool") << Mutation([](Pack& p) { p.pools[0].level = u"general"_s; });
        QTest::newRow("three answers") << Mutation([](Pack& p) { p.pools[0].questions[0].answers.removeLast(); });
        QTest::newRow("five answers") << Mutation([](Pack& p) { p.pools[0].questions[0].answers.append(u"E"_s); });
        for (int c : {4, -1})
            QTest::addRow("correct %d", c) << Mutation([c](Pack& p) { p.pools[0].questions[0].correct = c; });
        QTest::newRow("empty prompt") << Mutation([](Pack& p) { p.pools[0].questions[0].prompt.clear(); });
        QTest::newRow("empty answer") << Mutation([](Pack& p) { p.pools[0].questions[0].answers[3].clear(); });
        QTest::newRow("group differs from id") << Mutation([](Pack& p) { p.pools[0].questions[0].group = u"T1B"_s; });
        QTest::newRow("figure without asset") << Mutation([](Pack& p) { p.pools[0].questions[1].figure = u"T2.png"_s; });
        QTest::newRow("asset key with slash") << Mutation([](Pack& p) { p.assets.insert(u"figs/T1.png"_s, u"AAAA"_s); });
        for (const char* data : {"AAAAA", "AA\nA", "AAA=A===", "*AAA"}) // length, line break, padding, first character
            QTest::addRow("asset '%s'", data) << Mutation([=](Pack& p) { p.assets.insert("x.png", data); });
        // A character just outside each range, in a 16-character block or in the rest after the blocks.
        for (const char16_t stray : {u'@', u'[', u'`', u'{', u'.', u':', u'\u0141', u'\uff21'}) {
            for (const int at : {5, 66}) {
                QTest::addRow("asset with U+%04x at %d", unsigned(stray), at) << Mutation([=](Pack& p) {
                    QString data = p.assets.value(u"T1.png"_s);
                    data[at] = QChar(stray);
                    p.assets.insert(u"T1.png"_s, data);
                });
            }
        }
        // clang-format on
    }
    void validateAppliesEveryRule()
    {
        QFETCH(Mutation, mutate);
        Pack pack = validPack();
        if (!mutate)
            return pack.validate();
        mutate(pack);
        QVERIFY_THROWS_EXCEPTION(DataError, pack.validate());
    }

    void memoryModelMatchesPublishedValues()
    {
        using enum Memory::Grade;
        // The reference implementation's figures for its trained weights: wrong at first, then right after 1, 3, 8
        // and 21 days; and one step from a given state after 21 days.
        const Memory::Weights trained{0.6845422,    1.6790825,  4.7349424, 10.042885,  7.4410233,  0.64219797, 1.071918,
                                      0.0025195254, 1.432437,   0.1544,    0.8692766,  2.0696752,  0.0953,     0.2975,
                                      2.4691248,    0.19542035, 3.201072,  0.18046261, 0.121442534};
        const auto near = [](const Memory::State& a, const Memory::State& b) {
            return qAbs(a.stability / b.stability - 1) < 1e-6 && qAbs(a.difficulty / b.difficulty - 1) < 1e-6;
        };
        std::optional<Memory::State> state;
        for (const auto& [days, grade] : {std::pair{0.0, again}, {1.0, good}, {3.0, good}, {8.0, good}, {21.0, good}})
            state = Memory::next(state, days, grade, trained);
        QVERIFY(near(*state, {31.722975, 7.382128}));
        QVERIFY(near(Memory::next(Memory::State{20.925528, 7.005062}, 21, good, trained), {40.874535, 6.9913807}));
        // The forgetting curve: 90 % after one stability, then its published values.
        const QList<double> curve{1.0, 0.9, 0.82502866, 0.76613088};
        for (qsizetype days = 0; days < curve.size(); ++days)
            QVERIFY(qAbs(Memory::retrievability(double(days), 1) - curve[days]) < 1e-7);
    }

    void poolPeriods()
    {
        Pool pool = Fixtures::pool(u"technician"_s, u"t"_s); // 2026-07-01 until 2030-07-01
        QVERIFY(pool.current(u"2026-07-01"_s) && pool.current(u"2030-06-30"_s));
        QVERIFY(!pool.current(u"2030-07-01"_s) && !pool.current(u"2026-06-30"_s));
        pool.validFrom = QDate::currentDate().addDays(1).toString(Qt::ISODate);
        pool.validUntil = QDate::currentDate().addYears(4).toString(Qt::ISODate);
        QVERIFY(pool.upcoming() && !pool.current());
        pool.validFrom = Dates::today();
        QVERIFY(!pool.upcoming() && pool.current() && pool.validFrom == QDate::currentDate().toString(Qt::ISODate));
    }
};

AEROWEN_TEST_MAIN(ModelTest, QCoreApplication)
#include "ModelTest.moc"
