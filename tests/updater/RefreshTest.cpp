// The update driver: which pool pages and documents are taken, and which parsed pools are installed.
#include "updater/Refresh.h"
#include "support/Fixtures.h"
#include "support/Outcome.h"
#include "support/TestEnvironment.h"

#include <QTest>

using namespace OfficialUpdates;
using namespace Qt::StringLiterals;

namespace {

const QString site = QStringLiteral("https://www.ncvec.org");
const QString techPage = QStringLiteral("/index.php/2026-2030-technician-question-pool");
const QString generalPage = QStringLiteral("/index.php/2023-2027-general-question-pool-release");
const QString extraPage = QStringLiteral("/index.php/2024-2028-extra-class-question-pool-release");
const QString techName = QStringLiteral("Tech Pool Public Release Feb 19 2026.docx");

QString link(const QString& href)
{
    return QStringLiteral("<li><a href=\"%1\">pool</a></li>\n").arg(href);
}

Pool pool(const char* level, const char* id, const char* validFrom, const char* revision)
{
    return Fixtures::pool(QLatin1StringView(level), QLatin1StringView(id), QLatin1StringView(validFrom),
                          QLatin1StringView(revision));
}

// An official site held in memory: pages by absolute address, and parsed pools by document address.
struct FakeSite
{
    QMap<QString, QByteArray> pages;
    QMap<QString, Pack> documents;
    QStringList fetched;
    QList<QPair<QString, QString>> parsed; // document address, level
    bool review = false;

    FakeSite()
    {
        setIndex(link(techPage) + link(generalPage) + link(extraPage));
        addPool(techPage, techName, pool("technician", "tech-new", "2026-07-01", "2026-03-01"));
        addPool(generalPage, "General Pool 6th Errata Feb 4 2026.docx",
                pool("general", "general-2023", "2023-07-01", "2026-02-04"));
        addPool(extraPage, "Extra Pool 4th Errata Feb 4 2026.docx",
                pool("extra", "extra-2024", "2024-07-01", "2026-02-04"));
    }
    void setIndex(const QString& body) { pages.insert(site + "/index.php/amateur-question-pools", body.toUtf8()); }
    static QString documentAddress(const QString& name)
    {
        return officialURL(QStringLiteral("/downloads/") + name, QUrl(site)).toString(QUrl::FullyEncoded);
    }
    void addPool(const QString& page, const QString& name, const Pool& p)
    {
        pages.insert(site + page, link(QStringLiteral("/downloads/") + name).toUtf8());
        pages.insert(documentAddress(name), "document bytes");
        documents.insert(documentAddress(name), Fixtures::pack({p}));
    }
    Pack refresh(const Pack& pack, const Corrections& corrections = {}, const QString& today = "2026-11-22")
    {
        const Fetch fetch = [this](const QUrl& url) {
            fetched.append(url.toString(QUrl::FullyEncoded));
            if (!pages.contains(fetched.last()))
                throw UpdateError(UpdateError::download);
            return pages.value(fetched.last());
        };
        const Parse parse = [this](const QByteArray&, const QUrl& source, const QString& level, const Corrections&) {
            const QString address = source.toString(QUrl::FullyEncoded);
            parsed.append({address, level});
            if (review)
                throw ReviewRequest(DiagramReview{});
            if (!documents.contains(address))
                throw UpdateError(UpdateError::format);
            return documents.value(address);
        };
        return OfficialUpdates::refresh(pack, corrections, fetch, parse, today);
    }
};

const Pool* findPool(const Pack& pack, const QString& level, const QString& validFrom)
{
    for (const Pool& p : pack.pools)
        if (p.level == level && p.validFrom == validFrom)
            return &p;
    return nullptr;
}

// Changes the installed pool, the parsed one, the parsed pack and the corrections of one installation case.
using Situation = std::function<void(Pool& installed, Pool& parsed, Pack& pack, Corrections& corrections)>;
using SiteChange = std::function<void(FakeSite&)>;

} // namespace

Q_DECLARE_METATYPE(Situation)
Q_DECLARE_METATYPE(SiteChange)

class RefreshTest : public QObject
{
    Q_OBJECT

private slots:
    void installsNewerPoolsAndKeepsTheRest()
    {
        FakeSite fake;
        const QString extraAddress = FakeSite::documentAddress("Extra Pool 4th Errata Feb 4 2026.docx");
        Pack& extra = fake.documents[extraAddress];
        extra.pools.first().questions.first().figure = QStringLiteral("E5-1.png");
        extra.assets = {{"E5-1.png", "AAAA"}, {"shared.png", "bmV3"}};

        Pack installed = Fixtures::threeLevelPack();
        installed.pools.first().id = QStringLiteral("tech-old");
        installed.assets.insert(QStringLiteral("shared.png"), QStringLiteral("b2xk"));
        installed.assets.insert(QStringLiteral("old.png"), QStringLiteral("b2xk"));
        installed.pools.append(pool("technician", "tech-2030", "2030-07-01", "2029-12-01"));

        const Pack result = fake.refresh(installed);
        QStringList ids;
        for (const Pool& p : result.pools)
            ids.append(p.id);
        // The technician document is a newer revision and goes to the end; general is the installed document
        // again; extra differs only in a figure, which is no reason to install; a period no longer listed stays.
        QCOMPARE(ids, (QStringList{"general-2023", "extra-2024", "tech-2030", "tech-new"}));
        QCOMPARE(result.assets.value(QStringLiteral("old.png")), QStringLiteral("b2xk"));
        QCOMPARE(result.assets.value(QStringLiteral("shared.png")), QStringLiteral("b2xk"));
        QCOMPARE(fake.parsed.size(), 3);
        QCOMPARE(fake.parsed.at(0).second, QStringLiteral("technician"));
    }

    void installationRule_data()
    {
        QTest::addColumn<Situation>("situation");
        QTest::addColumn<bool>("install");
        const auto q = [](Pool& p) -> Question& { return p.questions[3]; };
        const auto row = [](const char* name, bool install, const Situation& s) {
            QTest::newRow(name) << s << install;
        };
        row("no installed pool of that period", true, [](Pool& o, Pool&, Pack&, Corrections&) {
            o.validFrom = QStringLiteral("2022-07-01");
            o.validUntil = QStringLiteral("2026-07-01");
        });
        row("older revision", false, [](Pool&, Pool& n, Pack&, Corrections&) { n.revision = "2026-02-18"; });
        row("equal revision", false, [](Pool&, Pool&, Pack&, Corrections&) {});
        row("newer revision", true, [](Pool&, Pool& n, Pack&, Corrections&) { n.revision = "2026-02-20"; });
        row("digests differ", true, [](Pool&, Pool& n, Pack&, Corrections&) { n.documentHash = "bbbb"; });
        row("only the new one has a digest", true, [](Pool& o, Pool&, Pack&, Corrections&) { o.documentHash.reset(); });
        row("only the old one has a digest", true, [](Pool&, Pool& n, Pack&, Corrections&) { n.documentHash.reset(); });
        row("prompt differs", true, [q](Pool&, Pool& n, Pack&, Corrections&) { q(n).prompt += " (revised)"; });
        row("answers differ", true, [q](Pool&, Pool& n, Pack&, Corrections&) { q(n).answers[2] = "Another"; });
        row("key differs", true, [q](Pool&, Pool& n, Pack&, Corrections&) { q(n).correct = (q(n).correct + 1) % 4; });
        row("reference differs", true, [q](Pool&, Pool& n, Pack&, Corrections&) { q(n).reference = "[97.119]"; });
        row("question id differs", true, [q](Pool&, Pool& n, Pack&, Corrections&) { q(n).id = q(n).group + "99"; });
        row("one question more", true, [q](Pool&, Pool& n, Pack&, Corrections&) {
            n.questions.append(q(n));
            n.questions.last().id = q(n).group + "98";
        });
        row("only a figure differs", false, [q](Pool&, Pool& n, Pack& p, Corrections&) {
            q(n).figure = QStringLiteral("T-1.png");
            p.assets.insert(QStringLiteral("T-1.png"), QStringLiteral("AAAA"));
        });
        row("same document, reviewed", true, [](Pool&, Pool&, Pack&, Corrections& c) {
            c["aaaa"] = {{"T-1", "AAAA"}};
        });
        row("no digests, reviewed", true, [](Pool& o, Pool& n, Pack&, Corrections& c) {
            o.documentHash.reset();
            n.documentHash.reset();
            c[QString()] = {{"T-1", "AAAA"}};
        });
        row("other document reviewed", false, [](Pool&, Pool&, Pack&, Corrections& c) {
            c["cccc"] = {{"T-1", "AAAA"}};
        });
    }
    void installationRule()
    {
        QFETCH(Situation, situation);
        QFETCH(bool, install);
        FakeSite fake;
        Pool old = pool("technician", "tech-installed", "2026-07-01", "2026-02-19");
        old.documentHash = QStringLiteral("aaaa");
        Pool fresh = old;
        fresh.id = QStringLiteral("tech-parsed"); // not part of the rule; only tells which pool ended up installed
        Pack parsed;
        Corrections corrections;
        situation(old, fresh, parsed, corrections);
        parsed.pools = {fresh};
        parsed.assets.insert(QStringLiteral("marker.png"), QStringLiteral("AAAA"));
        fake.documents.insert(FakeSite::documentAddress(techName), parsed);
        Pack installed = Fixtures::threeLevelPack();
        installed.pools.first() = old;

        const Pack result = fake.refresh(installed, corrections);
        const Pool* current = findPool(result, QStringLiteral("technician"), QStringLiteral("2026-07-01"));
        QVERIFY(current);
        QCOMPARE(*current, install ? fresh : old);
        QCOMPARE(result.assets.contains(QStringLiteral("marker.png")), install);
        if (old.validFrom != fresh.validFrom) // the other period is kept beside the new one
            QVERIFY(findPool(result, QStringLiteral("technician"), old.validFrom));
    }

    void failures_data()
    {
        QTest::addColumn<SiteChange>("change");
        QTest::addColumn<QString>("failure");
        const auto row = [](const char* name, const char* failure, const SiteChange& c) {
            QTest::newRow(name) << c << QString::fromLatin1(failure);
        };
        row("no pool links", "format",
            [](FakeSite& s) { s.setIndex("<a href=\"/index.php/mission-statement\">A</a>"); });
        row("pool page on another host", "format", [](FakeSite& s) {
            s.setIndex(link(techPage) + link(generalPage) + link("https://example.com" + extraPage));
        });
        row("pool link with credentials", "format", [](FakeSite& s) {
            s.setIndex(link("https://me:pw@ncvec.org" + techPage) + link(generalPage) + link(extraPage));
        });
        row("page without a dated document", "format",
            [](FakeSite& s) { s.pages[site + generalPage] = link("/downloads/General Pool.docx").toUtf8(); });
        row("page without documents", "format",
            [](FakeSite& s) { s.pages[site + generalPage] = link("/downloads/General Feb 4 2026.pdf").toUtf8(); });
        row("document on another host", "format", [](FakeSite& s) {
            s.pages[site + extraPage] = link("https://mirror.example/downloads/Extra Feb 4 2026.docx").toUtf8();
        });
        row("only two levels", "format", [](FakeSite& s) { s.setIndex(link(techPage) + link(generalPage)); });
        row("page cannot be fetched", "download", [](FakeSite& s) { s.pages.remove(site + extraPage); });
        row("document cannot be fetched", "download",
            [](FakeSite& s) { s.pages.remove(FakeSite::documentAddress(techName)); });
        row("figures need review", "review", [](FakeSite& s) { s.review = true; });
        row("new pack does not validate", "invalid",
            [](FakeSite& s) { s.documents[FakeSite::documentAddress(techName)].pools.first().examCount = 30; });
    }
    void failures()
    {
        QFETCH(SiteChange, change);
        QFETCH(QString, failure);
        FakeSite fake;
        change(fake);
        QCOMPARE(outcome([&] { fake.refresh(Fixtures::threeLevelPack()); }), failure);
    }

    void periodCutOff_data()
    {
        QTest::addColumn<QString>("today");
        QTest::addColumn<bool>("processed");
        QTest::newRow("last day of the period") << u"2026-06-30"_s << true;
        QTest::newRow("period over") << u"2026-07-01"_s << false;
        QTest::newRow("long over") << u"2026-11-22"_s << false;
    }
    void periodCutOff()
    {
        QFETCH(QString, today);
        QFETCH(bool, processed);
        FakeSite fake;
        const QString oldPage = QStringLiteral("/index.php/2022-2026-Technician-Question-Pool-Release");
        fake.setIndex(link(oldPage) + link(techPage) + link(generalPage) + link(extraPage));
        fake.addPool(oldPage, "Tech 2022 Pool Errata Mar 7 2022.docx",
                     pool("technician", "tech-2022", "2022-07-01", "2022-03-07"));
        const Pack result = fake.refresh(Fixtures::threeLevelPack(), {}, today);
        QCOMPARE(fake.fetched.contains(site + oldPage), processed);
        QCOMPARE(findPool(result, QStringLiteral("technician"), QStringLiteral("2022-07-01")) != nullptr, processed);
    }

    void levelFromPageAddress_data()
    {
        QTest::addColumn<QString>("page");
        QTest::addColumn<QString>("level");
        QTest::newRow("technician") << techPage << u"technician"_s;
        QTest::newRow("upper case") << u"/index.php/2026-2030-TECHNICIAN-question-pool"_s << u"technician"_s;
        QTest::newRow("general") << generalPage << u"general"_s;
        QTest::newRow("extra") << extraPage << u"extra"_s;
        QTest::newRow("technician before general")
            << u"/index.php/general-and-technician-question-pool"_s << u"technician"_s;
        QTest::newRow("general before extra") << u"/index.php/extra-general-question-pool"_s << u"general"_s;
    }
    void levelFromPageAddress()
    {
        QFETCH(QString, page);
        QFETCH(QString, level);
        FakeSite fake;
        fake.setIndex(link(page) + link(techPage) + link(generalPage) + link(extraPage));
        // Any other page lists the general document; only the level handed to parse for the first page matters.
        if (!fake.pages.contains(site + page))
            fake.pages.insert(site + page, fake.pages.value(site + generalPage));
        fake.refresh(Fixtures::threeLevelPack());
        QVERIFY(!fake.parsed.isEmpty());
        QCOMPARE(fake.parsed.first().second, level);
    }

    void newestDatedDocumentWins_data()
    {
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<QString>("chosen");
        QTest::newRow("later date") << QStringList{"General January 20 2022.docx", "General March 7 2022.docx"}
                                    << u"General March 7 2022.docx"_s;
        QTest::newRow("later date listed first")
            << QStringList{"General Feb 4 2026.docx", "General Nov 8 2024.docx"} << u"General Feb 4 2026.docx"_s;
        QTest::newRow("equal dates keep page order")
            << QStringList{"B General Feb 4 2026.docx", "A General Feb 4 2026.docx"} << u"B General Feb 4 2026.docx"_s;
        QTest::newRow("undated ignored") << QStringList{"General Pool.docx", "General Pool Sept. 3, 2024.docx"}
                                         << u"General Pool Sept. 3, 2024.docx"_s;
    }
    void newestDatedDocumentWins()
    {
        QFETCH(QStringList, names);
        QFETCH(QString, chosen);
        FakeSite fake;
        QString listing;
        for (const QString& name : names) {
            listing += link(QStringLiteral("/downloads/") + name);
            fake.pages.insert(FakeSite::documentAddress(name), "document");
            fake.documents.insert(FakeSite::documentAddress(name), fake.documents.first()); // used only by mistake
        }
        fake.pages.insert(site + generalPage, listing.toUtf8());
        fake.documents.insert(FakeSite::documentAddress(chosen),
                              Fixtures::pack({pool("general", "general-2023", "2023-07-01", "2026-02-04")}));
        fake.refresh(Fixtures::threeLevelPack());
        QCOMPARE(fake.parsed.at(1), qMakePair(FakeSite::documentAddress(chosen), QStringLiteral("general")));
    }

    void samePageVisitedOnceAndOlderDocumentKeepsItsLevel()
    {
        FakeSite fake;
        // The same page written two ways (relative, and absolute on the bare host) is one address once canonical.
        fake.setIndex(link(techPage) + link("http://ncvec.org" + techPage) + link(generalPage) + link(extraPage) +
                      link(techPage));
        Pack installed = Fixtures::threeLevelPack();
        installed.pools[2].revision = QStringLiteral("2026-05-01"); // newer than the extra document on the site
        const Pack result = fake.refresh(installed);
        QCOMPARE(fake.fetched.count(site + techPage), 1);
        QCOMPARE(fake.parsed.size(), 3);
        QCOMPARE(*findPool(result, QStringLiteral("extra"), QStringLiteral("2024-07-01")), installed.pools[2]);
    }
};

AEROWEN_TEST_MAIN(RefreshTest, QCoreApplication)
#include "RefreshTest.moc"
