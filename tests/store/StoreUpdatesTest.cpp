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
using namespace Qt::StringLiterals;
using Thrower = std::function<void()>;
Q_DECLARE_METATYPE(Thrower)

namespace {

const QString checkingText = u"Checking the official NCVEC question pools…"_s;
const QString unavailable = u"Update check unavailable. Your installed pools remain usable offline. "_s;
const QString reviewText =
    u"Diagrams need review. Open Updates → Review Diagrams. Your installed pools remain available."_s;

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
    r.source = u"https://www.ncvec.org/downloads/Extra Feb 4 2026.docx"_s;
    r.level = u"extra"_s;
    r.documentKey = u"d1d1"_s;
    r.images = {QByteArray("sheet")};
    r.labels = {u"E6-1"_s, u"E6-2"_s};
    Question q = Fixtures::pool(u"extra"_s, u"x"_s).questions.first();
    q.figure = u"E6-1"_s;
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
        Fixtures::writeFile(dir.filePath(u"pools.json"_s), builtIn.toBytes());
        if (prepare)
            prepare(folder());
        store = std::make_unique<Store>(dir.filePath(u"pools.json"_s), folder());
    }
    QString folder() const { return dir.filePath(u"storage"_s); }
    QString file(const QString& name) const { return folder() + QLatin1Char('/') + name; }
    void waitForCheck()
    {
        QSignalSpy finished(store.get(), &Store::updateCheckFinished);
        if (store->checking())
            QVERIFY(finished.wait(10000));
    }
};

// The four sample figures, each a solid colour with its own proportions, and Extra questions that mention them.
Pack samplePack()
{
    Pack pack = Fixtures::threeLevelPack();
    pack.assets.insert(u"E6-1.png"_s, pngBase64(100, 50, Qt::red));
    pack.assets.insert(u"E6-2.png"_s, pngBase64(1200, 100, Qt::green));
    pack.assets.insert(u"E6-3.png"_s, pngBase64(50, 1000, Qt::blue));
    pack.assets.insert(u"E7-1.png"_s, pngBase64(600, 500, Qt::black));
    QList<Question>& extra = pack.pools[2].questions;
    extra[0].prompt = u"What does Figure E6-1 show?"_s;
    extra[1].prompt = u"What is shown in figure E7-1?"_s;
    extra[2].prompt = u"Which part of Figure E6-4 is the gate?"_s;
    extra[3].prompt = u"Compare Figure E6-4 with Figure E6-2."_s;
    extra[4].prompt = u"In Figure E6–3, what is the emitter?"_s; // en dash as printed in the pools
    pack.pools[0].questions[0].prompt = u"Technician question about Figure E6-1?"_s;
    return pack;
}

} // namespace

class StoreUpdatesTest : public QObject
{
    Q_OBJECT

private slots:

    void successInstallsAndWritesPack()
    {
        // A review still pending from an earlier check stays pending.
        const DiagramReview review = pendingReview();
        Fixture f(Fixtures::threeLevelPack(), [&](const QString& folder) {
            Fixtures::writeFile(folder + u"/diagram-review.json"_s, review.toBytes());
        });
        Pack fresh = Fixtures::threeLevelPack();
        fresh.pools.first().revision = u"2026-03-01"_s;
        fresh.assets.insert(u"T-1.png"_s, u"AAAA"_s);
        f.store->setRefresher([&](const Pack&, const Corrections&) {
            QThread::msleep(50);
            return fresh;
        });
        QSignalSpy finished(f.store.get(), &Store::updateCheckFinished);

        f.store->checkUpdates();
        QVERIFY(f.store->checking());
        QCOMPARE(f.store->updateStatus(), checkingText);
        QVERIFY(finished.wait(10000));
        QCOMPARE(finished.count(), 1);
        QVERIFY(!f.store->checking());
        QCOMPARE(f.store->pack(), fresh);
        QCOMPARE(Pack::fromBytes(Fixtures::readFile(f.file(u"official-pools.json"_s))), fresh);

        const QString stamp = Settings::open()->value(Settings::lastPoolCheck).toString();
        QVERIFY(!stamp.isEmpty());
        QCOMPARE(f.store->updateStatus(), u"Official NCVEC pools checked "_s + stamp + u". Ready for offline use."_s);
        QCOMPARE(stamp, QLocale::system().toString(QDateTime::currentDateTime(), QLocale::ShortFormat));
        QCOMPARE(f.store->diagramReview(), review);
        QVERIFY(QFile::exists(f.file(u"diagram-review.json"_s)));
    }

    void workerGetsCopiesAndRunsOneCheckAtATime()
    {
        const Corrections stored{{u"abcd"_s, {{u"E6-1"_s, u"AAAA"_s}}}};
        Fixture f(Fixtures::threeLevelPack(), [&](const QString& folder) {
            Fixtures::writeFile(folder + u"/diagram-corrections.json"_s, CorrectionsJson::toBytes(stored));
        });
        std::atomic<int> calls = 0;
        std::optional<Pack> seenPack;
        std::optional<Corrections> seenCorrections;
        QThread* thread = nullptr;
        int niceness = 0;
        f.store->setRefresher([&](const Pack& pack, const Corrections& corrections) {
            if (++calls == 1) {
                seenPack = pack;
                seenCorrections = corrections;
                thread = QThread::currentThread();
                niceness = getpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()));
            }
            QThread::msleep(300);
            return pack;
        });
        QSignalSpy finished(f.store.get(), &Store::updateCheckFinished);
        f.store->checkUpdates();
        f.store->checkUpdates(); // ignored while the first runs
        QVERIFY(finished.wait(10000));
        QTest::qWait(100);
        QCOMPARE(calls.load(), 1);
        QCOMPARE(finished.count(), 1);
        QCOMPARE(seenPack, f.store->pack());
        QCOMPARE(seenCorrections, stored);
        // Off the main thread, and behind the interface in the scheduler's eyes.
        QVERIFY(thread && thread != QThread::currentThread());
        QVERIFY(niceness > getpriority(PRIO_PROCESS, static_cast<id_t>(::gettid())));
        // Once finished, a new request goes to the network again.
        f.store->checkUpdates();
        f.waitForCheck();
        QCOMPARE(calls.load(), 2);
    }

    void reviewRequestIsStored()
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
        QCOMPARE(DiagramReview::fromBytes(Fixtures::readFile(f.file(u"diagram-review.json"_s))), review);
        QCOMPARE(f.store->pack(), before);
        QVERIFY(!QFile::exists(f.file(u"official-pools.json"_s)));
        QVERIFY(!f.store->checking());

        // The pending review survives a restart through its file.
        Store reopened(f.dir.filePath(u"pools.json"_s), f.folder());
        QCOMPARE(reopened.diagramReview(), review);
    }

    void failuresKeepInstalledPools_data()
    {
        QTest::addColumn<Thrower>("thrower");
        QTest::addColumn<QString>("status");
        for (auto kind : {UpdateError::format, UpdateError::download, UpdateError::figures})
            QTest::addRow("update error %d", int(kind))
                << Thrower([kind] { throw UpdateError(kind); }) << unavailable + UpdateError(kind).description();
        QTest::newRow("invalid pack") << Thrower([] { throw DataError(DataError::invalid); })
                                      << unavailable + DataError(DataError::invalid).description();
        QTest::newRow("platform error") << Thrower([] { throw std::runtime_error("curl could not be started"); })
                                        << unavailable + u"curl could not be started"_s;
    }

    void failuresKeepInstalledPools()
    {
        QFETCH(Thrower, thrower);
        QFETCH(QString, status);
        Fixture f;
        const Pack before = f.store->pack();
        f.store->setRefresher([&](const Pack&, const Corrections&) -> Pack {
            thrower();
            return Pack();
        });
        QSignalSpy packs(f.store.get(), &Store::packChanged);
        f.store->checkUpdates();
        f.waitForCheck();
        QCOMPARE(f.store->updateStatus(), status);
        QCOMPARE(f.store->pack(), before);
        QCOMPARE(packs.count(), 0);
        QVERIFY(!f.store->checking());
        QVERIFY(!QFile::exists(f.file(u"official-pools.json"_s)));
        QVERIFY(!f.store->diagramReview());
    }

    void unwritablePackKeepsPoolsInUse()
    {
        Fixture f;
        const Pack before = f.store->pack();
        // A folder in the way of the pack file makes the atomic write fail.
        QVERIFY(QDir().mkpath(f.file(u"official-pools.json"_s)));
        Pack fresh = before;
        fresh.pools.first().revision = u"2026-03-01"_s;
        f.store->setRefresher([&](const Pack&, const Corrections&) { return fresh; });
        f.store->checkUpdates();
        f.waitForCheck();
        QVERIFY(f.store->updateStatus().startsWith(unavailable));
        QVERIFY(f.store->updateStatus().size() > unavailable.size());
        QCOMPARE(f.store->pack(), before);
    }

    void sampleSheetPlacesFourFigures()
    {
        Fixture f(samplePack());
        const std::optional<DiagramReview> sample = f.store->demoDiagramReview();
        QVERIFY(sample);
        QCOMPARE(sample->isDemo, std::optional<bool>(true));
        QVERIFY(sample->document.isEmpty());
        QCOMPARE(sample->source, OfficialUpdates::officialRoot().toString());
        QCOMPARE(sample->level, u"extra"_s);
        QCOMPARE(sample->documentKey, u"demo"_s);
        QCOMPARE(sample->labels, (QStringList{"E6-1", "E6-2", "E6-3", "E7-1"}));
        QCOMPARE(sample->images.size(), 1);

        QImage sheet;
        QVERIFY(sheet.loadFromData(sample->images.first(), "PNG"));
        QCOMPARE(sheet.size(), QSize(1200, 1000));
        // Each figure is scaled into its quarter of the sheet and centred, white around it.
        // E6-1 100x50 -> 560x280 top left; E6-2 1200x100 -> 560x47 top right; E6-3 50x1000 -> 22x440 bottom left;
        // E7-1 600x500 -> 528x440 bottom right.
        const struct
        {
            int x, y;
            Qt::GlobalColor colour;
        } points[] = {{300, 250, Qt::red},   {22, 250, Qt::red},     {18, 250, Qt::white},  {578, 250, Qt::red},
                      {582, 250, Qt::white}, {300, 115, Qt::red},    {300, 105, Qt::white}, {622, 250, Qt::green},
                      {618, 250, Qt::white}, {1182, 250, Qt::white}, {900, 220, Qt::white}, {300, 532, Qt::blue},
                      {300, 528, Qt::white}, {300, 972, Qt::white},  {315, 750, Qt::white}, {900, 750, Qt::black},
                      {640, 535, Qt::black}, {630, 750, Qt::white}};
        for (const auto& p : points)
            QCOMPARE(QColor(sheet.pixel(p.x, p.y)), QColor(p.colour));
        // The questions shown are the first Extra questions naming each figure, in pool order.
        QStringList found;
        for (const Question& q : sample->questions)
            found.append(q.id + u':' + q.figure.value_or(QString()));
        const QList<Question>& extra = f.store->pack().pools[2].questions;
        QCOMPARE(found, (QStringList{extra[0].id + u":E6-1"_s, extra[1].id + u":E7-1"_s, extra[4].id + u":E6-3"_s}));
        QCOMPARE(sample->questions.first().prompt, extra[0].prompt);
    }

    void sampleUnavailableWithoutFigures_data()
    {
        QTest::addColumn<QString>("asset");
        QTest::addColumn<QString>("value");
        QTest::newRow("missing") << "E6-1.png" << QString();
        QTest::newRow("not an image") << "E6-3.png" << QString::fromLatin1(QByteArray("plain text").toBase64());
    }

    void sampleUnavailableWithoutFigures()
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
        QCOMPARE(f.store->message(), u"The sample diagram is unavailable."_s);
    }

    void sampleReviewNeedsEveryFigure()
    {
        Fixture f(samplePack());
        const DiagramReview sample = *f.store->demoDiagramReview();
        bool parsed = false;
        f.store->setParser([&](const QByteArray&, const QUrl&, const QString&, const Corrections&) {
            parsed = true;
            return Pack();
        });
        QMap<QString, QString> crops{{u"E6-1"_s, u"AAAA"_s}, {u"E6-2"_s, u"AAAA"_s}, {u"E6-3"_s, u"AAAA"_s}};
        f.store->saveDiagramReview(sample, crops);
        QCOMPARE(f.store->message(), u"Select every sample figure first."_s);

        f.store->setMessage(QString());
        crops.insert(u"E7-1"_s, u"AAAA"_s);
        const QStringList filesBefore = QDir(f.folder()).entryList(QDir::Files);
        f.store->saveDiagramReview(sample, crops);
        QCOMPARE(f.store->message(), QString());
        QCOMPARE(QDir(f.folder()).entryList(QDir::Files), filesBefore);
        QVERIFY(f.store->diagramCorrections().isEmpty());
        QVERIFY(!f.store->checking());
        QVERIFY(!parsed);
    }

    void confirmedReviewStoresCropsAndRetries()
    {
        const DiagramReview review = pendingReview();
        Fixture f(Fixtures::threeLevelPack(), [&](const QString& folder) {
            Fixtures::writeFile(folder + u"/diagram-review.json"_s, review.toBytes());
        });
        const QMap<QString, QString> crops{{u"E6-1"_s, u"QUFB"_s}, {u"E6-2"_s, u"QkJC"_s}};
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
        QCOMPARE(CorrectionsJson::fromBytes(Fixtures::readFile(f.file(u"diagram-corrections.json"_s))), expected);
        QVERIFY(!f.store->diagramReview());
        QVERIFY(!QFile::exists(f.file(u"diagram-review.json"_s)));
        QVERIFY(f.store->checking()); // the update is retried at once
        f.waitForCheck();
        QCOMPARE(retriedWith, expected);
    }

    void confirmationsMergePerDocument()
    {
        const Corrections stored{{u"d1d1"_s, {{u"E6-1"_s, u"b2xk"_s}, {u"E6-2"_s, u"b2xk"_s}}},
                                 {u"e2e2"_s, {{u"E9-1"_s, u"b3Ro"_s}}}};
        Fixture f(Fixtures::threeLevelPack(), [&](const QString& folder) {
            Fixtures::writeFile(folder + u"/diagram-corrections.json"_s, CorrectionsJson::toBytes(stored));
        });
        f.store->setParser([](const QByteArray&, const QUrl&, const QString&, const Corrections&) { return Pack(); });
        f.store->setRefresher([](const Pack& pack, const Corrections&) { return pack; });
        f.store->saveDiagramReview(pendingReview(), {{u"E6-2"_s, u"bmV3"_s}, {u"E6-3"_s, u"bmV3"_s}});
        const Corrections expected{
            {u"d1d1"_s, {{u"E6-1"_s, u"b2xk"_s}, {u"E6-2"_s, u"bmV3"_s}, {u"E6-3"_s, u"bmV3"_s}}},
            {u"e2e2"_s, {{u"E9-1"_s, u"b3Ro"_s}}}};
        QCOMPARE(f.store->diagramCorrections(), expected);
        f.waitForCheck();
    }

    void failedReviewTestKeepsReviewPending_data()
    {
        QTest::addColumn<QString>("failure");
        QTest::addColumn<QString>("description");
        QTest::newRow("crops still miss a figure") << "review" << UpdateError(UpdateError::figures).description();
        QTest::newRow("document unreadable") << "format" << UpdateError(UpdateError::format).description();
        QTest::newRow("corrections not writable") << "write" << QString();
    }

    void failedReviewTestKeepsReviewPending()
    {
        QFETCH(QString, failure);
        QFETCH(QString, description);
        const DiagramReview review = pendingReview();
        const Corrections stored{{u"e2e2"_s, {{u"E9-1"_s, u"b3Ro"_s}}}};
        Fixture f(Fixtures::threeLevelPack(), [&](const QString& folder) {
            Fixtures::writeFile(folder + u"/diagram-review.json"_s, review.toBytes());
            // A folder in the way of the corrections file makes its atomic write fail (even for the superuser).
            if (failure == "write"_L1)
                QDir().mkpath(folder + u"/diagram-corrections.json"_s);
            else
                Fixtures::writeFile(folder + u"/diagram-corrections.json"_s, CorrectionsJson::toBytes(stored));
        });
        const Corrections before = failure == "write"_L1 ? Corrections() : stored;
        f.store->setParser([&](const QByteArray&, const QUrl&, const QString&, const Corrections&) -> Pack {
            if (failure == "review"_L1)
                throw OfficialUpdates::ReviewRequest(review);
            if (failure == "format"_L1)
                throw UpdateError(UpdateError::format);
            return Pack();
        });
        bool retried = false;
        f.store->setRefresher([&](const Pack& pack, const Corrections&) {
            retried = true;
            return pack;
        });
        const QByteArray correctionsBefore = Fixtures::readFile(f.file(u"diagram-corrections.json"_s));
        f.store->saveDiagramReview(review, {{u"E6-1"_s, u"QUFB"_s}});

        const QString prefix = u"Could not finish diagram review: "_s;
        QVERIFY2(f.store->message().startsWith(prefix), qPrintable(f.store->message()));
        if (!description.isEmpty())
            QCOMPARE(f.store->message(), prefix + description);
        QVERIFY(f.store->message().size() > prefix.size());
        QCOMPARE(f.store->diagramReview(), review);
        QCOMPARE(f.store->diagramCorrections(), before);
        QCOMPARE(Fixtures::readFile(f.file(u"diagram-corrections.json"_s)), correctionsBefore);
        QVERIFY(QFile::exists(f.file(u"diagram-review.json"_s)));
        QVERIFY(!f.store->checking());
        QVERIFY(!retried);
    }
};

AEROWEN_TEST_MAIN(StoreUpdatesTest, QGuiApplication)
#include "StoreUpdatesTest.moc"
