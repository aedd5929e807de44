// A whole pool update against a local replica of the official site: real curl, unzip, parsing and files.
#include "store/Store.h"
#include "support/FixtureDocuments.h"
#include "support/Fixtures.h"
#include "support/LocalHttpsSite.h"
#include "support/TestEnvironment.h"
#include "updater/OfficialUpdates.h"

#include <QBuffer>
#include <QDir>
#include <QGuiApplication>
#include <QPainter>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString ncvec = QStringLiteral(KESTOVAN_SOURCE_DIR "/../shared/ncvec");
const QString unavailable = u"Update check unavailable. Your installed pools remain usable offline. "_s;
const QString techDocument = u"2026-2030 Technician Pool and Syllabus Public Release Feb 19 2026.docx"_s;
const QString techPage = u"index.php/2026-2030-technician-question-pool.html"_s;
const QString checked = u"Official NCVEC pools checked "_s;

// A pool page in the form of the official site's; the replica puts its own host for ncvec.org.
QByteArray techHtml(const QString& documentHref)
{
    return (u"<html><body><h2>2026-2030 Technician Question Pool</h2>\n<p><a href=\""_s + documentHref +
            u"\">Pool (Word)</a></p>\n<p><a href=\"https://ncvec.org/downloads/Technician Figures.pdf\">Figures</a>"
            u"</p>\n</body></html>\n"_s)
        .toUtf8();
}

QString sha256(const QByteArray& bytes)
{
    return QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex());
}

QByteArray pngOf(const QImage& image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

// One sheet holding two small diagrams, each with its printed label, the way several figures share a page.
QImage figureSheet()
{
    QImage sheet(1400, 600, QImage::Format_RGB32);
    sheet.fill(Qt::white);
    QPainter p(&sheet);
    p.setPen(QPen(Qt::black, 4));
    QFont font = p.font();
    font.setPixelSize(56);
    p.setFont(font);
    for (int x : {100, 800}) {
        p.drawRect(x, 80, 300, 200);
        p.drawEllipse(QPoint(x + 150, 180), 60, 60);
        p.drawText(QRect(x - 60, 380, 560, 100), Qt::AlignCenter, x == 100 ? u"Figure T-1"_s : u"Figure T-2"_s);
    }
    return sheet;
}

const Pool* poolOf(const Pack& pack, const QString& level)
{
    for (const Pool& p : pack.pools)
        if (p.level == level)
            return &p;
    return nullptr;
}

} // namespace

class PoolUpdateTest : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_root;
    QTemporaryDir m_data;
    LocalHttpsSite m_site;
    std::unique_ptr<Store> m_store;
    Pack m_installed;

    QString site(const QString& path) const { return m_root.filePath(path); }
    void write(const QString& path, const QByteArray& bytes) { Fixtures::writeFile(site(path), bytes); }
    QByteArray installedFile() const { return Fixtures::readFile(m_data.filePath(u"storage/official-pools.json"_s)); }

    // Lays out the replica: the saved official pages and documents, and the two pages the test writes.
    void buildSite()
    {
        for (const QString folder : {u"index.php"_s, u"downloads"_s}) {
            QDir(site(folder)).removeRecursively();
            QDir(m_root.path()).mkpath(folder);
        }
        for (const QString& name : QDir(ncvec + u"/index.php"_s).entryList(QDir::Files))
            QVERIFY(QFile::copy(ncvec + u"/index.php/"_s + name, site(u"index.php/"_s + name)));
        for (const QString& name : QDir(ncvec + u"/downloads"_s).entryList(QDir::Files))
            QVERIFY(QFile::link(ncvec + u"/downloads/"_s + name, site(u"downloads/"_s + name)));
        write(u"index.php/amateur-question-pools.html"_s,
              "<html><body><ul class=\"mod-menu\">\n"
              "<li><a href=\"/index.php/2022-2026-technician-question-pool-release\">2022-2026 Technician</a></li>\n"
              "<li><a href=\"/index.php/2026-2030-technician-question-pool\">2026-2030 Technician</a></li>\n"
              "<li><a href=\"/index.php/2023-2027-general-question-pool-release\">2023-2027 General</a></li>\n"
              "<li><a href=\"/index.php/2024-2028-extra-class-question-pool-release\">2024-2028 Extra</a></li>\n"
              "<li><a href=\"/index.php/mission-statement\">Mission Statement</a></li>\n</ul></body></html>\n");
        write(techPage, techHtml(u"https://ncvec.org/downloads/"_s + techDocument));
    }
    static void runCheck(Store& store)
    {
        QSignalSpy finished(&store, &Store::updateCheckFinished);
        store.checkUpdates();
        QVERIFY(store.checking());
        QVERIFY(finished.wait(240000));
        QVERIFY(!store.checking());
    }

private slots:
    void initTestCase()
    {
        if (!QDir(ncvec).exists())
            QSKIP("the official NCVEC documents are not available");
        FixtureDocuments::isolateTemporaryFolder();
        buildSite();
        const QString error = m_site.start(m_root.path(), u"localhost"_s);
        QVERIFY2(error.isEmpty(), qPrintable(error));
        OfficialUpdates::setOfficialSiteForTesting(u"localhost"_s, m_site.port());
        Fixtures::writeFile(m_data.filePath(u"pools.json"_s), Fixtures::threeLevelPack().toBytes());
    }

    void installsThreePoolsThenKeepsThem()
    {
        m_store = std::make_unique<Store>(m_data.filePath(u"pools.json"_s), m_data.filePath(u"storage"_s));
        runCheck(*m_store);
        QVERIFY2(m_store->updateStatus().startsWith(checked), qPrintable(m_store->updateStatus()));
        QVERIFY(m_store->updateStatus().endsWith(u". Ready for offline use."_s));
        const Pack& pack = m_store->pack();
        QCOMPARE(pack.pools.size(), 3);
        for (const auto& [level, digest, questions, validFrom] :
             std::initializer_list<std::tuple<QString, QString, qsizetype, QString>>{
                 {u"technician"_s, u"c3bb9ebf46730a9812ae854d12a93f07b7a38f521441e51c451e917ccb9e3a54"_s, 409,
                  u"2026-07-01"_s},
                 {u"general"_s, u"a07b15d6b9b7aef9e51dae3dd7d37b23de1d7bb410733b7ac6323eaac2f4b396"_s, 423,
                  u"2023-07-01"_s},
                 {u"extra"_s, u"581ff3aa4c98bb2a6fcc303fe1ce19beb29bc7d3d02ff7fe5c6162c4c26ce4f7"_s, 599,
                  u"2024-07-01"_s}}) {
            const Pool* pool = poolOf(pack, level);
            QVERIFY(pool);
            QCOMPARE(pool->documentHash, std::optional<QString>(digest));
            QCOMPARE(pool->questions.size(), questions);
            QCOMPARE(pool->validFrom, validFrom);
            // Sources name the canonical official host, here the replica's.
            QVERIFY(pool->source.startsWith(u"https://www.localhost:%1/downloads/"_s.arg(m_site.port())));
        }
        QCOMPARE(Pack::fromBytes(installedFile()), pack);
        m_installed = pack;
        // The Technician 2022-2026 period is over: its page was never asked for.
        for (const QString& request : m_site.requests())
            QVERIFY2(!request.contains(u"2022-2026"_s), qPrintable(request));

        // A second run finds the same documents and keeps the pools.
        runCheck(*m_store);
        QVERIFY(m_store->updateStatus().startsWith(checked));
        QCOMPARE(m_store->pack(), m_installed);
        QCOMPARE(Pack::fromBytes(installedFile()), m_installed);
    }

    void failuresKeepInstalledPools_data()
    {
        QTest::addColumn<QString>("change");
        QTest::addColumn<QString>("status");
        const QString format = unavailable + u"The official source format has changed or failed validation. The "
                                             u"installed pools were kept."_s;
        QTest::newRow("pool page missing")
            << "404" << unavailable + u"The official NCVEC source could not be downloaded."_s;
        QTest::newRow("truncated document") << "truncated" << format;
        QTest::newRow("index without pool links") << "no links" << format;
        QTest::newRow("document on another host") << "foreign" << format;
        QTest::newRow("redirect not followed") << "redirect" << format;
    }
    void failuresKeepInstalledPools()
    {
        QVERIFY(m_store);
        QFETCH(QString, change);
        QFETCH(QString, status);
        buildSite();
        if (change == "404") {
            QVERIFY(QFile::remove(site(techPage)));
        } else if (change == "truncated") {
            const QByteArray whole = Fixtures::readFile(site(u"downloads/"_s + techDocument));
            QVERIFY(QFile::remove(site(u"downloads/"_s + techDocument)));
            write(u"downloads/"_s + techDocument, whole.left(whole.size() / 2));
        } else if (change == "no links") {
            write(u"index.php/amateur-question-pools.html"_s,
                  "<html><body><a href=\"/index.php/mission-statement\">Mission</a></body></html>");
        } else if (change == "foreign") {
            write(techPage, techHtml(u"https://files.example.org/downloads/"_s + techDocument));
        } else if (change == "redirect") {
            write(u"index.php/2026-2030-technician-question-pool.redirect"_s,
                  "/index.php/elsewhere-technician-question-pool");
            write(u"index.php/elsewhere-technician-question-pool.html"_s,
                  techHtml(u"https://ncvec.org/downloads/"_s + techDocument));
        }
        const QByteArray fileBefore = installedFile();
        runCheck(*m_store);
        QCOMPARE(m_store->updateStatus(), status);
        QCOMPARE(m_store->pack(), m_installed);
        QCOMPARE(installedFile(), fileBefore);
        for (const QString& request : m_site.requests())
            QVERIFY2(!request.contains(u"elsewhere"_s), qPrintable(request));
    }

    void combinedFiguresGoThroughReview()
    {
        buildSite();
        const QImage sheet = figureSheet();
        QStringList lines = FixtureDocuments::poolLines(u"technician"_s);
        lines[FixtureDocuments::questionLine(lines, u"T1A01"_s) + 1] = u"What is shown in Figure T-1?"_s;
        lines[FixtureDocuments::questionLine(lines, u"T1A02"_s) + 1] = u"Which part of Figure T-2 is the antenna?"_s;
        const QByteArray document = FixtureDocuments::document(lines, {{u"media/image1.png"_s, pngOf(sheet)}});
        const QString name = u"2026-2030 Technician Pool Sheet Test Mar 1 2026.docx"_s;
        write(u"downloads/"_s + name, document);
        write(techPage, techHtml(u"https://ncvec.org/downloads/"_s + name));

        QTemporaryDir storage;
        Store store(m_data.filePath(u"pools.json"_s), storage.path());
        const Pack before = store.pack();
        runCheck(store);
        QCOMPARE(store.updateStatus(),
                 u"Diagrams need review. Open Updates → Review Diagrams. Your installed pools remain available."_s);
        QCOMPARE(store.pack(), before);
        QVERIFY(store.diagramReview());
        const DiagramReview review = *store.diagramReview();
        QCOMPARE(review.labels, (QStringList{u"T1"_s, u"T2"_s}));
        QCOMPARE(review.documentKey, sha256(document));
        QCOMPARE(review.document, document);
        QCOMPARE(DiagramReview::fromBytes(Fixtures::readFile(storage.filePath(u"diagram-review.json"_s))), review);

        // The learner crops one diagram only: the review cannot finish and stays pending.
        const QString left = QString::fromLatin1(pngOf(sheet.copy(0, 0, 700, 600)).toBase64());
        const QString right = QString::fromLatin1(pngOf(sheet.copy(700, 0, 700, 600)).toBase64());
        store.saveDiagramReview(review, {{u"T1"_s, left}});
        QVERIFY(store.message().startsWith(u"Could not finish diagram review: "_s));
        QCOMPARE(store.diagramReview(), review);
        QVERIFY(!store.checking());

        // Both crops: stored, the review closes and the retried update installs the pool with the crops.
        store.setMessage(QString());
        QSignalSpy finished(&store, &Store::updateCheckFinished);
        store.saveDiagramReview(review, {{u"T2"_s, right}, {u"T1"_s, left}});
        QCOMPARE(store.message(), QString());
        QVERIFY(!store.diagramReview());
        QVERIFY(!QFile::exists(storage.filePath(u"diagram-review.json"_s)));
        QVERIFY(QFile::exists(storage.filePath(u"diagram-corrections.json"_s)));
        QVERIFY(store.checking());
        QVERIFY(finished.wait(240000));
        QVERIFY2(store.updateStatus().startsWith(checked), qPrintable(store.updateStatus()));
        const Pool* technician = poolOf(store.pack(), u"technician"_s);
        QVERIFY(technician);
        QCOMPARE(technician->revision, u"2026-03-01"_s);
        QCOMPARE(technician->documentHash, std::optional<QString>(sha256(document)));
        for (const auto& [index, label, crop] : {std::tuple(0, u"T1"_s, left), std::tuple(1, u"T2"_s, right)}) {
            const std::optional<QString> figure = technician->questions.at(index).figure;
            QVERIFY2(figure && figure->startsWith(u"review-"_s + label + u"-"_s), qPrintable(figure.value_or("")));
            QCOMPARE(store.pack().assets.value(*figure), crop);
        }
    }
};

AEROWEN_TEST_MAIN(PoolUpdateTest, QGuiApplication)
#include "PoolUpdateTest.moc"
