// The store's pool check, its status lines and files, and the figure review it leads to.
#include "store/Settings.h"
#include "store/Store.h"
#include "support/FixtureDocuments.h"
#include "support/Fixtures.h"
#include "support/TestEnvironment.h"
#include "updater/OfficialUpdates.h"

#include <QSignalSpy>
#include <QTest>
#include <QThread>

#include <sys/resource.h>
#include <unistd.h>

using OfficialUpdates::UpdateError;
using FD = FixtureDocuments;

class StoreUpdatesTest : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    std::unique_ptr<Store> m_store;
    QString file(const QString& name) const { return m_dir.filePath("storage/" + name); }
    static int niceness() { return getpriority(PRIO_PROCESS, static_cast<id_t>(::gettid())); }
    // Runs one check with the given refresher and waits for its end.
    void check(const Store::Refresher& refresher)
    {
        QSignalSpy finished(m_store.get(), &Store::updateCheckFinished);
        m_store->setRefresher(refresher);
        m_store->checkUpdates();
        QVERIFY(m_store->checking());
        QVERIFY(finished.wait(10000));
        QVERIFY(!m_store->checking());
    }

private slots:
    void checksAndReviewsKeepTheLearnersPools()
    {
        // The built-in pack carries the four sample figures, each a solid colour with its own proportions, and Extra
        // questions naming them; a review and corrections are left from earlier runs.
        Pack pack = Fixtures::threeLevelPack();
        pack.assets = {{"E6-1.png", FD::base64(FD::png(0xff0000, 100, 50))},
                       {"E6-2.png", FD::base64(FD::png(0x00ff00, 1200, 100))},
                       {"E6-3.png", FD::base64(FD::png(0x0000ff, 50, 1000))},
                       {"E7-1.png", FD::base64(FD::png(0x000000, 600, 500))}};
        QList<Question>& extra = pack.pools[2].questions;
        extra[0].prompt = "What does Figure E6-1 show?";
        extra[1].prompt = "What is shown in figure E7-1?";
        extra[2].prompt = "Which part of Figure E6-4 is the gate?";
        extra[3].prompt = "Compare Figure E6-4 with Figure E6-2.";
        extra[4].prompt = "In Figure E6–3, what is the emitter?"; // en dash as printed in the pools
        pack.pools[0].questions[0].prompt = "Technician question about Figure E6-1?";
        DiagramReview review{std::nullopt,     "docx",    "https://www.ncvec.org/d/x.docx", "extra", "d1d1", {"sheet"},
                             {"E6-1", "E6-2"}, {extra[0]}};
        const Corrections stored{{"d1d1", {{"E6-1", "b2xk"}, {"E6-2", "b2xk"}}}, {"e2e2", {{"E9-1", "b3Ro"}}}};
        Fixtures::writeFile(m_dir.filePath("pools.json"), pack.toBytes());
        QDir().mkpath(file(""));
        Fixtures::writeFile(file("diagram-review.json"), review.toBytes());
        Fixtures::writeFile(file("diagram-corrections.json"), CorrectionsJson::toBytes(stored));
        m_store = std::make_unique<Store>(m_dir.filePath("pools.json"), m_dir.filePath("storage"));

        // A check runs on its own thread, behind the interface, with copies; a second request meanwhile is ignored.
        Pack fresh = pack;
        fresh.pools.first().revision = "2026-03-01";
        int calls = 0, workerNiceness = 0;
        std::optional<std::pair<Pack, Corrections>> given;
        QThread* thread = nullptr;
        m_store->setRefresher([&](const Pack& p, const Corrections& c) {
            given = {p, c};
            thread = QThread::currentThread();
            workerNiceness = niceness();
            QThread::msleep(300);
            ++calls;
            return fresh;
        });
        QSignalSpy first(m_store.get(), &Store::updateCheckFinished);
        m_store->checkUpdates();
        QCOMPARE(m_store->updateStatus(), "Checking the official NCVEC question pools…");
        m_store->checkUpdates();
        QVERIFY(m_store->checking() && first.wait(10000));
        QTest::qWait(100);
        QCOMPARE(first.count(), 1);
        QCOMPARE(calls, 1);
        QVERIFY(given == std::make_pair(pack, stored));
        QVERIFY(thread != QThread::currentThread() && workerNiceness > niceness());
        QCOMPARE(m_store->pack(), fresh);
        QCOMPARE(Pack::fromBytes(Fixtures::readFile(file("official-pools.json"))), fresh);
        const QString stamp = Settings::open()->value(Settings::lastPoolCheck).toString();
        QCOMPARE(stamp, QLocale::system().toString(QDateTime::currentDateTime(), QLocale::ShortFormat));
        QCOMPARE(m_store->updateStatus(), "Official NCVEC pools checked " + stamp + ". Ready for offline use.");
        QCOMPARE(m_store->diagramReview(), review); // a pending review stays pending

        // Failed checks say why and change nothing.
        const QString unavailable = "Update check unavailable. Your installed pools remain usable offline. ";
        const QByteArray installed = Fixtures::readFile(file("official-pools.json"));
        const QList<std::pair<std::function<void()>, QString>> failures{
            {[] { throw UpdateError(UpdateError::download); }, "The official NCVEC source could not be downloaded."},
            {[] { throw UpdateError(UpdateError::format); },
             "The official source format has changed or failed validation. The installed pools were kept."},
            {[] { throw UpdateError(UpdateError::figures); },
             "Official diagram labels could not all be verified. The installed pools were kept."},
            {[] { throw DataError(); }, "The data is not valid."},
            {[] { throw std::runtime_error("curl could not be started"); }, "curl could not be started"}};
        for (const auto& [thrower, why] : failures) {
            QSignalSpy packs(m_store.get(), &Store::packChanged);
            check([&](const Pack&, const Corrections&) -> Pack { return thrower(), Pack(); });
            QCOMPARE(m_store->updateStatus(), unavailable + why);
            QCOMPARE(packs.count(), 0);
            QCOMPARE(Fixtures::readFile(file("official-pools.json")), installed);
            QCOMPARE(m_store->diagramReview(), review);
        }
        // A pack that cannot be written is not put in use either (a folder in the way fails the atomic write).
        QVERIFY(QFile::remove(file("official-pools.json")) && QDir().mkpath(file("official-pools.json")));
        check([](const Pack& p, const Corrections&) { return Fixtures::pack(p.pools.mid(1)); });
        QVERIFY(m_store->updateStatus().startsWith(unavailable) && m_store->updateStatus() != unavailable);
        QCOMPARE(m_store->pack(), fresh);
        QVERIFY(QDir().rmdir(file("official-pools.json")));

        // Figures that need the learner replace the pending review, in the store and in its file.
        review.labels = {"E6-2", "E6-3"};
        check([&](const Pack&, const Corrections&) -> Pack { throw OfficialUpdates::ReviewRequest(review); });
        QCOMPARE(m_store->updateStatus(),
                 "Diagrams need review. Open Updates → Review Diagrams. Your installed pools remain available.");
        QCOMPARE(m_store->diagramReview(), review);
        QCOMPARE(DiagramReview::fromBytes(Fixtures::readFile(file("diagram-review.json"))), review);
        QCOMPARE(m_store->pack(), fresh);

        // A confirmed review is tested with parse first; crops that do not pass, or corrections that cannot be
        // written, leave everything as it was.
        QList<std::tuple<QByteArray, QUrl, QString, Corrections>> parses;
        QString failure;
        m_store->setParser([&](const QByteArray& d, const QUrl& s, const QString& l, const Corrections& c) -> Pack {
            parses.append({d, s, l, c});
            if (failure == "review")
                throw OfficialUpdates::ReviewRequest(review);
            if (failure == "format")
                throw UpdateError(UpdateError::format);
            return {};
        });
        const QString prefix = "Could not finish diagram review: ";
        for (const QString& kind : {"review", "format", "write"}) {
            failure = kind;
            if (kind == "write")
                QVERIFY(QFile::remove(file("diagram-corrections.json")) &&
                        QDir().mkpath(file("diagram-corrections.json")));
            m_store->saveDiagramReview(review, {{"E6-2", "QUFB"}});
            const QString why =
                kind == "write"
                    ? m_store->message().mid(prefix.size())
                    : UpdateError(kind == "review" ? UpdateError::figures : UpdateError::format).description();
            QCOMPARE(m_store->message(), prefix + why);
            QVERIFY(!why.isEmpty() && !m_store->checking());
            QCOMPARE(m_store->diagramReview(), review);
            QCOMPARE(m_store->diagramCorrections(), stored);
            QVERIFY(QFile::exists(file("diagram-review.json")));
            if (kind != "write")
                QCOMPARE(CorrectionsJson::fromBytes(Fixtures::readFile(file("diagram-corrections.json"))), stored);
        }
        QVERIFY(QDir().rmdir(file("diagram-corrections.json")));

        // Crops that pass are merged into the stored ones, the review closes and the update is retried with them.
        failure.clear();
        parses.clear();
        m_store->setMessage(QString());
        const Corrections merged{{"d1d1", {{"E6-1", "b2xk"}, {"E6-2", "QUFB"}, {"E6-3", "QkJC"}}},
                                 {"e2e2", {{"E9-1", "b3Ro"}}}};
        std::optional<Corrections> retriedWith;
        m_store->setRefresher([&](const Pack& p, const Corrections& c) {
            retriedWith = c;
            return p;
        });
        QSignalSpy finished(m_store.get(), &Store::updateCheckFinished);
        m_store->saveDiagramReview(review, {{"E6-2", "QUFB"}, {"E6-3", "QkJC"}});
        QCOMPARE(parses, (QList<std::tuple<QByteArray, QUrl, QString, Corrections>>{
                             {review.document, QUrl(review.source), review.level, merged}}));
        QCOMPARE(m_store->message(), QString());
        QCOMPARE(m_store->diagramCorrections(), merged);
        QCOMPARE(CorrectionsJson::fromBytes(Fixtures::readFile(file("diagram-corrections.json"))), merged);
        QVERIFY(!m_store->diagramReview() && !QFile::exists(file("diagram-review.json")));
        QVERIFY(m_store->checking() && finished.wait(10000));
        QCOMPARE(retriedWith, merged);

        // The sample review: four figures placed on one sheet, each scaled into its quarter and centred.
        const std::optional<DiagramReview> sample = m_store->demoDiagramReview();
        QVERIFY(sample && sample->isDemo == true && sample->document.isEmpty() && sample->images.size() == 1);
        QCOMPARE(sample->source, OfficialUpdates::officialRoot().toString());
        QCOMPARE(sample->level + ' ' + sample->documentKey + ' ' + sample->labels.join(' '),
                 "extra demo E6-1 E6-2 E6-3 E7-1");
        const QImage sheet = QImage::fromData(sample->images.first(), "PNG");
        QCOMPARE(sheet.size(), QSize(1200, 1000));
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
        // Its questions are the Extra questions whose first figure is a sample one, in pool order.
        QStringList found;
        for (const Question& q : sample->questions)
            found.append(q.prompt + ':' + q.figure.value_or(QString()));
        QCOMPARE(found, (QStringList{extra[0].prompt + ":E6-1", extra[1].prompt + ":E7-1", extra[4].prompt + ":E6-3"}));
        // Finishing it needs a crop for every figure, and then changes nothing.
        const QStringList files = QDir(file("")).entryList(QDir::Files);
        QMap<QString, QString> crops{{"E6-1", "AAAA"}, {"E6-2", "AAAA"}, {"E6-3", "AAAA"}};
        m_store->saveDiagramReview(*sample, crops);
        QCOMPARE(m_store->message(), "Select every sample figure first.");
        m_store->setMessage(QString());
        crops.insert("E7-1", "AAAA");
        m_store->saveDiagramReview(*sample, crops);
        QCOMPARE(m_store->message(), QString());
        QCOMPARE(QDir(file("")).entryList(QDir::Files), files);
        QVERIFY(!m_store->checking() && parses.size() == 1 && m_store->diagramCorrections() == merged);
        // Without every sample figure there is no sample.
        for (const QString& value : {QString(), FD::base64("not an image")}) {
            m_store->setMessage(QString());
            check([&](const Pack& p, const Corrections&) {
                Pack without = p;
                if (value.isNull())
                    without.assets.remove("E6-1.png");
                else
                    without.assets.insert("E6-3.png", value);
                return without;
            });
            QVERIFY(!m_store->demoDiagramReview());
            QCOMPARE(m_store->message(), "The sample diagram is unavailable.");
        }
    }
};

AEROWEN_TEST(StoreUpdatesTest)
#include "StoreUpdatesTest.moc"
