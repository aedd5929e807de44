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

using namespace OfficialUpdates;
using FD = FixtureDocuments;

class StoreUpdatesTest : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    std::unique_ptr<Store> m_store;

    QString file(const QString& name) const { return m_dir.filePath("storage/" + name); }
    QByteArray read(const QString& name) const { return Fixtures::readFile(file(name)); }
    static int niceness() { return getpriority(PRIO_PROCESS, static_cast<id_t>(gettid())); }
    // Runs one check with the given refresher to its end and returns the status line.
    QString check(const Store::Refresher& refresher)
    {
        QSignalSpy finished(m_store.get(), &Store::updateCheckFinished);
        m_store->setRefresher(refresher);
        m_store->checkUpdates();
        return m_store->checking() && finished.wait(10000) && !m_store->checking() ? m_store->updateStatus() : "";
    }

private slots:
    void checksAndReviewsKeepTheLearnersPools()
    {
        // The built-in pack carries the four sample figures (solid colours of their own proportions) and Extra
        // questions naming them; a review and corrections are left from earlier runs.
        Pack pack = Fixtures::threeLevelPack();
        for (const auto& [label, colour, width, height] : {std::tuple("E6-1", 0xff0000, 100, 50),
                                                           {"E6-2", 0x00ff00, 1200, 100},
                                                           {"E6-3", 0x0000ff, 50, 1000},
                                                           {"E7-1", 0x000000, 600, 500}})
            pack.assets.insert(label + QString(".png"), FD::base64(FD::png(colour, width, height)));
        QList<Question>& extra = pack.pools[2].questions;
        const QStringList prompts{"Is it Figure E6-1?", "Is it figure E7-1?", "Is it Figure E6-4?",
                                  "Figure E6-4 or Figure E6-2?", "Is it Figure E6–3?"};
        for (int i = 0; i < prompts.size(); ++i)
            extra[i].prompt = prompts[i];
        pack.pools[0].questions[0].prompt = "A technician question about Figure E6-1?";
        DiagramReview review{std::nullopt,     "docx",    "https://www.ncvec.org/d/x.docx", "extra", "d1d1", {"sheet"},
                             {"E6-1", "E6-2"}, {extra[0]}};
        const Corrections stored{{"d1d1", {{"E6-1", "b2xk"}, {"E6-2", "b2xk"}}}, {"e2e2", {{"E9-1", "b3Ro"}}}};
        Fixtures::writeFile(m_dir.filePath("pools.json"), pack.toBytes());
        QDir().mkpath(file(""));
        Fixtures::writeFile(file("diagram-review.json"), review.toBytes());
        Fixtures::writeFile(file("diagram-corrections.json"), CorrectionsJson::toBytes(stored));
        m_store = std::make_unique<Store>(m_dir.filePath("pools.json"), m_dir.filePath("storage"));

        // A check runs on its own thread behind the interface, with copies; a second request meanwhile is ignored.
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
        QVERIFY(first.count() == 1 && calls == 1 && given == std::make_pair(pack, stored));
        QVERIFY(thread != QThread::currentThread() && workerNiceness > niceness());
        QCOMPARE(m_store->pack(), fresh);
        QCOMPARE(Pack::fromBytes(read("official-pools.json")), fresh);
        const QString stamp = Settings::open()->value(Settings::lastPoolCheck).toString();
        const QDateTime now = QDateTime::currentDateTime(); // the stamp is the end of the check, in the learner's style
        QVERIFY2(stamp == QLocale::system().toString(now, QLocale::ShortFormat) ||
                     stamp == QLocale::system().toString(now.addSecs(-1), QLocale::ShortFormat),
                 qPrintable(stamp));
        QCOMPARE(m_store->updateStatus(), "Official NCVEC pools checked " + stamp + ". Ready for offline use.");
        QCOMPARE(m_store->diagramReview(), review); // a pending review stays pending

        // Failed checks say why and change nothing, not even when only the new pack's file cannot be written.
        const QString unavailable = "Update check unavailable. Your installed pools remain usable offline. ";
        const QByteArray installed = read("official-pools.json");
        for (int kind : {0, 1, 2, -1, -2}) { // download, format and figures errors; invalid data; a platform error
            const QString why = kind >= 0    ? UpdateError(UpdateError::Case(kind)).description()
                                : kind == -1 ? "The data is not valid."
                                             : "curl could not be started";
            QSignalSpy packs(m_store.get(), &Store::packChanged);
            QCOMPARE(check([kind](const Pack&, const Corrections&) -> Pack {
                         if (kind >= 0)
                             throw UpdateError(UpdateError::Case(kind));
                         if (kind == -1)
                             throw DataError();
                         throw std::runtime_error("curl could not be started");
                     }),
                     unavailable + why);
            QVERIFY(packs.isEmpty() && read("official-pools.json") == installed && m_store->diagramReview() == review);
        }
        QVERIFY(QFile::remove(file("official-pools.json")) && QDir().mkpath(file("official-pools.json")));
        const QString status = check([](const Pack& p, const Corrections&) { return Fixtures::pack(p.pools.mid(1)); });
        QVERIFY(status.startsWith(unavailable) && status != unavailable && m_store->pack() == fresh);
        QVERIFY(QDir().rmdir(file("official-pools.json")));

        // Figures that need the learner replace the pending review, in the store and in its file.
        review.labels = {"E6-2", "E6-3"};
        QCOMPARE(check([&](const Pack&, const Corrections&) -> Pack { throw ReviewRequest(review); }),
                 "Diagrams need review. Open Updates → Review Diagrams. Your installed pools remain available.");
        QVERIFY(m_store->diagramReview() == review && m_store->pack() == fresh);
        QCOMPARE(DiagramReview::fromBytes(read("diagram-review.json")), review);

        // A confirmed review is first tested with parse; crops that do not pass, or corrections that cannot be
        // written, leave everything as it was.
        QList<std::tuple<QByteArray, QUrl, QString, Corrections>> parses;
        std::exception_ptr failure;
        m_store->setParser([&](const QByteArray& d, const QUrl& s, const QString& l, const Corrections& c) -> Pack {
            parses.append({d, s, l, c});
            if (failure)
                std::rethrow_exception(failure);
            return {};
        });
        const QString prefix = "Could not finish diagram review: ";
        for (const auto& [error, why] : std::initializer_list<std::pair<std::exception_ptr, QString>>{
                 {std::make_exception_ptr(ReviewRequest(review)), UpdateError(UpdateError::figures).description()},
                 {std::make_exception_ptr(UpdateError(UpdateError::format)),
                  UpdateError(UpdateError::format).description()},
                 {nullptr, ""}}) {
            failure = error;
            if (!error) // a folder in the way of the corrections file fails its atomic write
                QVERIFY(QFile::remove(file("diagram-corrections.json")) &&
                        QDir().mkpath(file("diagram-corrections.json")));
            m_store->saveDiagramReview(review, {{"E6-2", "QUFB"}});
            QVERIFY2(m_store->message().startsWith(prefix + why) && m_store->message() != prefix,
                     qPrintable(m_store->message()));
            QVERIFY(!m_store->checking() && m_store->diagramReview() == review &&
                    m_store->diagramCorrections() == stored);
            QVERIFY(QFile::exists(file("diagram-review.json")));
            QVERIFY(!error || CorrectionsJson::fromBytes(read("diagram-corrections.json")) == stored);
        }
        QVERIFY(QDir().rmdir(file("diagram-corrections.json")));

        // Crops that pass are merged into the stored ones, the review closes and the update is retried with them.
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
        QVERIFY(m_store->message().isEmpty() && m_store->diagramCorrections() == merged);
        QCOMPARE(CorrectionsJson::fromBytes(read("diagram-corrections.json")), merged);
        QVERIFY(!m_store->diagramReview() && !QFile::exists(file("diagram-review.json")));
        QVERIFY(m_store->checking() && finished.wait(10000) && retriedWith == merged);

        // The sample review: four figures on one sheet, each scaled into its quarter and centred; its questions are
        // the Extra questions whose first figure is a sample one, in pool order.
        const std::optional<DiagramReview> sample = m_store->demoDiagramReview();
        QVERIFY(sample && sample->isDemo == true && sample->document.isEmpty() && sample->images.size() == 1);
        QCOMPARE(sample->source + ' ' + sample->level + ' ' + sample->documentKey + ' ' + sample->labels.join(' '),
                 officialRoot().toString() + " extra demo E6-1 E6-2 E6-3 E7-1");
        QStringList found;
        for (const Question& q : sample->questions)
            found.append(q.prompt + ' ' + q.figure.value_or(""));
        QCOMPARE(found, (QStringList{"Is it Figure E6-1? E6-1", "Is it figure E7-1? E7-1", "Is it Figure E6–3? E6-3"}));
        // E6-1 100x50 -> 560x280 top left; E6-2 1200x100 -> 560x47 top right; E6-3 50x1000 -> 22x440 bottom left;
        // E7-1 600x500 -> 528x440 bottom right; the rest stays white.
        const QImage sheet = QImage::fromData(sample->images.first(), "PNG");
        QCOMPARE(sheet.size(), QSize(1200, 1000));
        QString colours;
        for (const auto& [x, y] : {std::pair(22, 250),
                                   {578, 250},
                                   {300, 115},
                                   {622, 250},
                                   {900, 220},
                                   {300, 532},
                                   {300, 972},
                                   {315, 750},
                                   {640, 535},
                                   {18, 250},
                                   {582, 250},
                                   {300, 105}})
            colours += QString::number(sheet.pixel(x, y) & 0xffffff, 16) + ' ';
        QCOMPARE(colours, "ff0000 ff0000 ff0000 ff00 ffffff ff ffffff ffffff 0 ffffff ffffff ffffff ");
        // Finishing it needs a crop for every figure, and then changes nothing.
        const QStringList files = QDir(file("")).entryList(QDir::Files);
        QMap<QString, QString> crops{{"E6-1", "AAAA"}, {"E6-2", "AAAA"}, {"E6-3", "AAAA"}};
        m_store->saveDiagramReview(*sample, crops);
        QCOMPARE(m_store->message(), "Select every sample figure first.");
        m_store->setMessage(QString());
        crops.insert("E7-1", "AAAA");
        m_store->saveDiagramReview(*sample, crops);
        QVERIFY(m_store->message().isEmpty() && !m_store->checking() && parses.size() == 1);
        QVERIFY(QDir(file("")).entryList(QDir::Files) == files && m_store->diagramCorrections() == merged);
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
