// The update check: which pool pages and documents the refresh takes and which parsed pools it installs, and the
// store's check, its status lines and files, and the figure review it leads to.
#include "store/Settings.h"
#include "store/Store.h"
#include "support/FixtureDocuments.h"
#include "support/Fixtures.h"
#include "support/Outcome.h"
#include "support/TestEnvironment.h"
#include "updater/Refresh.h"

#include <QSignalSpy>
#include <QTest>
#include <QThread>

#include <sys/resource.h>

using namespace OfficialUpdates;
using FD = FixtureDocuments;

namespace {

// An official site held in memory: pages by name, each listing hrefs (separated by ";"); the "general" entry is
// what every page not named lists. Pages and documents named "gone" cannot be fetched. Parse gives the pack of the
// first document key found in the file name.
struct FakeSite
{
    QMap<QString, QString> pages{
        {"amateur-question-pools", "technician-question-pool;general-question-pool;extra-question-pool"},
        {"technician-question-pool", "/d/Tech Feb 19 2026.docx"},
        {"extra-question-pool", "/d/Extra Feb 4 2026.docx"},
        {"2022-2026-technician-question-pool", "/d/Tech Mar 7 2022.docx"},
        {"general", "/d/General Feb 4 2026.docx"}};
    QMap<QString, Pack> documents{
        {"Tech Feb 19", Fixtures::pack({Fixtures::pool("technician", "tech-new", "2026-07-01", "2026-03-01")})},
        {"Tech Mar 7 2022", Fixtures::pack({Fixtures::pool("technician", "tech-2022", "2022-07-01", "2022-03-07")})},
        {"General", Fixtures::pack({Fixtures::threeLevelPack().pools[1]})},
        {"Extra", Fixtures::pack({Fixtures::threeLevelPack().pools[2]})}};
    QStringList parsed; // level and file name of every document parsed, in order

    Pack refresh(const Pack& pack, const Corrections& corrections = {}, const QString& today = "2026-11-22")
    {
        const Fetch fetch = [this](const QUrl& url) {
            if (url.fileName().contains("gone") || !pages.contains("amateur-question-pools"))
                throw UpdateError(UpdateError::download);
            QByteArray html = "document";
            for (const QString& href : pages.value(url.fileName(), pages["general"]).split(';'))
                html += "<li><a href=\"" + href.toUtf8() + "\">pool</a></li>\n";
            return url.path().startsWith("/d/") ? QByteArray("document") : html;
        };
        const Parse parse = [this](const QByteArray&, const QUrl& source, const QString& level, const Corrections&) {
            parsed.append(level + ':' + source.fileName());
            for (auto it = documents.cbegin(); it != documents.cend(); ++it)
                if (source.fileName().contains(it.key()))
                    return it.value();
            throw UpdateError(UpdateError::format);
        };
        return OfficialUpdates::refresh(pack, corrections, fetch, parse, today);
    }
};

// The installed pool, the parsed one, the parsed pack and the corrections of one installation case.
struct Case
{
    Pool &o, &n;
    Pack& pack;
    Corrections corrections;
    Question& q() { return n.questions[3]; }
};
using Situation = std::function<void(Case&)>;

} // namespace

Q_DECLARE_METATYPE(Situation)

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
    void pagesAndDocumentsTakenOrRefused()
    {
        // today | pages on the index (none: the usual three) | the General documents | what was parsed, or the failure
        for (const QStringList& r : table(R"(
            2026-11-22 |                                                      |                       | ALL
            2026-06-30 | 2022-2026-technician-question-pool;technician-question-pool;general-question-pool;extra-question-pool | | technician:Tech Mar 7 2022.docx ALL
            2026-07-01 | 2022-2026-technician-question-pool;technician-question-pool;general-question-pool;extra-question-pool | | ALL
            2026-11-22 | 2026-2030-TECHNICIAN-question-pool;technician-question-pool;general-question-pool;extra-question-pool | | technician:General Feb 4 2026.docx ALL
            2026-11-22 | general-and-technician-question-pool;technician-question-pool;general-question-pool;extra-question-pool | | technician:General Feb 4 2026.docx ALL
            2026-11-22 | extra-general-question-pool;technician-question-pool;general-question-pool;extra-question-pool | | general:General Feb 4 2026.docx ALL
            2026-11-22 | technician-question-pool;http://ncvec.org/index.php/technician-question-pool;general-question-pool;extra-question-pool;technician-question-pool | | ALL
            2026-11-22 | | /d/General Nov 8 2024.docx;/d/General January 20 2022.docx;/d/General March 7 2025.docx | technician:Tech Feb 19 2026.docx general:General March 7 2025.docx extra:Extra Feb 4 2026.docx
            2026-11-22 | | /d/General Pool.docx;/d/A General Feb 4 2026.docx;/d/B General Feb 4 2026.docx | technician:Tech Feb 19 2026.docx general:A General Feb 4 2026.docx extra:Extra Feb 4 2026.docx
            2026-11-22 | mission-statement                                    |                       | format
            2026-11-22 | technician-question-pool;general-question-pool;https://example.com/index.php/extra-question-pool | | format
            2026-11-22 | technician-question-pool;general-question-pool       |                       | format
            2026-11-22 |                                                      | /d/General Pool.docx  | format
            2026-11-22 |                                                      | /d/General Feb 4 2026.pdf | format
            2026-11-22 |                                  | https://mirror.example/General Feb 4 2026.docx | format
            2026-11-22 | gone                                                 |                       | download
            2026-11-22 | technician-question-pool;general-question-pool;extra-gone-question-pool | | download
            2026-11-22 |                                                      | /d/General gone Feb 4 2026.docx | download)")) {
            FakeSite fake;
            if (r[1] == "gone")
                fake.pages.remove("amateur-question-pools");
            else if (!r[1].isEmpty())
                fake.pages["amateur-question-pools"] = r[1];
            if (!r[2].isEmpty())
                fake.pages["general"] = r[2];
            const QString failure = outcome([&] { fake.refresh(Fixtures::threeLevelPack(), {}, r[0]); });
            const QString all =
                "technician:Tech Feb 19 2026.docx general:General Feb 4 2026.docx extra:Extra Feb 4 2026.docx";
            QCOMPARE(failure.isEmpty() ? fake.parsed.join(' ').replace(all, "ALL") : failure, r[3]);
        }
        // A new pack that fails validation fails the whole refresh (as a failing parse does: the hostile documents
        // of the end-to-end test).
        FakeSite fake;
        fake.documents["Tech Feb 19"].pools.first().examCount = 30;
        QCOMPARE(outcome([&] { fake.refresh(Fixtures::threeLevelPack()); }), "invalid");
    }

    void installationRule_data()
    {
        QTest::addColumn<Situation>("situation");
        QTest::addColumn<bool>("install");
        const auto row = [](const char* name, bool install, const Situation& s) {
            QTest::newRow(name) << s << install;
        };
        row("no installed pool of that period", true,
            [](Case& c) { c.o.validFrom = "2022-07-01", c.o.validUntil = "2026-07-01"; });
        row("older revision", false, [](Case& c) { c.n.revision = "2026-02-18"; });
        row("equal revision", false, [](Case&) {});
        row("newer revision", true, [](Case& c) { c.n.revision = "2026-02-20"; });
        row("digests differ", true, [](Case& c) { c.n.documentHash = "bbbb"; });
        row("only the new one has a digest", true, [](Case& c) { c.o.documentHash.reset(); });
        row("only the old one has a digest", true, [](Case& c) { c.n.documentHash.reset(); });
        row("prompt differs", true, [](Case& c) { c.q().prompt += " (revised)"; });
        row("answers differ", true, [](Case& c) { c.q().answers[2] = "Another"; });
        row("key differs", true, [](Case& c) { c.q().correct = (c.q().correct + 1) % 4; });
        row("reference differs", true, [](Case& c) { c.q().reference = "[97.119]"; });
        row("question id differs", true, [](Case& c) { c.q().id = c.q().group + "99"; });
        row("one question more", true,
            [](Case& c) { c.n.questions.append(c.q()), c.n.questions.last().id = c.q().group + "98"; });
        row("only a figure differs", false,
            [](Case& c) { c.q().figure = "T-1.png", c.pack.assets.insert("T-1.png", "AAAA"); });
        row("same document, reviewed", true, [](Case& c) { c.corrections["aaaa"] = {{"T1", "AAAA"}}; });
        row("no digests, reviewed", true, [](Case& c) {
            c.o.documentHash.reset(), c.n.documentHash.reset();
            c.corrections[QString()] = {{"T1", "AAAA"}};
        });
        row("other document reviewed", false, [](Case& c) { c.corrections["cccc"] = {{"T1", "AAAA"}}; });
    }
    void installationRule()
    {
        QFETCH(Situation, situation);
        QFETCH(bool, install);
        FakeSite fake;
        Pack installed = Fixtures::threeLevelPack(), &parsed = fake.documents["Tech Feb 19"];
        installed.assets = {{"kept.png", "b2xk"}, {"marker.png", "b2xk"}};
        Pool& old = installed.pools.first();
        old.documentHash = "aaaa";
        Pool fresh = old;
        fresh.id = "tech-parsed"; // not part of the rule; only tells which pool ended up installed
        Case c{old, fresh, parsed, {}};
        situation(c);
        parsed.pools = {fresh};
        parsed.assets.insert("marker.png", "bmV3");
        const Pack result = fake.refresh(installed, c.corrections);
        // A new period is installed beside the old one; the figures of a replaced pool stay.
        QCOMPARE(result.pools.contains(fresh), install);
        QCOMPARE(result.pools.contains(old), !install || old.validFrom != fresh.validFrom);
        QCOMPARE(result.pools.size(), 3 + (install && old.validFrom != fresh.validFrom));
        QCOMPARE(result.assets["marker.png"] + result.assets["kept.png"], install ? "bmV3b2xk" : "b2xkb2xk");
    }

    void checksAndReviewsKeepTheLearnersPools()
    {
        // A review and corrections are left from earlier runs.
        const Pack pack = Fixtures::threeLevelPack();
        DiagramReview review{std::nullopt, "docx",           "https://www.ncvec.org/d/x.docx", "extra", "d1d1",
                             {"sheet"},    {"E6-1", "E6-2"}, {pack.pools[2].questions.first()}};
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
        // An error of the platform, not of the updater (its own are the end-to-end test's hostile rows).
        QSignalSpy packs(m_store.get(), &Store::packChanged);
        QCOMPARE(check([](const Pack&, const Corrections&) -> Pack { throw std::runtime_error("no curl"); }),
                 unavailable + "no curl");
        QVERIFY(packs.isEmpty() && read("official-pools.json") == installed && m_store->diagramReview() == review);
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
            QVERIFY(m_store->diagramReview() == review && m_store->diagramCorrections() == stored);
            QVERIFY(!m_store->checking() && QFile::exists(file("diagram-review.json")));
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

        // Finishing the sample review needs a crop for every figure, and then changes nothing.
        const DiagramReview sample{true, {}, {}, "extra", "demo", {}, {"E6-1", "E6-2", "E6-3", "E7-1"}, {}};
        const QStringList files = QDir(file("")).entryList(QDir::Files);
        QMap<QString, QString> crops{{"E6-1", "AAAA"}, {"E6-2", "AAAA"}, {"E6-3", "AAAA"}};
        m_store->saveDiagramReview(sample, crops);
        QCOMPARE(m_store->message(), "Select every sample figure first.");
        m_store->setMessage(QString());
        crops.insert("E7-1", "AAAA");
        m_store->saveDiagramReview(sample, crops);
        QVERIFY(m_store->message().isEmpty() && !m_store->checking() && parses.size() == 1);
        QVERIFY(QDir(file("")).entryList(QDir::Files) == files && m_store->diagramCorrections() == merged);
        QVERIFY(!m_store->demoDiagramReview()); // this pack has no sample figures
        QCOMPARE(m_store->message(), "The sample diagram is unavailable.");
    }
};

AEROWEN_TEST(StoreUpdatesTest)
#include "StoreUpdatesTest.moc"
