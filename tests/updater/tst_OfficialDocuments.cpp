// The three official pool documents: what parse reads from them, and the built-in pack made from them.
#include "PackBuilder.h"
#include "support/FixtureDocuments.h"
#include "support/Fixtures.h"
#include "support/TestEnvironment.h"
#include "updater/OfficialUpdates.h"

#include <QDir>
#include <QRegularExpression>
#include <QTest>

using namespace OfficialUpdates;

namespace {

const QString downloads = QStringLiteral(KESTOVAN_SOURCE_DIR "/../shared/ncvec/downloads");

struct Official
{
    QString level;
    QString file;
};

const QList<Official> officialDocuments{
    {"technician", "2026-2030 Technician Pool and Syllabus Public Release Feb 19 2026.docx"},
    {"general", "General Class Pool and Syllabus 2023-2027 Public Release with 6th Errata Feb 4 2026.docx"},
    {"extra", "2024-2028 Extra Class Question Pool and Syllabus Public Release with 4th Errata Feb 4 2026.docx"},
};

QList<PackBuilder::Source> builderSources()
{
    QList<PackBuilder::Source> sources;
    for (const Official& d : officialDocuments)
        sources.append({downloads + QLatin1Char('/') + d.file, PackBuilder::downloadAddress(d.file), d.level});
    return sources;
}

} // namespace

class TestOfficialDocuments : public QObject
{
    Q_OBJECT

private:
    QMap<QString, Pack> m_packs; // by level

private slots:
    void initTestCase()
    {
        FixtureDocuments::isolateTemporaryFolder();
        if (!QDir(downloads).exists())
            QSKIP("The official NCVEC documents are not beside the project.");
        const QStringList before = FixtureDocuments::leftoverDocuments();
        for (const Official& d : officialDocuments) {
            const QByteArray data = Fixtures::readFile(downloads + QLatin1Char('/') + d.file);
            QVERIFY(!data.isEmpty());
            m_packs.insert(d.level, parse(data, PackBuilder::downloadAddress(d.file), d.level));
        }
        QCOMPARE(FixtureDocuments::leftoverDocuments(), before);
    }

    void poolsHaveTheOfficialShape_data()
    {
        QTest::addColumn<QString>("level");
        QTest::addColumn<QString>("id");
        QTest::addColumn<QString>("validFrom");
        QTest::addColumn<QString>("validUntil");
        QTest::addColumn<int>("questions");
        QTest::addColumn<int>("groups");
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("last");
        QTest::newRow("technician") << "technician"
                                    << "technician-2026-2026-02-19-c3bb9ebf"
                                    << "2026-07-01"
                                    << "2030-07-01" << 409 << 35 << "T1A01"
                                    << "T0C13";
        QTest::newRow("general") << "general"
                                 << "general-2023-2026-02-04-a07b15d6"
                                 << "2023-07-01"
                                 << "2027-07-01" << 423 << 35 << "G1A01"
                                 << "G0B13";
        QTest::newRow("extra") << "extra"
                               << "extra-2024-2026-02-04-581ff3aa"
                               << "2024-07-01"
                               << "2028-07-01" << 599 << 50 << "E1A01"
                               << "E0A12";
    }
    void poolsHaveTheOfficialShape()
    {
        QFETCH(QString, level);
        QFETCH(QString, id);
        QFETCH(QString, validFrom);
        QFETCH(QString, validUntil);
        QFETCH(int, questions);
        QFETCH(int, groups);
        QFETCH(QString, first);
        QFETCH(QString, last);
        const Pool& pool = m_packs.value(level).pools.first();
        QCOMPARE(pool.id, id);
        QCOMPARE(pool.validFrom, validFrom);
        QCOMPARE(pool.validUntil, validUntil);
        QCOMPARE(pool.questions.size(), questions);
        QCOMPARE(pool.groups().size(), groups);
        QCOMPARE(pool.questions.first().id, first);
        QCOMPARE(pool.questions.last().id, last);
        QVERIFY(pool.source.startsWith(QLatin1StringView("https://www.ncvec.org/downloads/")));
        QVERIFY(pool.source.contains(QLatin1StringView("%20")));
        QCOMPARE(pool.topics.size(), 10);
    }

    void answerKeysMatchTheDocuments_data()
    {
        QTest::addColumn<QString>("level");
        QTest::addColumn<QString>("id");
        QTest::addColumn<qint64>("correct");
        QTest::addColumn<QString>("reference");
        QTest::newRow("T1A01") << "technician"
                               << "T1A01" << qint64(2) << "[97.1]";
        QTest::newRow("T5A01") << "technician"
                               << "T5A01" << qint64(3) << "";
        QTest::newRow("T7C09") << "technician"
                               << "T7C09" << qint64(0) << "";
        QTest::newRow("T9B11") << "technician"
                               << "T9B11" << qint64(2) << "";
        QTest::newRow("T0A01") << "technician"
                               << "T0A01" << qint64(1) << "";
        QTest::newRow("G1A01") << "general"
                               << "G1A01" << qint64(2) << "[97.301(d)]";
        QTest::newRow("G2B03") << "general"
                               << "G2B03" << qint64(2) << "";
        QTest::newRow("G9D05") << "general"
                               << "G9D05" << qint64(3) << "";
        QTest::newRow("E1A01") << "extra"
                               << "E1A01" << qint64(3) << "[97.305, 97.307(b)]";
        QTest::newRow("E2D09") << "extra"
                               << "E2D09" << qint64(0) << "";
        QTest::newRow("E9H01") << "extra"
                               << "E9H01" << qint64(3) << "";
    }
    void answerKeysMatchTheDocuments()
    {
        QFETCH(QString, level);
        QFETCH(QString, id);
        QFETCH(qint64, correct);
        QFETCH(QString, reference);
        const QList<Question>& questions = m_packs.value(level).pools.first().questions;
        const auto q =
            std::find_if(questions.cbegin(), questions.cend(), [&](const Question& x) { return x.id == id; });
        QVERIFY(q != questions.cend());
        QCOMPARE(q->correct, correct);
        QCOMPARE(q->reference, reference);
        QCOMPARE(q->answers.size(), 4);
    }

    void figuresAreRecognisedFromTheKnownTable_data()
    {
        QTest::addColumn<QString>("level");
        QTest::addColumn<QStringList>("labels");
        QTest::addColumn<QString>("extension");
        QTest::newRow("technician") << "technician" << QStringList{"T1", "T2", "T3"} << "jpeg";
        QTest::newRow("general") << "general" << QStringList{"G7-1"} << "png";
        QTest::newRow("extra") << "extra" << QStringList{"E5-1", "E6-1", "E6-2", "E6-3", "E7-1",
                                                         "E7-2", "E7-3", "E9-1", "E9-2", "E9-3"}
                               << "png";
    }
    void figuresAreRecognisedFromTheKnownTable()
    {
        QFETCH(QString, level);
        QFETCH(QStringList, labels);
        QFETCH(QString, extension);
        const Pack& pack = m_packs.value(level);
        const QString start = pack.pools.first().validFrom.left(4);
        QStringList expected;
        for (const QString& label : labels) {
            // The digest prefix in the name is that of the known official image.
            const QString digest = knownFigures().key(label);
            expected.append(level + QLatin1Char('-') + start + QLatin1Char('-') + label + QLatin1Char('-') +
                            digest.left(16) + QLatin1Char('.') + extension);
        }
        QCOMPARE(pack.assets.keys(), expected);
        QSet<QString> used;
        for (const Question& q : pack.pools.first().questions) {
            if (q.figure)
                used.insert(*q.figure);
        }
        QCOMPARE(used, QSet<QString>(expected.cbegin(), expected.cend()));
        if (level == QLatin1StringView("extra")) {
            const QList<Question>& questions = pack.pools.first().questions;
            const auto e6 = std::find_if(questions.cbegin(), questions.cend(),
                                         [](const Question& q) { return q.id == QLatin1StringView("E6A10"); });
            QVERIFY(e6 != questions.cend() && e6->figure);
            QVERIFY(e6->figure->contains(QLatin1StringView("-E6-1-")));
        }
    }

    void builtInPackIsRemadeIdentically()
    {
        const QByteArray remade = PackBuilder::build(builderSources()).toBytes();
        const QByteArray committed = Fixtures::readFile(Fixtures::sourcePackPath());
        QVERIFY2(remade == committed, "resources/pools.json differs from the pack built from the official documents; "
                                      "run scripts/build-pools.sh");
        const Pack pack = Pack::fromBytes(committed);
        QCOMPARE(pack.pools.size(), 3);
        QCOMPARE(pack.assets.size(), 14);
    }

    void builderKeepsTheGivenOrderAndRefusesBadInput()
    {
        QList<PackBuilder::Source> sources = builderSources();
        std::reverse(sources.begin(), sources.end());
        const Pack reversed = PackBuilder::build(sources);
        QCOMPARE(reversed.pools.first().level, QStringLiteral("extra"));
        QCOMPARE(reversed.pools.last().level, QStringLiteral("technician"));

        QList<PackBuilder::Source> wrongLevel = builderSources().mid(0, 1);
        wrongLevel.first().level = QStringLiteral("general");
        QVERIFY_THROWS_EXCEPTION(DataError, PackBuilder::build(wrongLevel));
        QVERIFY_THROWS_EXCEPTION(FileError, PackBuilder::build({{downloads + QStringLiteral("/absent.docx"),
                                                                 PackBuilder::downloadAddress("absent.docx"),
                                                                 QStringLiteral("technician")}}));
    }

    void downloadAddressEscapesBlanks()
    {
        QCOMPARE(PackBuilder::downloadAddress(QStringLiteral("General Pool 2023-2027 Feb 4 2026.docx"))
                     .toString(QUrl::FullyEncoded),
                 QStringLiteral("https://www.ncvec.org/downloads/General%20Pool%202023-2027%20Feb%204%202026.docx"));
    }
};

AEROWEN_TEST_MAIN(TestOfficialDocuments, QCoreApplication)
#include "tst_OfficialDocuments.moc"
