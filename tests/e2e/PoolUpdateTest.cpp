// A whole pool update against a local replica of the official site: real curl, unzip, parsing and files.
#include "store/Store.h"
#include "support/FixtureDocuments.h"
#include "support/Fixtures.h"
#include "support/LocalHttpsSite.h"
#include "support/TestEnvironment.h"
#include "updater/ChildProcess.h"
#include "updater/OfficialUpdates.h"
#include "updater/Refresh.h"

#include <QGuiApplication>
#include <QSignalSpy>

using namespace OfficialUpdates;
using FD = FixtureDocuments;

class PoolUpdateTest : public QObject
{
    Q_OBJECT

    const QString m_ncvec = KESTOVAN_SOURCE_DIR "/../shared/ncvec";
    const QString m_document = "downloads/2026-2030 Technician Pool and Syllabus Public Release Feb 19 2026.docx";
    QTemporaryDir m_root, m_data;
    Saved m_progress = Saved::initial(); // a learner with a finished exam
    LocalHttpsSite m_site;
    QList<QStringList> m_curl; // the arguments of every curl run

    // Writes a file of the replica, first taking away what is there: the official documents are links to the originals.
    void write(const QString& path, const QByteArray& bytes)
    {
        QFile::remove(m_root.filePath(path));
        Fixtures::writeFile(m_root.filePath(path), bytes);
    }
    // The 2026-2030 Technician page in the official site's form; the replica puts its own host for ncvec.org.
    void techPage(const QString& document)
    {
        write("index.php/2026-2030-technician-question-pool.html",
              "<h2>Technician</h2><a href=\"" + document.toUtf8() +
                  "\">Pool (Word)</a> <a href=\"https://ncvec.org/downloads/Technician Figures.pdf\">Figures</a>");
    }
    // Lays out the replica afresh: the saved official pages (copied, since tests write over some) and documents
    // (linked), an index of the pool pages, and the current Technician page.
    void buildSite()
    {
        for (const QString folder : {"index.php", "downloads"}) {
            QDir(m_root.filePath(folder)).removeRecursively();
            QDir(m_root.path()).mkpath(folder);
            for (const QString& name : QDir(m_ncvec + '/' + folder).entryList(QDir::Files)) {
                const QString from = m_ncvec + '/' + folder + '/' + name, to = m_root.filePath(folder + '/' + name);
                QVERIFY(folder == "downloads" ? QFile::link(from, to) : QFile::copy(from, to));
            }
        }
        QString index;
        for (const char* page : {"2022-2026-technician-question-pool-release", "2026-2030-technician-question-pool",
                                 "2023-2027-general-question-pool-release",
                                 "2024-2028-extra-class-question-pool-release", "mission-statement"})
            index += QStringLiteral("<li><a href=\"/index.php/%1\">%1</a></li>\n").arg(page);
        write("index.php/amateur-question-pools.html", index.toUtf8());
        techPage("https://ncvec.org/" + m_document);
    }
    // Runs a check of store to its end and returns its status line. The check runs the real download and parse on
    // a fixed day inside every official pool's period, so that it does not depend on the computer's calendar.
    static QString check(Store& store)
    {
        store.setRefresher([](const Pack& pack, const Corrections& corrections) {
            return refresh(
                pack, corrections, download, [](const auto&... a) { return parse(a...); }, "2026-11-23");
        });
        QSignalSpy finished(&store, &Store::updateCheckFinished);
        store.checkUpdates();
        return store.checking() && finished.wait(240000) ? store.updateStatus() : "no check";
    }

private slots:
    void initTestCase()
    {
        if (!QDir(m_ncvec).exists())
            QSKIP("the official NCVEC documents are not available");
        FD::isolateTemporaryFolder();
        buildSite();
        const QString error = m_site.start(m_root.path(), "localhost");
        QVERIFY2(error.isEmpty(), qPrintable(error));
        setOfficialSiteForTesting("localhost", m_site.port());
        setProcessObserver([this](const QString& program, const QStringList& arguments, double) {
            if (program == "/usr/bin/curl")
                m_curl.append(arguments);
        });
        Fixtures::writeFile(m_data.filePath("pools.json"), Fixtures::threeLevelPack().toBytes());
        const Pool pool = Fixtures::threeLevelPack().pools.first();
        m_progress.profiles.append({QUuid::createUuid(), "Anna", {}});
        Session exam(QUuid::createUuid(), m_progress.profiles.last().id, "Anna", pool, "Exam", QString(),
                     pool.questions.mid(0, 3), {{pool.questions.first().id, 2}}, {}, {});
        m_progress.results.append(Result{QUuid::createUuid(), exam, 817073160, 754});
    }
    void cleanupTestCase() { setProcessObserver({}); }

    void installsThePoolsAndSurvivesEveryFailure()
    {
        // Into an empty storage folder, then again: the second run finds the same documents and keeps the pools.
        Store store(m_data.filePath("pools.json"), m_data.filePath("storage"));
        const auto installed = [&] { return Fixtures::readFile(m_data.filePath("storage/official-pools.json")); };
        for (int run = 0; run < 2; ++run) {
            const Pack before = store.pack();
            const QString status = check(store);
            QVERIFY2(status.startsWith("Official NCVEC pools checked ") && status.endsWith(". Ready for offline use."),
                     qPrintable(status));
            QVERIFY(Pack::fromBytes(installed()) == store.pack() && (run == 0 || store.pack() == before));
        }
        QStringList pools;
        for (const Pool& p : store.pack().pools) // sources name the canonical host, here the replica's
            pools.append(p.documentHash.value_or("") + ' ' + p.source.section('/', 0, 3));
        const QString source = QStringLiteral(" https://www.localhost:%1/downloads").arg(m_site.port());
        QCOMPARE(pools, (QStringList{"c3bb9ebf46730a9812ae854d12a93f07b7a38f521441e51c451e917ccb9e3a54" + source,
                                     "a07b15d6b9b7aef9e51dae3dd7d37b23de1d7bb410733b7ac6323eaac2f4b396" + source,
                                     "581ff3aa4c98bb2a6fcc303fe1ce19beb29bc7d3d02ff7fe5c6162c4c26ce4f7" + source}));
        QCOMPARE(m_curl.first(), (QStringList{"--disable", "--fail", "--silent", "--show-error", "--max-time", "25",
                                              "--max-filesize", "15000000", "--proto", "=https",
                                              "https://www.localhost:" + QString::number(m_site.port()) +
                                                  "/index.php/amateur-question-pools"}));
        QVERIFY(!m_site.requests().contains("2022-2026")); // that period is over: its page was never asked for
    }

    // Hostile files and answers, each met by a store over a learner's progress and installed pools: the store says
    // what it says of them (nothing, where a bad file is simply not used), and every file stays byte for byte as it
    // was; an unreadable progress file is also kept as its recovery copy.
    void hostileInputsChangeNothing_data()
    {
        QTest::addColumn<std::function<void(const QString&)>>("change");
        QTest::addColumn<QString>("message");
        QTest::addColumn<bool>("online"); // whether the store then checks the site
        const QString unavailable = "Update check unavailable. Your installed pools remain usable offline. ",
                      download = unavailable + "The official NCVEC source could not be downloaded.",
                      format = unavailable + "The official source format has changed or failed validation. The "
                                             "installed pools were kept.",
                      unreadable = "Saved progress could not be read. The original file has been preserved. ";
        const auto row = [](const char* name, const QString& message, const std::function<void(const QString&)>& f) {
            QTest::newRow(name) << f << message << message.startsWith("Update check");
        };
        const QString hostile = "downloads/2026-2030 Technician Hostile Mar 1 2026.docx";
        const QByteArray text = FD::documentXml(FD::poolLines("technician")), rels = FD::relationshipsXml({});
        // The Technician page links a document of this text, under that member name, instead of the official one.
        const auto document = [=, this](const QByteArray& xml, const QString& name = "word/document.xml") {
            write(hostile, FD::archive({{name, xml}, {"word/_rels/document.xml.rels", rels}}));
            techPage("https://ncvec.org/" + hostile);
        };
        const auto declaring = [text](const QByteArray& doctype, const QByteArray& use) -> QByteArray {
            return QByteArray(text).replace("?>\n", QByteArray("?>\n" + doctype + '\n')).replace("What is T1A01?", use);
        };
        row("XML with an external entity", format, [=](const QString&) {
            document(declaring("<!DOCTYPE w:document [<!ENTITY e SYSTEM \"/etc/hostname\">]>", "&e;"));
        });
        row("XML with nested entity expansion", format, [=](const QString&) {
            QByteArray doctype = "<!DOCTYPE w:document [<!ENTITY a0 \"lol\">";
            for (int i = 1; i < 10; ++i)
                doctype += QStringLiteral("<!ENTITY a%1 \"%2\">")
                               .arg(i)
                               .arg(QString("&a%1;").arg(i - 1).repeated(10))
                               .toUtf8();
            document(declaring(doctype + "]>", "&a9;"));
        });
        row("a zip bomb member", format, [=](const QString&) {
            // A whole valid pool padded with blanks past what any document text may take; it packs into a few KB.
            document(QByteArray(text).replace("</w:body>", QByteArray(QByteArray(31'000'000, ' ') + "</w:body>")));
        });
        row("a member name with ..", format, [=, this](const QString&) {
            // Archived as word/xy/word/document.xml, then renamed in the archive's headers.
            document(text, "word/xy/word/document.xml");
            write(hostile, Fixtures::readFile(m_root.filePath(hostile)).replace("word/xy/word/", "word/../word/"));
        });
        row("a document of 15 MB and 1 byte", download,
            [this](const QString&) { write(m_document, QByteArray(15'000'001, 'x')); });
        row("HTTP 404", download, [this](const QString&) {
            QFile::remove(m_root.filePath("index.php/2026-2030-technician-question-pool.html"));
        });
        row("HTTP 500", download,
            [this](const QString&) { write("index.php/2026-2030-technician-question-pool.status", "500"); });
        row("an empty document", download, [this](const QString&) { write(m_document, ""); });
        row("a document on another host", format,
            [this](const QString&) { techPage("https://files.example.org/" + m_document); });
        row("a redirect, even within the site", format, [this](const QString&) {
            write("index.php/2026-2030-technician-question-pool.redirect", "/index.php/elsewhere");
        });
        row("a truncated document", format, [this](const QString&) {
            const QByteArray whole = Fixtures::readFile(m_root.filePath(m_document));
            write(m_document, whole.left(whole.size() / 2));
        });
        row("an index without pool pages", format, [this](const QString&) {
            write("index.php/amateur-question-pools.html", "<a href=\"/index.php/mission-statement\">M</a>");
        });
        // Files of the storage folder.
        const auto file = [](const QString& name, const QByteArray& bytes) {
            return [=](const QString& storage) { Fixtures::writeFile(storage + '/' + name, bytes); };
        };
        Pack pack = Fixtures::threeLevelPack();
        pack.pools.first().revision = "2026-12-01"; // newer than the built-in one: it would be used if it were valid
        pack.pools.first().questions[7].correct = 4;
        row("an installed pack with an invalid answer key", "", file("official-pools.json", pack.toBytes()));
        pack.pools.first().questions[7].correct = 1;
        pack.schema = 2;
        row("an installed pack of schema 2", "", file("official-pools.json", pack.toBytes()));
        const QByteArray progress = m_progress.toBytes();
        row("progress with no learners", unreadable + "The data is not valid.",
            file("progress.json", R"({"profiles":[],"stats":{},"bookmarks":[],"drafts":[],"results":[]})"));
        QByteArray wrongType = progress;
        wrongType.replace("\"seconds\":754", "\"seconds\":\"754\"");
        row("progress with a wrong type deep inside a result",
            unreadable + "The data could not be read because “seconds” is not a number.",
            file("progress.json", wrongType));
        const QString notJson = unreadable + "The data could not be read because it is not valid JSON (";
        row("progress cut off mid-way", notJson, file("progress.json", progress.left(progress.size() / 2)));
        row("progress of 0 bytes", notJson, file("progress.json", ""));
        DiagramReview review{std::nullopt, "docx", "https://www.ncvec.org/d/x.docx", "extra", "d1d1", {"sheet"},
                             {"E6-1"},     {}};
        row("a diagram review with broken Base64", "",
            file("diagram-review.json", review.toBytes().replace("\"c2hlZXQ=\"", "\"c2hl*ZXQ=\"")));
    }

    void hostileInputsChangeNothing()
    {
        QFETCH(std::function<void(const QString&)>, change);
        QFETCH(QString, message);
        QFETCH(bool, online);
        buildSite();
        QTemporaryDir storage;
        Fixtures::writeFile(storage.filePath("progress.json"), m_progress.toBytes());
        Fixtures::writeFile(storage.filePath("official-pools.json"), Fixtures::threeLevelPack().toBytes());
        change(storage.path());
        const auto files = [&] {
            QMap<QString, QByteArray> all;
            for (const QString& name : QDir(storage.path()).entryList(QDir::Files))
                all.insert(name, Fixtures::readFile(storage.filePath(name)));
            return all;
        };
        const QMap<QString, QByteArray> before = files();
        Store store(m_data.filePath("pools.json"), storage.path());
        // A message ending in " (" is followed by the JSON reader's own account of where the text breaks.
        const QString said = online && store.message().isEmpty() ? check(store) : store.message();
        QCOMPARE(message.endsWith(" (") ? said.left(message.size()) : said, message);
        QVERIFY(!message.endsWith(" (") || (said.endsWith(").") && said.size() > message.size() + 2));
        QMap<QString, QByteArray> after = files();
        for (const QString& copy : after.keys().filter("progress-unreadable-"))
            QCOMPARE(after.take(copy), before.value("progress.json"));
        QCOMPARE(after, before);
        QCOMPARE(store.pack(), Fixtures::threeLevelPack());
    }

    void combinedFiguresGoThroughReview()
    {
        // One sheet holding two small diagrams, each with its printed label, the way several figures share a page.
        buildSite();
        const QImage sheet = FD::sheet({"Figure T-1", "Figure T-2"});
        const QStringList lines = FD::edited(FD::poolLines("technician"), "T1A01", 1, "What is shown in Figure T-1?");
        const QByteArray document = FD::document(FD::edited(lines, "T1A02", 1, "What is 3 in Figure T-2?"),
                                                 {{"media/image1.png", FD::encoded(sheet)}});
        write("downloads/2026-2030 Technician Sheet Mar 1 2026.docx", document);
        techPage("https://ncvec.org/downloads/2026-2030 Technician Sheet Mar 1 2026.docx");
        QTemporaryDir storage;
        Store store(m_data.filePath("pools.json"), storage.path());
        const Pack before = store.pack();
        QCOMPARE(check(store),
                 "Diagrams need review. Open Updates → Review Diagrams. Your installed pools remain available.");
        QVERIFY(store.pack() == before && store.diagramReview());
        const DiagramReview review = *store.diagramReview();
        QVERIFY(review.labels == QStringList({"T1", "T2"}) && review.document == document);
        // The learner crops both: stored, the review closes and the retried update installs the pool with the crops.
        const QString left = FD::base64(FD::encoded(sheet.copy(0, 0, 700, 600)));
        const QString right = FD::base64(FD::encoded(sheet.copy(700, 0, 700, 600)));
        QSignalSpy finished(&store, &Store::updateCheckFinished);
        store.saveDiagramReview(review, {{"T2", right}, {"T1", left}});
        QVERIFY(store.checking() && finished.wait(240000));
        QVERIFY2(store.updateStatus().startsWith("Official NCVEC pools checked "), qPrintable(store.updateStatus()));
        const Pool& p = store.pack().pools.at(0); // replaced, and then the other levels were installed after it
        QCOMPARE(p.level + ' ' + p.revision + ' ' + p.documentHash.value_or(""),
                 "technician 2026-03-01 " + FD::sha256(document));
        const QString t1 = p.questions.at(0).figure.value_or(""), t2 = p.questions.at(1).figure.value_or("");
        QVERIFY2(t1.startsWith("review-T1-") && t2.startsWith("review-T2-"), qPrintable(t1 + ' ' + t2));
        QCOMPARE(store.pack().assets.value(t1) + ' ' + store.pack().assets.value(t2), left + ' ' + right);
    }
};

AEROWEN_TEST_MAIN(PoolUpdateTest, QGuiApplication)
#include "PoolUpdateTest.moc"
