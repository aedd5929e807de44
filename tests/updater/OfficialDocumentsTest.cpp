// The three official pool documents: what parse reads from them, and the built-in pack made from them.
#include "PackBuilder.h"
#include "support/FixtureDocuments.h"
#include "support/Fixtures.h"
#include "support/TestEnvironment.h"
#include "updater/OfficialUpdates.h"

#include <QCryptographicHash>
#include <QDir>
#include <QTest>

using namespace OfficialUpdates;
using namespace Qt::StringLiterals;

namespace {

const QString downloads = QStringLiteral(KESTOVAN_SOURCE_DIR "/../shared/ncvec/downloads");

QList<PackBuilder::Source> builderSources()
{
    QList<PackBuilder::Source> sources;
    for (const auto& [level, file] : std::initializer_list<std::pair<const char*, const char*>>{
             {"technician", "2026-2030 Technician Pool and Syllabus Public Release Feb 19 2026.docx"},
             {"general", "General Class Pool and Syllabus 2023-2027 Public Release with 6th Errata Feb 4 2026.docx"},
             {"extra",
              "2024-2028 Extra Class Question Pool and Syllabus Public Release with 4th Errata Feb 4 2026.docx"}})
        sources.append({downloads + QLatin1Char('/') + file, PackBuilder::downloadAddress(file), level});
    return sources;
}

} // namespace

class OfficialDocumentsTest : public QObject
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
        for (const PackBuilder::Source& s : builderSources())
            m_packs.insert(s.level, parse(Fixtures::readFile(s.path), s.address, s.level));
        QCOMPARE(FixtureDocuments::leftoverDocuments(), QStringList());
    }

    void poolsHaveTheOfficialShapeAndFigures_data()
    {
        QTest::addColumn<QString>("level");
        QTest::addColumn<QString>("shape"); // id, period, questions, groups, first and last question
        QTest::addColumn<QStringList>("figures");
        QTest::addColumn<QString>("extension");
        QTest::newRow("technician") << u"technician"_s
                                    << u"technician-2026-2026-02-19-c3bb9ebf 2026-07-01 2030-07-01 409 35 T1A01 T0C13"_s
                                    << QStringList{"T1", "T2", "T3"} << u"jpeg"_s;
        QTest::newRow("general") << u"general"_s
                                 << u"general-2023-2026-02-04-a07b15d6 2023-07-01 2027-07-01 423 35 G1A01 G0B13"_s
                                 << QStringList{"G7-1"} << u"png"_s;
        QTest::newRow("extra") << u"extra"_s
                               << u"extra-2024-2026-02-04-581ff3aa 2024-07-01 2028-07-01 599 50 E1A01 E0A12"_s
                               << QStringList{"E5-1", "E6-1", "E6-2", "E6-3", "E7-1",
                                              "E7-2", "E7-3", "E9-1", "E9-2", "E9-3"}
                               << u"png"_s;
    }
    void poolsHaveTheOfficialShapeAndFigures()
    {
        QFETCH(QString, level);
        QFETCH(QString, shape);
        QFETCH(QStringList, figures);
        QFETCH(QString, extension);
        const Pack& pack = m_packs.value(level);
        const Pool& pool = pack.pools.first();
        QCOMPARE(
            QStringList({pool.id, pool.validFrom, pool.validUntil, QString::number(pool.questions.size()),
                         QString::number(pool.groups().size()), pool.questions.first().id, pool.questions.last().id})
                .join(' '),
            shape);
        QVERIFY(pool.source.startsWith(QLatin1StringView("https://www.ncvec.org/downloads/")));
        QVERIFY(pool.source.contains(QLatin1StringView("%20")));
        QCOMPARE(pool.topics.size(), 10);
        // Asset names carry the digest prefix of the known official image; every asset is used by a question.
        QStringList expected;
        for (const QString& label : figures)
            expected.append(
                QStringLiteral("%1-%2-%3-%4.%5")
                    .arg(level, pool.validFrom.left(4), label, knownFigures().key(label).left(16), extension));
        QCOMPARE(pack.assets.keys(), expected);
        QSet<QString> used;
        for (const Question& q : pool.questions) {
            QCOMPARE(q.answers.size(), 4);
            if (q.figure)
                used.insert(*q.figure);
        }
        QCOMPARE(used, QSet<QString>(expected.cbegin(), expected.cend()));
    }

    void answerKeysAndFiguresMatchTheDocuments_data()
    {
        QTest::addColumn<QString>("level");
        QTest::addColumn<QString>("id");
        QTest::addColumn<qint64>("correct");
        QTest::addColumn<QString>("reference");
        QTest::addColumn<QString>("figure"); // the label in the figure's name, or empty
        QTest::newRow("T1A01") << u"technician"_s << u"T1A01"_s << qint64(2) << u"[97.1]"_s << u""_s;
        QTest::newRow("T5A01") << u"technician"_s << u"T5A01"_s << qint64(3) << u""_s << u""_s;
        QTest::newRow("T7C09") << u"technician"_s << u"T7C09"_s << qint64(0) << u""_s << u""_s;
        QTest::newRow("T9B11") << u"technician"_s << u"T9B11"_s << qint64(2) << u""_s << u""_s;
        QTest::newRow("T0A01") << u"technician"_s << u"T0A01"_s << qint64(1) << u""_s << u""_s;
        QTest::newRow("G1A01") << u"general"_s << u"G1A01"_s << qint64(2) << u"[97.301(d)]"_s << u""_s;
        QTest::newRow("G2B03") << u"general"_s << u"G2B03"_s << qint64(2) << u""_s << u""_s;
        QTest::newRow("G9D05") << u"general"_s << u"G9D05"_s << qint64(3) << u""_s << u""_s;
        QTest::newRow("E1A01") << u"extra"_s << u"E1A01"_s << qint64(3) << u"[97.305, 97.307(b)]"_s << u""_s;
        QTest::newRow("E2D09") << u"extra"_s << u"E2D09"_s << qint64(0) << u""_s << u""_s;
        QTest::newRow("E9H01") << u"extra"_s << u"E9H01"_s << qint64(3) << u""_s << u""_s;
        QTest::newRow("E6A10") << u"extra"_s << u"E6A10"_s << qint64(1) << u""_s << u"-E6-1-"_s;
    }
    void answerKeysAndFiguresMatchTheDocuments()
    {
        QFETCH(QString, level);
        QFETCH(QString, id);
        QFETCH(qint64, correct);
        QFETCH(QString, reference);
        QFETCH(QString, figure);
        const Pack pack = m_packs.value(level);
        const QList<Question>& questions = pack.pools.first().questions;
        const auto q =
            std::find_if(questions.cbegin(), questions.cend(), [&](const Question& x) { return x.id == id; });
        QVERIFY(q != questions.cend());
        QCOMPARE(q->correct, correct);
        QCOMPARE(q->reference, reference);
        QCOMPARE(q->figure.has_value(), !figure.isEmpty());
        QVERIFY(q->figure.value_or(QString()).contains(figure));
    }

    void builtInPackIsRemadeIdentically()
    {
        const QByteArray remade =
            PackBuilder::build(builderSources(),
                               {{QStringLiteral("G7-1.pdf"), downloads + QStringLiteral("/G7-1.pdf")}})
                .toBytes();
        const QByteArray committed = Fixtures::readFile(Fixtures::sourcePackPath());
        QVERIFY2(remade == committed, "resources/pools.json differs from the pack built from the official documents; "
                                      "run scripts/build-pools.sh");
        const Pack pack = Pack::fromBytes(committed);
        QCOMPARE(pack.pools.size(), 3);
        // Fourteen document figures, each also under its label's own file name (G7-1 as the official PDF).
        QCOMPARE(pack.assets.size(), 28);
        for (auto known = knownFigures().cbegin(); known != knownFigures().cend(); ++known) {
            const QString alias = PackBuilder::labelFileName(known.value());
            const QByteArray bytes = QByteArray::fromBase64(pack.assets.value(alias).toLatin1());
            if (known.value().startsWith(QLatin1Char('G'))) // the official PDF
                QCOMPARE(bytes, Fixtures::readFile(downloads + QLatin1Char('/') + alias));
            else // a raster figure's label name holds exactly the official image's bytes
                QCOMPARE(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex(), known.key().toLatin1());
        }
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
};

AEROWEN_TEST_MAIN(OfficialDocumentsTest, QCoreApplication)
#include "OfficialDocumentsTest.moc"
