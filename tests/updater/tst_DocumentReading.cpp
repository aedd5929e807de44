// Archive members through unzip, the paragraph and relationship readers, and hostile XML.
#include "support/FixtureDocuments.h"
#include "support/Fixtures.h"
#include "support/TestEnvironment.h"
#include "updater/ChildProcess.h"
#include "updater/OfficialUpdates.h"
#include "updater/UpdaterInternals.h"

#include <QTemporaryDir>
#include <QTest>

using namespace OfficialUpdates;

class TestDocumentReading : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    int m_runs = 0;

    QString writeArchive(const QString& name, const QMap<QString, QByteArray>& members)
    {
        const QString path = m_dir.filePath(name);
        Fixtures::writeFile(path, FixtureDocuments::archive(members));
        return path;
    }

    template <typename F> static void expectFormat(F&& f)
    {
        try {
            f();
            QFAIL("no failure");
        } catch (const UpdateError& error) {
            QCOMPARE(error.which(), UpdateError::format);
        }
    }

    static QByteArray body(const QByteArray& inner)
    {
        return "<?xml version=\"1.0\"?><w:document xmlns:w=\"urn:w\"><w:body>" + inner + "</w:body></w:document>";
    }

private slots:
    void initTestCase() { FixtureDocuments::isolateTemporaryFolder(); }
    void init()
    {
        m_runs = 0;
        setProcessObserver([this](const QString&, const QStringList&, double) { ++m_runs; });
    }
    void cleanup() { setProcessObserver({}); }

    void memberRefusesHostileNamesWithoutStartingUnzip_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("parent folder") << "../word/document.xml";
        QTest::newRow("parent inside") << "word/../../etc/passwd";
        QTest::newRow("absolute") << "/etc/hosts";
        QTest::newRow("dots anywhere") << "word/media/a..png";
    }
    void memberRefusesHostileNamesWithoutStartingUnzip()
    {
        QFETCH(QString, name);
        const QString path = writeArchive(QStringLiteral("hostile.docx"), {{QStringLiteral("word/document.xml"), "x"}});
        expectFormat([&] { member(path, name); });
        QCOMPARE(m_runs, 0);
    }

    void memberReturnsBytesAndRefusesMissingOnes()
    {
        const QByteArray binary("\x00\x01\xff\xfe", 4);
        const QString path =
            writeArchive(QStringLiteral("members.docx"), {{QStringLiteral("word/document.xml"), "<a/>"},
                                                          {QStringLiteral("word/media/empty.png"), ""},
                                                          {QStringLiteral("word/media/b.bin"), binary}});
        QCOMPARE(member(path, QStringLiteral("word/document.xml")), QByteArray("<a/>"));
        QCOMPARE(member(path, QStringLiteral("word/media/b.bin")), binary);
        const QByteArray empty = member(path, QStringLiteral("word/media/empty.png"));
        QVERIFY(empty.isEmpty());
        expectFormat([&] { member(path, QStringLiteral("word/missing.xml")); });
        expectFormat([&] { member(m_dir.filePath(QStringLiteral("no-such-archive.docx")), QStringLiteral("a")); });
        Fixtures::writeFile(m_dir.filePath(QStringLiteral("damaged.docx")), "PK\x03\x04 not really a zip");
        expectFormat(
            [&] { member(m_dir.filePath(QStringLiteral("damaged.docx")), QStringLiteral("word/document.xml")); });
    }

    void memberStopsAtThirtyMillionBytes()
    {
        // Zeros compress to almost nothing: a small archive that expands past the limit.
        const QString path =
            writeArchive(QStringLiteral("bomb.docx"), {{QStringLiteral("under"), QByteArray(29'999'999, '\0')},
                                                       {QStringLiteral("at"), QByteArray(30'000'000, '\0')},
                                                       {QStringLiteral("over"), QByteArray(64'000'000, '\0')}});
        QVERIFY(QFileInfo(path).size() < 1'000'000);
        QCOMPARE(member(path, QStringLiteral("under")).size(), 29'999'999);
        expectFormat([&] { member(path, QStringLiteral("at")); });
        expectFormat([&] { member(path, QStringLiteral("over")); });
    }

    void paragraphsBecomeLines_data()
    {
        QTest::addColumn<QByteArray>("xml");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("runs joined without separator")
            << body("<w:p><w:r><w:t>T1A01</w:t></w:r><w:r><w:t xml:space=\"preserve\"> </w:t></w:r>"
                    "<w:r><w:t>(C)</w:t></w:r></w:p>")
            << QStringList{"T1A01 (C)"};
        QTest::newRow("break starts a line")
            << body("<w:p><w:r><w:t>A.</w:t><w:br/><w:t>B.</w:t></w:r></w:p>") << QStringList{"A.\nB."};
        QTest::newRow("field instructions and tabs add nothing")
            << body("<w:p><w:r><w:instrText>HYPERLINK x</w:instrText><w:tab/><w:t>kept</w:t></w:r>"
                    "<w:r><w:delText>gone</w:delText></w:r></w:p>")
            << QStringList{"kept"};
        QTest::newRow("empty paragraphs are lines")
            << body("<w:p/><w:p><w:r><w:t>x</w:t></w:r></w:p><w:p></w:p>") << QStringList{"", "x", ""};
        QTest::newRow("entities and character data")
            << body("<w:p><w:r><w:t>a &amp; b &#8211; <![CDATA[<c>]]></w:t></w:r></w:p>") << QStringList{"a & b – <c>"};
        QTest::newRow("prefix without a namespace declaration")
            << QByteArray("<w:document><w:body><w:p><w:r><w:t>undeclared</w:t></w:r></w:p></w:body></w:document>")
            << QStringList{"undeclared"};
        QTest::newRow("other prefixes are other elements")
            << body("<w:p><w:r><x:t xmlns:x=\"urn:x\">no</x:t><w:t>yes</w:t></w:r></w:p>") << QStringList{"yes"};
    }
    void paragraphsBecomeLines()
    {
        QFETCH(QByteArray, xml);
        QFETCH(QStringList, expected);
        QCOMPARE(readParagraphs(xml), expected);
    }

    void relationshipsListEmbeddedImagesInOrder()
    {
        const QString image =
            QStringLiteral("http://schemas.openxmlformats.org/officeDocument/2006/relationships/image");
        const QByteArray xml = FixtureDocuments::relationshipsXml(
            {{QStringLiteral("media/image2.png")},
             {QStringLiteral("media/linked.png"), image, QStringLiteral("External")},
             {QStringLiteral("../media/up.png")},
             {QStringLiteral("http://example.com/hyper"),
              QStringLiteral("http://schemas.openxmlformats.org/officeDocument/2006/relationships/hyperlink")},
             {QStringLiteral("media/image1.jpeg"), image, QStringLiteral("Internal")},
             {QStringLiteral("media/image2.png")}});
        QCOMPARE(readRelationships(xml), (QStringList{"media/image2.png", "media/image1.jpeg", "media/image2.png"}));
        QCOMPARE(readRelationships("<Relationships><Relationship Target=\"media/a.png\"/></Relationships>"),
                 QStringList{});
    }

    void malformedXmlFailsWithFormat_data()
    {
        QTest::addColumn<QByteArray>("xml");
        QTest::newRow("unclosed") << QByteArray("<w:document><w:p>");
        QTest::newRow("mismatched") << QByteArray("<w:document><w:p></w:t></w:document>");
        QTest::newRow("not XML") << QByteArray("PK\x03\x04 binary");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("undeclared entity") << body("<w:p><w:r><w:t>&nbsp;</w:t></w:r></w:p>");
        QTest::newRow("external entity") << QByteArray(
            "<?xml version=\"1.0\"?><!DOCTYPE w:document [<!ENTITY secret SYSTEM "
            "\"file:///etc/hostname\">]><w:document xmlns:w=\"urn:w\"><w:body><w:p><w:r><w:t>&secret;"
            "</w:t></w:r></w:p></w:body></w:document>");
    }
    void malformedXmlFailsWithFormat()
    {
        QFETCH(QByteArray, xml);
        expectFormat([&] { readParagraphs(xml); });
        expectFormat([&] { readRelationships(xml); });
    }

    void parseOfDamagedPartsFailsAndLeavesNoFile_data()
    {
        QTest::addColumn<QByteArray>("documentXml");
        QTest::addColumn<QByteArray>("relationshipsXml");
        const QByteArray goodText =
            FixtureDocuments::documentXml(FixtureDocuments::poolLines(QStringLiteral("technician")));
        const QByteArray goodRels = FixtureDocuments::relationshipsXml({});
        QTest::newRow("malformed text") << QByteArray("<w:document><w:p>") << goodRels;
        QTest::newRow("malformed relationships") << goodText << QByteArray("<Relationships>");
        // A whole valid pool whose text merely declares an external entity: refused, not read.
        QByteArray withEntity = goodText;
        withEntity.replace("?>\n", "?>\n<!DOCTYPE w:document [<!ENTITY e SYSTEM \"file:///etc/passwd\">]>\n");
        QVERIFY(withEntity.contains("<!DOCTYPE"));
        QTest::newRow("external entity in the text") << withEntity << goodRels;
    }
    void parseOfDamagedPartsFailsAndLeavesNoFile()
    {
        QFETCH(QByteArray, documentXml);
        QFETCH(QByteArray, relationshipsXml);
        const QStringList before = FixtureDocuments::leftoverDocuments();
        const QByteArray data =
            FixtureDocuments::archive({{QStringLiteral("word/document.xml"), documentXml},
                                       {QStringLiteral("word/_rels/document.xml.rels"), relationshipsXml}});
        expectFormat([&] { parse(data, FixtureDocuments::technicianSource(), QStringLiteral("technician")); });
        QCOMPARE(FixtureDocuments::leftoverDocuments(), before);
    }

    void parseWithoutTheRelationshipPartFails()
    {
        const QStringList before = FixtureDocuments::leftoverDocuments();
        const QByteArray data = FixtureDocuments::archive(
            {{QStringLiteral("word/document.xml"),
              FixtureDocuments::documentXml(FixtureDocuments::poolLines(QStringLiteral("technician")))}});
        expectFormat([&] { parse(data, FixtureDocuments::technicianSource(), QStringLiteral("technician")); });
        QCOMPARE(FixtureDocuments::leftoverDocuments(), before);
    }
};

AEROWEN_TEST_MAIN(TestDocumentReading, QCoreApplication)
#include "tst_DocumentReading.moc"
