// The three official pool documents: the built-in pack is made from them again, identically.
#include "PackBuilder.h"
#include "support/FixtureDocuments.h"
#include "support/Fixtures.h"
#include "support/TestEnvironment.h"
#include "updater/OfficialUpdates.h"

#include <QTest>

class OfficialDocumentsTest : public QObject
{
    Q_OBJECT

    const QString m_downloads = KESTOVAN_SOURCE_DIR "/../shared/ncvec/downloads";
    QList<PackBuilder::Source> m_sources;

private slots:
    void initTestCase()
    {
        if (!QDir(m_downloads).exists())
            QSKIP("The official NCVEC documents are not beside the project.");
        FixtureDocuments::isolateTemporaryFolder();
        for (const QString& file : QDir(m_downloads).entryList({"*.docx"}))
            m_sources.append({m_downloads + '/' + file, PackBuilder::downloadAddress(file),
                              file.contains("Technician") ? "technician"
                              : file.contains("General")  ? "general"
                                                          : "extra"});
        std::sort(m_sources.begin(), m_sources.end(), [](const auto& a, const auto& b) { return a.level > b.level; });
    }

    void builtInPackIsRemadeIdenticallyFromTheDocuments()
    {
        const Pack pack = PackBuilder::build(m_sources, {{"G7-1.pdf", m_downloads + "/G7-1.pdf"}});
        QCOMPARE(FixtureDocuments::leftoverDocuments(), QStringList());
        QVERIFY2(pack.toBytes() == Fixtures::readFile(Fixtures::sourcePackPath()),
                 "resources/pools.json differs from the pack built from the official documents; "
                 "run scripts/build-pools.sh");
        // What the learner relies on, spelled out: periods, sizes, answer keys, references and official figures.
        QStringList got;
        for (const Pool& p : pack.pools) {
            got.append(QStringList{p.id, p.validFrom, p.validUntil, QString::number(p.questions.size()),
                                   QString::number(p.groups().size()), QString::number(p.topics.size()),
                                   p.questions.last().id}
                           .join(' '));
            for (const Question& q : p.questions)
                if (QStringList{"T1A01", "T0A01", "G1A01", "G9D05", "E1A01", "E2D09", "E6A10"}.contains(q.id))
                    got.append(q.id + ' ' + QString::number(q.correct) + ' ' + q.reference + ' ' +
                               q.figure.value_or(""));
        }
        const auto figure = [](const QString& label) { return OfficialUpdates::knownFigures().key(label).left(16); };
        QCOMPARE(got, (QStringList{"technician-2026-2026-02-19-c3bb9ebf 2026-07-01 2030-07-01 409 35 10 T0C13",
                                   "T1A01 2 [97.1] ", "T0A01 1  ",
                                   "general-2023-2026-02-04-a07b15d6 2023-07-01 2027-07-01 423 35 10 G0B13",
                                   "G1A01 2 [97.301(d)] ", "G9D05 3  ",
                                   "extra-2024-2026-02-04-581ff3aa 2024-07-01 2028-07-01 599 50 10 E0A12",
                                   "E1A01 3 [97.305, 97.307(b)] ", "E2D09 0  ",
                                   "E6A10 1  extra-2024-E6-1-" + figure("E6-1") + ".png"}));
        QCOMPARE(pack.assets.size(), 28); // fourteen official figures, each also under its label's own name
        for (const QString& label : OfficialUpdates::knownFigures()) {
            const QByteArray bytes =
                QByteArray::fromBase64(pack.assets.value(PackBuilder::labelFileName(label)).toLatin1());
            QCOMPARE(label == "G7-1" ? bytes : FixtureDocuments::sha256(bytes).toLatin1(),
                     label == "G7-1" ? Fixtures::readFile(m_downloads + "/G7-1.pdf")
                                     : OfficialUpdates::knownFigures().key(label).toLatin1());
        }
        // A document of another level, or one that is not there, is refused.
        QVERIFY_THROWS_EXCEPTION(DataError, PackBuilder::build({{m_sources[0].path, m_sources[0].address, "general"}}));
        QVERIFY_THROWS_EXCEPTION(FileError, PackBuilder::build({{m_downloads + "/x.docx", QUrl(), "general"}}));
    }
};

AEROWEN_TEST(OfficialDocumentsTest)
#include "OfficialDocumentsTest.moc"
