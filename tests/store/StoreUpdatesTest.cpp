// The store's pool check, its status lines and files, and the figure review it leads to.
#include "store/Settings.h"
#include "store/Store.h"
#include "support/Fixtures.h"
#include "support/TestEnvironment.h"
#include "updater/OfficialUpdates.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QSignalSpy>
#include <QTest>
#include <QThread>

#include <atomic>
#include <sys/resource.h>
#include <unistd.h>

using OfficialUpdates::UpdateError;

namespace {

const QString checkingText = QStringLiteral("Checking the official NCVEC question pools…");
const QString unavailable = QStringLiteral("Update check unavailable. Your installed pools remain usable offline. ");
const QString reviewText =
    QStringLiteral("Diagrams need review. Open Updates → Review Diagrams. Your installed pools remain available.");

QString pngBase64(int width, int height, QColor colour)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(colour);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return QString::fromLatin1(bytes.toBase64());
}

DiagramReview pendingReview()
{
    DiagramReview r;
    r.document = "docx bytes";
    r.source = QStringLiteral("https://www.ncvec.org/downloads/Extra Feb 4 2026.docx");
    r.level = QStringLiteral("extra");
    r.documentKey = QStringLiteral("d1d1");
    r.images = {QByteArray("sheet")};
    r.labels = {QStringLiteral("E6-1"), QStringLiteral("E6-2")};
    Question q = Fixtures::pool(QStringLiteral("extra"), QStringLiteral("x")).questions.first();
    q.figure = QStringLiteral("E6-1");
    r.questions = {q};
    return r;
}

// A store over a temporary folder whose built-in pack is the given one.
struct Fixture
{
    QTemporaryDir dir;
    std::unique_ptr<Store> store;

    explicit Fixture(const Pack& builtIn = Fixtures::threeLevelPack(),
                     const std::function<void(const QString& folder)>& prepare = {})
    {
        QDir().mkpath(folder());
        Fixtures::writeFile(dir.filePath(QStringLiteral("pools.json")), builtIn.toBytes());
        if (prepare)
            prepare(folder());
        store = std::make_unique<Store>(dir.filePath(QStringLiteral("pools.json")), folder());
    }
    QString folder() const { return dir.filePath(QStringLiteral("storage")); }
    QString file(const QString& name) const { return folder() + QLatin1Char('/') + name; }
    void waitForCheck()
    {
        QSignalSpy finished(store.get(), &Store::updateCheckFinished);
        if (store->checking())
            QVERIFY(finished.wait(10000));
    }
};

} // namespace

class StoreUpdatesTest : public QObject
{
    Q_OBJECT

private slots:
    void successInstallsAndWritesPack();
    void secondCheckWhileRunningDoesNothing();
    void workerGetsCopiesOfPackAndCorrections();
    void reviewRequestIsStored();
    void failuresKeepInstalledPools_data();
    void failuresKeepInstalledPools();
    void unwritablePackKeepsPoolsInUse();
    void successLeavesPendingReview();
    void sampleSheetPlacesFourFigures();
    void sampleQuestionsAreFirstMentions();
    void sampleUnavailableWithoutFigures_data();
    void sampleUnavailableWithoutFigures();
    void sampleReviewNeedsEveryFigure();
    void confirmedReviewStoresCropsAndRetries();
    void confirmationsMergePerDocument();
    void failedReviewTestKeepsReviewPending_data();
    void failedReviewTestKeepsReviewPending();
};

void StoreUpdatesTest::successInstallsAndWritesPack()
{
    Fixture f;
    Pack fresh = Fixtures::threeLevelPack();
    fresh.pools.first().revision = QStringLiteral("2026-03-01");
    fresh.assets.insert(QStringLiteral("T-1.png"), QStringLiteral("AAAA"));
    f.store->setRefresher([&](const Pack&, const Corrections&) {
        QThread::msleep(50);
        return fresh;
    });
    QSignalSpy statuses(f.store.get(), &Store::updateStatusChanged);
    QSignalSpy finished(f.store.get(), &Store::updateCheckFinished);

    f.store->checkUpdates();
    QVERIFY(f.store->checking());
    QCOMPARE(f.store->updateStatus(), checkingText);
    QVERIFY(finished.wait(10000));
    QCOMPARE(finished.count(), 1);
    QVERIFY(!f.store->checking());
    QCOMPARE(f.store->pack(), fresh);
    QCOMPARE(Pack::fromBytes(Fixtures::readFile(f.file(QStringLiteral("official-pools.json")))), fresh);

    const QString stamp = Settings::open()->value(Settings::lastPoolCheck).toString();
    QVERIFY(!stamp.isEmpty());
    QCOMPARE(f.store->updateStatus(),
             QStringLiteral("Official NCVEC pools checked ") + stamp + QStringLiteral(". Ready for offline use."));
    QCOMPARE(stamp, QLocale::system().toString(QDateTime::currentDateTime(), QLocale::ShortFormat));
}

void StoreUpdatesTest::secondCheckWhileRunningDoesNothing()
{
    Fixture f;
    std::atomic<int> calls = 0;
    f.store->setRefresher([&](const Pack& pack, const Corrections&) {
        ++calls;
        QThread::msleep(300);
        return pack;
    });
    QSignalSpy finished(f.store.get(), &Store::updateCheckFinished);
    f.store->checkUpdates();
    f.store->checkUpdates();
    QVERIFY(finished.wait(10000));
    QTest::qWait(100);
    QCOMPARE(calls.load(), 1);
    QCOMPARE(finished.count(), 1);
    // Once finished, a new request goes to the network again.
    f.store->checkUpdates();
    f.waitForCheck();
    QCOMPARE(calls.load(), 2);
}

void StoreUpdatesTest::workerGetsCopiesOfPackAndCorrections()
{
    const Corrections stored{{QStringLiteral("abcd"), {{QStringLiteral("E6-1"), QStringLiteral("AAAA")}}}};
    Fixture f(Fixtures::threeLevelPack(), [&](const QString& folder) {
        Fixtures::writeFile(folder + QStringLiteral("/diagram-corrections.json"), CorrectionsJson::toBytes(stored));
    });
    std::optional<Pack> seenPack;
    std::optional<Corrections> seenCorrections;
    QThread* thread = nullptr;
    int niceness = 0;
    f.store->setRefresher([&](const Pack& pack, const Corrections& corrections) {
        seenPack = pack;
        seenCorrections = corrections;
        thread = QThread::currentThread();
        niceness = getpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()));
        return pack;
    });
    f.store->checkUpdates();
    f.waitForCheck();
    QCOMPARE(seenPack, f.store->pack());
    QCOMPARE(seenCorrections, stored);
    // Off the main thread, and behind the interface in the scheduler's eyes.
    QVERIFY(thread && thread != QThread::currentThread());
    QVERIFY(niceness > getpriority(PRIO_PROCESS, static_cast<id_t>(::gettid())));
}

void StoreUpdatesTest::reviewRequestIsStored()
{
    Fixture f;
    const Pack before = f.store->pack();
    const DiagramReview review = pendingReview();
    f.store->setRefresher(
        [&](const Pack&, const Corrections&) -> Pack { throw OfficialUpdates::ReviewRequest(review); });
    f.store->checkUpdates();
    f.waitForCheck();
    QCOMPARE(f.store->updateStatus(), reviewText);
    QCOMPARE(f.store->diagramReview(), review);
    QCOMPARE(DiagramReview::fromBytes(Fixtures::readFile(f.file(QStringLiteral("diagram-review.json")))), review);
    QCOMPARE(f.store->pack(), before);
    QVERIFY(!QFile::exists(f.file(QStringLiteral("official-pools.json"))));
    QVERIFY(!f.store->checking());

    // The pending review survives a restart through its file.
    Store reopened(f.dir.filePath(QStringLiteral("pools.json")), f.folder());
    QCOMPARE(reopened.diagramReview(), review);
}

void StoreUpdatesTest::failuresKeepInstalledPools_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("status");
    QTest::newRow("format") << "format" << unavailable + UpdateError(UpdateError::format).description();
    QTest::newRow("download") << "download" << unavailable + UpdateError(UpdateError::download).description();
    QTest::newRow("figures") << "figures" << unavailable + UpdateError(UpdateError::figures).description();
    QTest::newRow("invalid pack") << "invalid" << unavailable + DataError(DataError::invalid).description();
    QTest::newRow("platform error") << "std" << unavailable + QStringLiteral("curl could not be started");
}

void StoreUpdatesTest::failuresKeepInstalledPools()
{
    QFETCH(QString, kind);
    QFETCH(QString, status);
    Fixture f;
    const Pack before = f.store->pack();
    f.store->setRefresher([&](const Pack&, const Corrections&) -> Pack {
        if (kind == QLatin1StringView("format"))
            throw UpdateError(UpdateError::format);
        if (kind == QLatin1StringView("download"))
            throw UpdateError(UpdateError::download);
        if (kind == QLatin1StringView("figures"))
            throw UpdateError(UpdateError::figures);
        if (kind == QLatin1StringView("invalid"))
            throw DataError(DataError::invalid);
        throw std::runtime_error("curl could not be started");
    });
    QSignalSpy packs(f.store.get(), &Store::packChanged);
    f.store->checkUpdates();
    f.waitForCheck();
    QCOMPARE(f.store->updateStatus(), status);
    QCOMPARE(f.store->pack(), before);
    QCOMPARE(packs.count(), 0);
    QVERIFY(!f.store->checking());
    QVERIFY(!QFile::exists(f.file(QStringLiteral("official-pools.json"))));
    QVERIFY(!f.store->diagramReview());
}

void StoreUpdatesTest::unwritablePackKeepsPoolsInUse()
{
    Fixture f;
    const Pack before = f.store->pack();
    // A folder in the way of the pack file makes the atomic write fail.
    QVERIFY(QDir().mkpath(f.file(QStringLiteral("official-pools.json"))));
    Pack fresh = before;
    fresh.pools.first().revision = QStringLiteral("2026-03-01");
    f.store->setRefresher([&](const Pack&, const Corrections&) { return fresh; });
    f.store->checkUpdates();
    f.waitForCheck();
    QVERIFY(f.store->updateStatus().startsWith(unavailable));
    QVERIFY(f.store->updateStatus().size() > unavailable.size());
    QCOMPARE(f.store->pack(), before);
}

void StoreUpdatesTest::successLeavesPendingReview()
{
    const DiagramReview review = pendingReview();
    Fixture f(Fixtures::threeLevelPack(), [&](const QString& folder) {
        Fixtures::writeFile(folder + QStringLiteral("/diagram-review.json"), review.toBytes());
    });
    QCOMPARE(f.store->diagramReview(), review);
    f.store->setRefresher([](const Pack& pack, const Corrections&) { return pack; });
    f.store->checkUpdates();
    f.waitForCheck();
    QVERIFY(f.store->updateStatus().startsWith(QStringLiteral("Official NCVEC pools checked ")));
    QCOMPARE(f.store->diagramReview(), review);
    QVERIFY(QFile::exists(f.file(QStringLiteral("diagram-review.json"))));
}

namespace {

// The four sample figures, each a solid colour with its own proportions, and Extra questions that mention them.
Pack samplePack()
{
    Pack pack = Fixtures::threeLevelPack();
    pack.assets.insert(QStringLiteral("E6-1.png"), pngBase64(100, 50, Qt::red));
    pack.assets.insert(QStringLiteral("E6-2.png"), pngBase64(1200, 100, Qt::green));
    pack.assets.insert(QStringLiteral("E6-3.png"), pngBase64(50, 1000, Qt::blue));
    pack.assets.insert(QStringLiteral("E7-1.png"), pngBase64(600, 500, Qt::black));
    QList<Question>& extra = pack.pools[2].questions;
    extra[0].prompt = QStringLiteral("What does Figure E6-1 show?");
    extra[1].prompt = QStringLiteral("What is shown in figure E7-1?");
    extra[2].prompt = QStringLiteral("Which part of Figure E6-4 is the gate?");
    extra[3].prompt = QStringLiteral("Compare Figure E6-4 with Figure E6-2.");
    extra[4].prompt = QStringLiteral("In Figure E6–3, what is the emitter?"); // en dash as printed in the pools
    pack.pools[0].questions[0].prompt = QStringLiteral("Technician question about Figure E6-1?");
    return pack;
}

} // namespace

void StoreUpdatesTest::sampleSheetPlacesFourFigures()
{
    Fixture f(samplePack());
    const std::optional<DiagramReview> sample = f.store->demoDiagramReview();
    QVERIFY(sample);
    QCOMPARE(sample->isDemo, std::optional<bool>(true));
    QVERIFY(sample->document.isEmpty());
    QCOMPARE(sample->source, OfficialUpdates::officialRoot().toString());
    QCOMPARE(sample->level, QStringLiteral("extra"));
    QCOMPARE(sample->documentKey, QStringLiteral("demo"));
    QCOMPARE(sample->labels, (QStringList{"E6-1", "E6-2", "E6-3", "E7-1"}));
    QCOMPARE(sample->images.size(), 1);

    QImage sheet;
    QVERIFY(sheet.loadFromData(sample->images.first(), "PNG"));
    QCOMPARE(sheet.size(), QSize(1200, 1000));
    const auto at = [&](int x, int y) { return QColor(sheet.pixel(x, y)); };
    const QColor white(Qt::white);
    // E6-1, 100 by 50, scaled by 5.6 to 560 by 280 in the top-left cell: 20 points left and right.
    QCOMPARE(at(300, 250), QColor(Qt::red));
    QCOMPARE(at(22, 250), QColor(Qt::red));
    QCOMPARE(at(18, 250), white);
    QCOMPARE(at(578, 250), QColor(Qt::red));
    QCOMPARE(at(582, 250), white);
    QCOMPARE(at(300, 250 - 135), QColor(Qt::red));
    QCOMPARE(at(300, 250 - 145), white);
    // E6-2, 1200 by 100, scaled to 560 by about 47 in the top-right cell: 20 points either side.
    QCOMPARE(at(600 + 22, 250), QColor(Qt::green));
    QCOMPARE(at(600 + 18, 250), white);
    QCOMPARE(at(1200 - 18, 250), white);
    QCOMPARE(at(900, 250 - 30), white);
    // E6-3, 50 by 1000, scaled to 22 by 440 in the bottom-left cell: 30 points above and below.
    QCOMPARE(at(300, 500 + 32), QColor(Qt::blue));
    QCOMPARE(at(300, 500 + 28), white);
    QCOMPARE(at(300, 1000 - 28), white);
    QCOMPARE(at(300 + 15, 750), white);
    // E7-1, 600 by 500, scaled to 528 by 440 in the bottom-right cell.
    QCOMPARE(at(900, 750), QColor(Qt::black));
    QCOMPARE(at(600 + 40, 500 + 35), QColor(Qt::black));
    QCOMPARE(at(600 + 30, 750), white);
}

void StoreUpdatesTest::sampleQuestionsAreFirstMentions()
{
    Fixture f(samplePack());
    const std::optional<DiagramReview> sample = f.store->demoDiagramReview();
    QVERIFY(sample);
    QStringList found;
    for (const Question& q : sample->questions)
        found.append(q.id + QLatin1Char(':') + q.figure.value_or(QString()));
    const QList<Question>& extra = f.store->pack().pools[2].questions;
    QCOMPARE(found, (QStringList{extra[0].id + QStringLiteral(":E6-1"), extra[1].id + QStringLiteral(":E7-1"),
                                 extra[4].id + QStringLiteral(":E6-3")}));
    QCOMPARE(sample->questions.first().prompt, extra[0].prompt);
}

void StoreUpdatesTest::sampleUnavailableWithoutFigures_data()
{
    QTest::addColumn<QString>("asset");
    QTest::addColumn<QString>("value");
    QTest::newRow("missing") << "E6-1.png" << QString();
    QTest::newRow("not an image") << "E6-3.png" << QString::fromLatin1(QByteArray("plain text").toBase64());
}

void StoreUpdatesTest::sampleUnavailableWithoutFigures()
{
    QFETCH(QString, asset);
    QFETCH(QString, value);
    Pack pack = samplePack();
    if (value.isEmpty())
        pack.assets.remove(asset);
    else
        pack.assets.insert(asset, value);
    Fixture f(pack);
    QVERIFY(!f.store->demoDiagramReview());
    QCOMPARE(f.store->message(), QStringLiteral("The sample diagram is unavailable."));
}

void StoreUpdatesTest::sampleReviewNeedsEveryFigure()
{
    Fixture f(samplePack());
    const DiagramReview sample = *f.store->demoDiagramReview();
    bool parsed = false;
    f.store->setParser([&](const QByteArray&, const QUrl&, const QString&, const Corrections&) {
        parsed = true;
        return Pack();
    });
    QMap<QString, QString> crops{{QStringLiteral("E6-1"), QStringLiteral("AAAA")},
                                 {QStringLiteral("E6-2"), QStringLiteral("AAAA")},
                                 {QStringLiteral("E6-3"), QStringLiteral("AAAA")}};
    f.store->saveDiagramReview(sample, crops);
    QCOMPARE(f.store->message(), QStringLiteral("Select every sample figure first."));

    f.store->setMessage(QString());
    crops.insert(QStringLiteral("E7-1"), QStringLiteral("AAAA"));
    const QStringList filesBefore = QDir(f.folder()).entryList(QDir::Files);
    f.store->saveDiagramReview(sample, crops);
    QCOMPARE(f.store->message(), QString());
    QCOMPARE(QDir(f.folder()).entryList(QDir::Files), filesBefore);
    QVERIFY(f.store->diagramCorrections().isEmpty());
    QVERIFY(!f.store->checking());
    QVERIFY(!parsed);
}

void StoreUpdatesTest::confirmedReviewStoresCropsAndRetries()
{
    const DiagramReview review = pendingReview();
    Fixture f(Fixtures::threeLevelPack(), [&](const QString& folder) {
        Fixtures::writeFile(folder + QStringLiteral("/diagram-review.json"), review.toBytes());
    });
    const QMap<QString, QString> crops{{QStringLiteral("E6-1"), QStringLiteral("QUFB")},
                                       {QStringLiteral("E6-2"), QStringLiteral("QkJC")}};
    const Corrections expected{{review.documentKey, crops}};
    QList<std::tuple<QByteArray, QUrl, QString, Corrections>> parses;
    f.store->setParser([&](const QByteArray& data, const QUrl& source, const QString& level, const Corrections& c) {
        parses.append({data, source, level, c});
        return Pack();
    });
    std::optional<Corrections> retriedWith;
    f.store->setRefresher([&](const Pack& pack, const Corrections& c) {
        retriedWith = c;
        return pack;
    });

    f.store->saveDiagramReview(review, crops);
    QCOMPARE(parses.size(), 1);
    QCOMPARE(std::get<0>(parses.first()), review.document);
    QCOMPARE(std::get<1>(parses.first()), QUrl(review.source));
    QCOMPARE(std::get<2>(parses.first()), review.level);
    QCOMPARE(std::get<3>(parses.first()), expected);
    QCOMPARE(f.store->message(), QString());
    QCOMPARE(f.store->diagramCorrections(), expected);
    QCOMPARE(CorrectionsJson::fromBytes(Fixtures::readFile(f.file(QStringLiteral("diagram-corrections.json")))),
             expected);
    QVERIFY(!f.store->diagramReview());
    QVERIFY(!QFile::exists(f.file(QStringLiteral("diagram-review.json"))));
    QVERIFY(f.store->checking()); // the update is retried at once
    f.waitForCheck();
    QCOMPARE(retriedWith, expected);
}

void StoreUpdatesTest::confirmationsMergePerDocument()
{
    const Corrections stored{
        {QStringLiteral("d1d1"),
         {{QStringLiteral("E6-1"), QStringLiteral("b2xk")}, {QStringLiteral("E6-2"), QStringLiteral("b2xk")}}},
        {QStringLiteral("e2e2"), {{QStringLiteral("E9-1"), QStringLiteral("b3Ro")}}}};
    Fixture f(Fixtures::threeLevelPack(), [&](const QString& folder) {
        Fixtures::writeFile(folder + QStringLiteral("/diagram-corrections.json"), CorrectionsJson::toBytes(stored));
    });
    f.store->setParser([](const QByteArray&, const QUrl&, const QString&, const Corrections&) { return Pack(); });
    f.store->setRefresher([](const Pack& pack, const Corrections&) { return pack; });
    f.store->saveDiagramReview(pendingReview(), {{QStringLiteral("E6-2"), QStringLiteral("bmV3")},
                                                 {QStringLiteral("E6-3"), QStringLiteral("bmV3")}});
    const Corrections expected{{QStringLiteral("d1d1"),
                                {{QStringLiteral("E6-1"), QStringLiteral("b2xk")},
                                 {QStringLiteral("E6-2"), QStringLiteral("bmV3")},
                                 {QStringLiteral("E6-3"), QStringLiteral("bmV3")}}},
                               {QStringLiteral("e2e2"), {{QStringLiteral("E9-1"), QStringLiteral("b3Ro")}}}};
    QCOMPARE(f.store->diagramCorrections(), expected);
    f.waitForCheck();
}

void StoreUpdatesTest::failedReviewTestKeepsReviewPending_data()
{
    QTest::addColumn<QString>("failure");
    QTest::addColumn<QString>("description");
    QTest::newRow("crops still miss a figure") << "review" << UpdateError(UpdateError::figures).description();
    QTest::newRow("document unreadable") << "format" << UpdateError(UpdateError::format).description();
    QTest::newRow("corrections not writable") << "write" << QString();
}

void StoreUpdatesTest::failedReviewTestKeepsReviewPending()
{
    QFETCH(QString, failure);
    QFETCH(QString, description);
    const DiagramReview review = pendingReview();
    const Corrections stored{{QStringLiteral("e2e2"), {{QStringLiteral("E9-1"), QStringLiteral("b3Ro")}}}};
    Fixture f(Fixtures::threeLevelPack(), [&](const QString& folder) {
        Fixtures::writeFile(folder + QStringLiteral("/diagram-review.json"), review.toBytes());
        // A folder in the way of the corrections file makes its atomic write fail (even for the superuser).
        if (failure == QLatin1StringView("write"))
            QDir().mkpath(folder + QStringLiteral("/diagram-corrections.json"));
        else
            Fixtures::writeFile(folder + QStringLiteral("/diagram-corrections.json"), CorrectionsJson::toBytes(stored));
    });
    const Corrections before = failure == QLatin1StringView("write") ? Corrections() : stored;
    f.store->setParser([&](const QByteArray&, const QUrl&, const QString&, const Corrections&) -> Pack {
        if (failure == QLatin1StringView("review"))
            throw OfficialUpdates::ReviewRequest(review);
        if (failure == QLatin1StringView("format"))
            throw UpdateError(UpdateError::format);
        return Pack();
    });
    bool retried = false;
    f.store->setRefresher([&](const Pack& pack, const Corrections&) {
        retried = true;
        return pack;
    });
    const QByteArray correctionsBefore = Fixtures::readFile(f.file(QStringLiteral("diagram-corrections.json")));
    f.store->saveDiagramReview(review, {{QStringLiteral("E6-1"), QStringLiteral("QUFB")}});

    const QString prefix = QStringLiteral("Could not finish diagram review: ");
    QVERIFY2(f.store->message().startsWith(prefix), qPrintable(f.store->message()));
    if (!description.isEmpty())
        QCOMPARE(f.store->message(), prefix + description);
    QVERIFY(f.store->message().size() > prefix.size());
    QCOMPARE(f.store->diagramReview(), review);
    QCOMPARE(f.store->diagramCorrections(), before);
    QCOMPARE(Fixtures::readFile(f.file(QStringLiteral("diagram-corrections.json"))), correctionsBefore);
    QVERIFY(QFile::exists(f.file(QStringLiteral("diagram-review.json"))));
    QVERIFY(!f.store->checking());
    QVERIFY(!retried);
}

AEROWEN_TEST_MAIN(StoreUpdatesTest, QGuiApplication)
#include "StoreUpdatesTest.moc"
