// A whole pool update against a local replica of the official site: real curl, unzip, parsing and files.
#include "store/Store.h"
#include "support/FixtureDocuments.h"
#include "support/Fixtures.h"
#include "support/LocalHttpsSite.h"
#include "support/TestEnvironment.h"
#include "updater/OfficialUpdates.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFont>
#include <QGuiApplication>
#include <QPainter>
#include <QSignalSpy>
#include <QTest>

using OfficialUpdates::UpdateError;

namespace {

const QString ncvec = QStringLiteral(KESTOVAN_SOURCE_DIR "/../shared/ncvec");
const QString unavailable = QStringLiteral("Update check unavailable. Your installed pools remain usable offline. ");
const QString technicianDocument =
    QStringLiteral("2026-2030 Technician Pool and Syllabus Public Release Feb 19 2026.docx");
const QString technicianPage = QStringLiteral("index.php/2026-2030-technician-question-pool.html");
const QString indexPage = QStringLiteral("index.php/amateur-question-pools.html");

// Pages in the form of the official site's menu and pool pages; the replica puts its own host for ncvec.org.
QByteArray indexHtml()
{
    return "<html><body><ul class=\"mod-menu\">\n"
           "<li><a href=\"/index.php/2022-2026-technician-question-pool-release\">2022-2026 Technician</a></li>\n"
           "<li><a href=\"/index.php/2026-2030-technician-question-pool\">2026-2030 Technician</a></li>\n"
           "<li><a href=\"/index.php/2023-2027-general-question-pool-release\">2023-2027 General</a></li>\n"
           "<li><a href=\"/index.php/2024-2028-extra-class-question-pool-release\">2024-2028 Extra</a></li>\n"
           "<li><a href=\"/index.php/mission-statement\">Mission Statement</a></li>\n"
           "</ul></body></html>\n";
}

QByteArray technicianHtml(const QString& documentHref)
{
    return QStringLiteral("<html><body><h2>2026-2030 Technician Question Pool</h2>\n"
                          "<p><a href=\"%1\">Pool (Word)</a></p>\n"
                          "<p><a href=\"https://ncvec.org/downloads/Technician Figures.pdf\">Figures</a></p>\n"
                          "</body></html>\n")
        .arg(documentHref)
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
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(QPen(Qt::black, 4));
    QFont font = p.font();
    font.setPixelSize(56);
    p.setFont(font);
    for (int i = 0; i < 2; ++i) {
        const int x = 100 + i * 700;
        p.drawRect(x, 80, 300, 200);
        p.drawLine(x, 180, x - 60, 180);
        p.drawEllipse(QPoint(x + 150, 180), 60, 60);
        p.drawText(QRect(x - 60, 380, 560, 100), Qt::AlignCenter,
                   i == 0 ? QStringLiteral("Figure T-1") : QStringLiteral("Figure T-2"));
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

private slots:
    void initTestCase();
    void cleanupTestCase();
    void installsThreePoolsOnEmptyFolder();
    void secondRunKeepsPools();
    void failuresKeepInstalledPools_data();
    void failuresKeepInstalledPools();
    void combinedFiguresGoThroughReview();

private:
    // Lays out the replica: the saved official pages and documents, and the two pages the test writes.
    void buildSite();
    QString site(const QString& path) const { return m_root.filePath(path); }
    void write(const QString& path, const QByteArray& bytes) { Fixtures::writeFile(site(path), bytes); }
    void runCheck(Store& store);

    QTemporaryDir m_root;
    QTemporaryDir m_data;
    QTemporaryDir m_temporary;
    LocalHttpsSite m_site;
    std::unique_ptr<Store> m_store;
    Pack m_installed;
    bool m_ready = false;
};

void PoolUpdateTest::initTestCase()
{
    if (!QDir(ncvec).exists())
        QSKIP("the official NCVEC documents are not available");
    if (!LocalHttpsSite::available())
        QSKIP("openssl or python3 is missing");
    // Documents being parsed live in the temporary folder; a private one keeps them apart from other test programs
    // that count what is left there.
    qputenv("TMPDIR", m_temporary.path().toLocal8Bit());
    buildSite();
    QString error;
    QVERIFY2(m_site.start(m_root.path(), QStringLiteral("localhost"), &error), qPrintable(error));
    // curl, started by the updater, trusts the replica's certificate; the updater reaches only the replica.
    qputenv("CURL_CA_BUNDLE", m_site.certificatePath().toLocal8Bit());
    OfficialUpdates::setOfficialSiteForTesting(QStringLiteral("localhost"), m_site.port());
    Fixtures::writeFile(m_data.filePath(QStringLiteral("pools.json")), Fixtures::threeLevelPack().toBytes());
    m_ready = true;
}

void PoolUpdateTest::cleanupTestCase()
{
    qunsetenv("CURL_CA_BUNDLE");
}

void PoolUpdateTest::buildSite()
{
    QDir root(m_root.path());
    QDir(root.filePath(QStringLiteral("index.php"))).removeRecursively();
    QDir(root.filePath(QStringLiteral("downloads"))).removeRecursively();
    root.mkpath(QStringLiteral("index.php"));
    root.mkpath(QStringLiteral("downloads"));
    for (const QString& name : QDir(ncvec + QStringLiteral("/index.php")).entryList(QDir::Files))
        QVERIFY(QFile::copy(ncvec + QStringLiteral("/index.php/") + name, site(QStringLiteral("index.php/") + name)));
    for (const QString& name : QDir(ncvec + QStringLiteral("/downloads")).entryList(QDir::Files))
        QVERIFY(QFile::link(ncvec + QStringLiteral("/downloads/") + name, site(QStringLiteral("downloads/") + name)));
    write(indexPage, indexHtml());
    write(technicianPage, technicianHtml(QStringLiteral("https://ncvec.org/downloads/") + technicianDocument));
}

void PoolUpdateTest::runCheck(Store& store)
{
    QSignalSpy finished(&store, &Store::updateCheckFinished);
    store.checkUpdates();
    QVERIFY(store.checking());
    QVERIFY(finished.wait(240000));
    QVERIFY(!store.checking());
}

void PoolUpdateTest::installsThreePoolsOnEmptyFolder()
{
    QVERIFY(m_ready);
    m_store = std::make_unique<Store>(m_data.filePath(QStringLiteral("pools.json")),
                                      m_data.filePath(QStringLiteral("storage")));
    runCheck(*m_store);
    const QString status = m_store->updateStatus();
    QVERIFY2(status.startsWith(QStringLiteral("Official NCVEC pools checked ")), qPrintable(status));
    QVERIFY(status.endsWith(QStringLiteral(". Ready for offline use.")));

    const Pack& pack = m_store->pack();
    QCOMPARE(pack.pools.size(), 3);
    const struct
    {
        const char* level;
        const char* digest;
        qsizetype questions;
        const char* validFrom;
    } expected[] = {
        {"technician", "c3bb9ebf46730a9812ae854d12a93f07b7a38f521441e51c451e917ccb9e3a54", 409, "2026-07-01"},
        {"general", "a07b15d6b9b7aef9e51dae3dd7d37b23de1d7bb410733b7ac6323eaac2f4b396", 423, "2023-07-01"},
        {"extra", "581ff3aa4c98bb2a6fcc303fe1ce19beb29bc7d3d02ff7fe5c6162c4c26ce4f7", 599, "2024-07-01"},
    };
    for (const auto& e : expected) {
        const Pool* pool = poolOf(pack, QLatin1StringView(e.level));
        QVERIFY(pool);
        QCOMPARE(pool->documentHash, std::optional<QString>(QLatin1StringView(e.digest)));
        QCOMPARE(pool->questions.size(), e.questions);
        QCOMPARE(pool->validFrom, QLatin1StringView(e.validFrom));
        // Sources name the canonical official host, here the replica's.
        QVERIFY(pool->source.startsWith(QStringLiteral("https://www.localhost:%1/downloads/").arg(m_site.port())));
    }
    QCOMPARE(Pack::fromBytes(Fixtures::readFile(m_data.filePath(QStringLiteral("storage/official-pools.json")))), pack);
    m_installed = pack;
    // The Technician 2022-2026 period is over: its page was never asked for.
    for (const QString& request : m_site.requests())
        QVERIFY(!request.contains(QStringLiteral("2022-2026")));
}

void PoolUpdateTest::secondRunKeepsPools()
{
    QVERIFY(m_store);
    QSignalSpy packs(m_store.get(), &Store::packChanged);
    runCheck(*m_store);
    QVERIFY(m_store->updateStatus().startsWith(QStringLiteral("Official NCVEC pools checked ")));
    QCOMPARE(m_store->pack(), m_installed);
    QCOMPARE(Pack::fromBytes(Fixtures::readFile(m_data.filePath(QStringLiteral("storage/official-pools.json")))),
             m_installed);
}

void PoolUpdateTest::failuresKeepInstalledPools_data()
{
    QTest::addColumn<QString>("change");
    QTest::addColumn<QString>("status");
    QTest::newRow("pool page missing") << "404" << unavailable + UpdateError(UpdateError::download).description();
    QTest::newRow("truncated document") << "truncated" << unavailable + UpdateError(UpdateError::format).description();
    QTest::newRow("index without pool links")
        << "no links" << unavailable + UpdateError(UpdateError::format).description();
    QTest::newRow("document on another host")
        << "foreign" << unavailable + UpdateError(UpdateError::format).description();
    QTest::newRow("redirect not followed")
        << "redirect" << unavailable + UpdateError(UpdateError::format).description();
}

void PoolUpdateTest::failuresKeepInstalledPools()
{
    QVERIFY(m_store);
    QFETCH(QString, change);
    QFETCH(QString, status);
    buildSite();
    if (change == QLatin1StringView("404")) {
        QVERIFY(QFile::remove(site(technicianPage)));
    } else if (change == QLatin1StringView("truncated")) {
        const QString path = site(QStringLiteral("downloads/") + technicianDocument);
        const QByteArray whole = Fixtures::readFile(path);
        QVERIFY(QFile::remove(path));
        write(QStringLiteral("downloads/") + technicianDocument, whole.left(whole.size() / 2));
    } else if (change == QLatin1StringView("no links")) {
        write(indexPage, "<html><body><a href=\"/index.php/mission-statement\">Mission</a></body></html>");
    } else if (change == QLatin1StringView("foreign")) {
        write(technicianPage,
              technicianHtml(QStringLiteral("https://files.example.org/downloads/") + technicianDocument));
    } else if (change == QLatin1StringView("redirect")) {
        write(QStringLiteral("index.php/2026-2030-technician-question-pool.redirect"),
              "/index.php/elsewhere-technician-question-pool");
        write(QStringLiteral("index.php/elsewhere-technician-question-pool.html"),
              technicianHtml(QStringLiteral("https://ncvec.org/downloads/") + technicianDocument));
    }
    const QByteArray fileBefore = Fixtures::readFile(m_data.filePath(QStringLiteral("storage/official-pools.json")));

    runCheck(*m_store);
    QCOMPARE(m_store->updateStatus(), status);
    QCOMPARE(m_store->pack(), m_installed);
    QCOMPARE(Fixtures::readFile(m_data.filePath(QStringLiteral("storage/official-pools.json"))), fileBefore);
    for (const QString& request : m_site.requests())
        QVERIFY2(!request.contains(QStringLiteral("elsewhere")), qPrintable(request));
    buildSite();
}

void PoolUpdateTest::combinedFiguresGoThroughReview()
{
    QVERIFY(m_ready);
    buildSite();
    const QImage sheet = figureSheet();
    QStringList lines = FixtureDocuments::poolLines(QStringLiteral("technician"));
    lines[FixtureDocuments::questionLine(lines, QStringLiteral("T1A01")) + 1] =
        QStringLiteral("What is shown in Figure T-1?");
    lines[FixtureDocuments::questionLine(lines, QStringLiteral("T1A02")) + 1] =
        QStringLiteral("Which part of Figure T-2 is the antenna?");
    const QByteArray document = FixtureDocuments::document(lines, {{QStringLiteral("media/image1.png"), pngOf(sheet)}});
    const QString name = QStringLiteral("2026-2030 Technician Pool Sheet Test Mar 1 2026.docx");
    write(QStringLiteral("downloads/") + name, document);
    write(technicianPage, technicianHtml(QStringLiteral("https://ncvec.org/downloads/") + name));

    QTemporaryDir storage;
    Store store(m_data.filePath(QStringLiteral("pools.json")), storage.path());
    const Pack before = store.pack();
    runCheck(store);
    QCOMPARE(store.updateStatus(), QStringLiteral("Diagrams need review. Open Updates → Review Diagrams. Your "
                                                  "installed pools remain available."));
    QCOMPARE(store.pack(), before);
    QVERIFY(store.diagramReview());
    const DiagramReview review = *store.diagramReview();
    const QString t1 = OfficialUpdates::normalFigure(QStringLiteral("T-1"));
    const QString t2 = OfficialUpdates::normalFigure(QStringLiteral("T-2"));
    QCOMPARE(review.labels, (QStringList{t1, t2}));
    QCOMPARE(review.documentKey, sha256(document));
    QCOMPARE(review.document, document);
    QCOMPARE(DiagramReview::fromBytes(Fixtures::readFile(storage.filePath(QStringLiteral("diagram-review.json")))),
             review);

    // The learner crops one diagram only: the review cannot finish and stays pending.
    const QString left = QString::fromLatin1(pngOf(sheet.copy(0, 0, 700, 600)).toBase64());
    const QString right = QString::fromLatin1(pngOf(sheet.copy(700, 0, 700, 600)).toBase64());
    store.saveDiagramReview(review, {{t1, left}});
    QVERIFY(store.message().startsWith(QStringLiteral("Could not finish diagram review: ")));
    QCOMPARE(store.diagramReview(), review);
    QVERIFY(!store.checking());

    // Both crops: stored, the review closes and the retried update installs the pool with the crops.
    store.setMessage(QString());
    QSignalSpy finished(&store, &Store::updateCheckFinished);
    store.saveDiagramReview(review, {{t2, right}, {t1, left}});
    QCOMPARE(store.message(), QString());
    QVERIFY(!store.diagramReview());
    QVERIFY(!QFile::exists(storage.filePath(QStringLiteral("diagram-review.json"))));
    QVERIFY(QFile::exists(storage.filePath(QStringLiteral("diagram-corrections.json"))));
    QVERIFY(store.checking());
    QVERIFY(finished.wait(240000));
    QVERIFY2(store.updateStatus().startsWith(QStringLiteral("Official NCVEC pools checked ")),
             qPrintable(store.updateStatus()));

    const Pool* technician = poolOf(store.pack(), QStringLiteral("technician"));
    QVERIFY(technician);
    QCOMPARE(technician->revision, QStringLiteral("2026-03-01"));
    QCOMPARE(technician->documentHash, std::optional<QString>(sha256(document)));
    const Question& first = technician->questions.first();
    QVERIFY(first.figure);
    QVERIFY2(first.figure->startsWith(QStringLiteral("review-") + t1 + QLatin1Char('-')), qPrintable(*first.figure));
    QCOMPARE(store.pack().assets.value(*first.figure), left);
    const Question& second = technician->questions.at(1);
    QVERIFY(second.figure && second.figure->startsWith(QStringLiteral("review-") + t2 + QLatin1Char('-')));
    QCOMPARE(store.pack().assets.value(*second.figure), right);
}

AEROWEN_TEST_MAIN(PoolUpdateTest, QGuiApplication)
#include "PoolUpdateTest.moc"
