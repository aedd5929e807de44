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
    LocalHttpsSite m_site;
    QList<QStringList> m_curl; // the arguments of every curl run

    void write(const QString& path, const QByteArray& bytes) { Fixtures::writeFile(m_root.filePath(path), bytes); }
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

        // Failures keep the installed pools and their file.
        const Pack pack = store.pack();
        const QByteArray file = installed();
        const QString unavailable = "Update check unavailable. Your installed pools remain usable offline. ",
                      download = "The official NCVEC source could not be downloaded.",
                      format = "The official source format has changed or failed validation. The installed "
                               "pools were kept.";
        const QByteArray whole = Fixtures::readFile(m_root.filePath(m_document)), half = whole.left(whole.size() / 2);
        const QList<std::pair<std::function<void()>, QString>> failures{
            {[&] { QFile::remove(m_root.filePath("index.php/2026-2030-technician-question-pool.html")); }, download},
            {[&] { QFile::remove(m_root.filePath(m_document)), write(m_document, ""); }, download},
            {[&] { QFile::remove(m_root.filePath(m_document)), write(m_document, half); }, format},
            {[&] { write("index.php/amateur-question-pools.html", "<a href=\"/index.php/mission-statement\">M</a>"); },
             format},
            {[&] { techPage("https://files.example.org/" + m_document); }, format},
            // A redirect is not followed, even to a page of the same site.
            {[&] { write("index.php/2026-2030-technician-question-pool.redirect", "/index.php/elsewhere"); }, format}};
        for (const auto& [change, why] : failures) {
            buildSite();
            change();
            QCOMPARE(check(store), unavailable + why);
            QVERIFY(store.pack() == pack && installed() == file);
        }
        QVERIFY(!m_site.requests().contains("elsewhere"));
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
        QCOMPARE(review.labels, (QStringList{"T1", "T2"}));
        QVERIFY(review.document == document && review.documentKey == FD::sha256(document));
        QCOMPARE(DiagramReview::fromBytes(Fixtures::readFile(storage.filePath("diagram-review.json"))), review);

        // The learner crops one diagram only: the review cannot finish and stays pending.
        const QString left = FD::base64(FD::encoded(sheet.copy(0, 0, 700, 600)));
        const QString right = FD::base64(FD::encoded(sheet.copy(700, 0, 700, 600)));
        store.saveDiagramReview(review, {{"T1", left}});
        QVERIFY(store.message().startsWith("Could not finish diagram review: ") && store.diagramReview() == review);
        // Both crops: stored, the review closes and the retried update installs the pool with the crops.
        QSignalSpy finished(&store, &Store::updateCheckFinished);
        store.saveDiagramReview(review, {{"T2", right}, {"T1", left}});
        QVERIFY(!store.diagramReview() && !QFile::exists(storage.filePath("diagram-review.json")));
        QVERIFY(QFile::exists(storage.filePath("diagram-corrections.json")));
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
