// The update driver: which pool pages and documents are taken, and which parsed pools are installed.
#include "updater/Refresh.h"
#include "support/Fixtures.h"
#include "support/TestEnvironment.h"

#include <QTest>

using namespace OfficialUpdates;

namespace {

const QString site = QStringLiteral("https://www.ncvec.org");
const QString techPage = QStringLiteral("/index.php/2026-2030-technician-question-pool");
const QString generalPage = QStringLiteral("/index.php/2023-2027-general-question-pool-release");
const QString extraPage = QStringLiteral("/index.php/2024-2028-extra-class-question-pool-release");

QString link(const QString& href)
{
    return QStringLiteral("<li><a href=\"%1\">pool</a></li>\n").arg(href);
}

// An official site held in memory: pages by absolute address, and parsed pools by document address.
struct FakeSite
{
    QMap<QString, QByteArray> pages;
    QMap<QString, Pack> documents;
    QStringList fetched;
    QList<QPair<QString, QString>> parsed; // document address, level
    std::function<void(const QString& address)> parseHook;

    FakeSite()
    {
        setIndex(link(techPage) + link(generalPage) + link(extraPage));
        addPool(techPage, QStringLiteral("Tech Pool Public Release Feb 19 2026.docx"),
                Fixtures::pool(QStringLiteral("technician"), QStringLiteral("tech-new"), QStringLiteral("2026-07-01"),
                               QStringLiteral("2026-03-01")));
        addPool(generalPage, QStringLiteral("General Pool 6th Errata Feb 4 2026.docx"),
                Fixtures::pool(QStringLiteral("general"), QStringLiteral("general-2023"), QStringLiteral("2023-07-01"),
                               QStringLiteral("2026-02-04")));
        addPool(extraPage, QStringLiteral("Extra Pool 4th Errata Feb 4 2026.docx"),
                Fixtures::pool(QStringLiteral("extra"), QStringLiteral("extra-2024"), QStringLiteral("2024-07-01"),
                               QStringLiteral("2026-02-04")));
    }

    void setIndex(const QString& body)
    {
        pages.insert(site + QStringLiteral("/index.php/amateur-question-pools"), body.toUtf8());
    }
    static QString documentAddress(const QString& name)
    {
        return officialURL(QStringLiteral("/downloads/") + name, QUrl(site)).toString(QUrl::FullyEncoded);
    }
    void addPool(const QString& page, const QString& name, const Pool& pool)
    {
        pages.insert(site + page, link(QStringLiteral("/downloads/") + name).toUtf8());
        pages.insert(documentAddress(name), "document bytes");
        documents.insert(documentAddress(name), Fixtures::pack({pool}));
    }

    Fetch fetch()
    {
        return [this](const QUrl& url) {
            const QString address = url.toString(QUrl::FullyEncoded);
            fetched.append(address);
            if (!pages.contains(address))
                throw UpdateError(UpdateError::download);
            return pages.value(address);
        };
    }
    Parse parse()
    {
        return [this](const QByteArray&, const QUrl& source, const QString& level, const Corrections&) {
            const QString address = source.toString(QUrl::FullyEncoded);
            parsed.append({address, level});
            if (parseHook)
                parseHook(address);
            if (!documents.contains(address))
                throw UpdateError(UpdateError::format);
            return documents.value(address);
        };
    }
    Pack refresh(const Pack& pack, const Corrections& corrections = {},
                 const QString& today = QStringLiteral("2026-11-22"))
    {
        return OfficialUpdates::refresh(pack, corrections, fetch(), parse(), today);
    }
};

const Pool* findPool(const Pack& pack, const QString& level, const QString& validFrom)
{
    for (const Pool& p : pack.pools)
        if (p.level == level && p.validFrom == validFrom)
            return &p;
    return nullptr;
}

// The kind of failure a refresh ended with, or "" when it returned a pack.
QString failureOf(const std::function<void()>& run)
{
    try {
        run();
    } catch (const UpdateError& e) {
        return e.which() == UpdateError::format ? QStringLiteral("format") : QStringLiteral("update error");
    } catch (const ReviewRequest&) {
        return QStringLiteral("review");
    } catch (const DataError&) {
        return QStringLiteral("invalid");
    } catch (...) {
        return QStringLiteral("other");
    }
    return QString();
}

} // namespace

class RefreshTest : public QObject
{
    Q_OBJECT

private slots:
    void installsNewerPoolsAndKeepsTheRest();
    void installationRule_data();
    void installationRule();
    void failures_data();
    void failures();
    void periodCutOff_data();
    void periodCutOff();
    void levelFromPageAddress_data();
    void levelFromPageAddress();
    void newestDatedDocumentWins_data();
    void newestDatedDocumentWins();
    void samePageVisitedOnce();
    void olderDocumentStillCountsItsLevel();
};

void RefreshTest::installsNewerPoolsAndKeepsTheRest()
{
    FakeSite fake;
    Pool extra =
        fake.documents.value(FakeSite::documentAddress(QStringLiteral("Extra Pool 4th Errata Feb 4 2026.docx")))
            .pools.first();
    extra.questions.first().figure = QStringLiteral("E5-1.png");
    Pack extraPack = Fixtures::pack({extra});
    extraPack.assets.insert(QStringLiteral("E5-1.png"), QStringLiteral("AAAA"));
    extraPack.assets.insert(QStringLiteral("shared.png"), QStringLiteral("bmV3"));
    fake.documents.insert(FakeSite::documentAddress(QStringLiteral("Extra Pool 4th Errata Feb 4 2026.docx")),
                          extraPack);

    Pack installed = Fixtures::threeLevelPack();
    installed.pools.first().id = QStringLiteral("tech-old");
    installed.assets.insert(QStringLiteral("shared.png"), QStringLiteral("b2xk"));
    installed.assets.insert(QStringLiteral("old.png"), QStringLiteral("b2xk"));
    Pool upcoming = Fixtures::pool(QStringLiteral("technician"), QStringLiteral("tech-2030"),
                                   QStringLiteral("2030-07-01"), QStringLiteral("2029-12-01"));
    installed.pools.append(upcoming);

    const Pack result = fake.refresh(installed);
    QStringList ids;
    for (const Pool& p : result.pools)
        ids.append(p.id);
    // The technician document is a newer revision and goes to the end; general is the installed document again;
    // extra differs from the installed pool only in a figure, which is no reason to install; a period the site
    // no longer lists stays installed.
    QCOMPARE(ids, (QStringList{QStringLiteral("general-2023"), QStringLiteral("extra-2024"),
                               QStringLiteral("tech-2030"), QStringLiteral("tech-new")}));
    QCOMPARE(result.assets.value(QStringLiteral("old.png")), QStringLiteral("b2xk"));
    QCOMPARE(result.assets.value(QStringLiteral("shared.png")), QStringLiteral("b2xk")); // extra was not installed
    QCOMPARE(fake.parsed.size(), 3);
    QCOMPARE(fake.parsed.at(0).second, QStringLiteral("technician"));
}

void RefreshTest::installationRule_data()
{
    QTest::addColumn<QString>("situation");
    QTest::addColumn<bool>("install");

    QTest::newRow("no installed pool of that period") << "missing" << true;
    QTest::newRow("older revision") << "older" << false;
    QTest::newRow("newer revision") << "newer" << true;
    QTest::newRow("digests differ") << "hash differs" << true;
    QTest::newRow("only the new one has a digest") << "hash only new" << true;
    QTest::newRow("only the old one has a digest") << "hash only old" << true;
    QTest::newRow("prompt differs") << "prompt" << true;
    QTest::newRow("answers differ") << "answers" << true;
    QTest::newRow("key differs") << "correct" << true;
    QTest::newRow("reference differs") << "reference" << true;
    QTest::newRow("question id differs") << "id" << true;
    QTest::newRow("one question more") << "count" << true;
    QTest::newRow("only a figure differs") << "figure" << false;
    QTest::newRow("same document") << "same" << false;
    QTest::newRow("same document, reviewed") << "reviewed" << true;
    QTest::newRow("same document without digest, reviewed") << "reviewed no digest" << true;
    QTest::newRow("same document, other document reviewed") << "other reviewed" << false;
}

void RefreshTest::installationRule()
{
    QFETCH(QString, situation);
    QFETCH(bool, install);

    FakeSite fake;
    const QString address = FakeSite::documentAddress(QStringLiteral("Tech Pool Public Release Feb 19 2026.docx"));
    Pool old = Fixtures::pool(QStringLiteral("technician"), QStringLiteral("tech-installed"),
                              QStringLiteral("2026-07-01"), QStringLiteral("2026-02-19"));
    old.documentHash = QStringLiteral("aaaa");
    Pool fresh = old;
    fresh.id = QStringLiteral("tech-parsed"); // not part of the rule; only tells which pool ended up installed
    Pack parsed;
    Corrections corrections;
    const auto question = [&](Pool& p) -> Question& { return p.questions[3]; };

    if (situation == QLatin1StringView("missing"))
        old.validFrom = QStringLiteral("2022-07-01"), old.validUntil = QStringLiteral("2026-07-01");
    else if (situation == QLatin1StringView("older"))
        fresh.revision = QStringLiteral("2026-02-18");
    else if (situation == QLatin1StringView("newer"))
        fresh.revision = QStringLiteral("2026-02-20");
    else if (situation == QLatin1StringView("hash differs"))
        fresh.documentHash = QStringLiteral("bbbb");
    else if (situation == QLatin1StringView("hash only new"))
        old.documentHash.reset();
    else if (situation == QLatin1StringView("hash only old"))
        fresh.documentHash.reset();
    else if (situation == QLatin1StringView("prompt"))
        question(fresh).prompt += QStringLiteral(" (revised)");
    else if (situation == QLatin1StringView("answers"))
        question(fresh).answers[2] = QStringLiteral("Another answer");
    else if (situation == QLatin1StringView("correct"))
        question(fresh).correct = (question(fresh).correct + 1) % 4;
    else if (situation == QLatin1StringView("reference"))
        question(fresh).reference = QStringLiteral("[97.119]");
    else if (situation == QLatin1StringView("id"))
        question(fresh).id = question(fresh).group + QStringLiteral("99");
    else if (situation == QLatin1StringView("count")) {
        Question extra = question(fresh);
        extra.id = extra.group + QStringLiteral("98");
        fresh.questions.append(extra);
    } else if (situation == QLatin1StringView("figure")) {
        question(fresh).figure = QStringLiteral("T-1.png");
        parsed.assets.insert(QStringLiteral("T-1.png"), QStringLiteral("AAAA"));
    } else if (situation == QLatin1StringView("reviewed"))
        corrections.insert(QStringLiteral("aaaa"), {{QStringLiteral("T-1"), QStringLiteral("AAAA")}});
    else if (situation == QLatin1StringView("reviewed no digest")) {
        old.documentHash.reset();
        fresh.documentHash.reset();
        corrections.insert(QString(), {{QStringLiteral("T-1"), QStringLiteral("AAAA")}});
    } else if (situation == QLatin1StringView("other reviewed"))
        corrections.insert(QStringLiteral("cccc"), {{QStringLiteral("T-1"), QStringLiteral("AAAA")}});

    parsed.pools = {fresh};
    parsed.assets.insert(QStringLiteral("marker.png"), QStringLiteral("AAAA"));
    fake.documents.insert(address, parsed);
    Pack installed = Fixtures::threeLevelPack();
    installed.pools.first() = old;

    const Pack result = fake.refresh(installed, corrections);
    const Pool* current = findPool(result, QStringLiteral("technician"), QStringLiteral("2026-07-01"));
    QVERIFY(current);
    QCOMPARE(current->id, install ? fresh.id : old.id);
    QCOMPARE(*current, install ? fresh : old);
    QCOMPARE(result.assets.contains(QStringLiteral("marker.png")), install);
    if (situation == QLatin1StringView("missing"))
        QVERIFY(findPool(result, QStringLiteral("technician"), QStringLiteral("2022-07-01"))); // kept beside it
}

void RefreshTest::failures_data()
{
    QTest::addColumn<QString>("change");
    QTest::addColumn<QString>("failure");

    QTest::newRow("no pool links") << "no links"
                                   << "format";
    QTest::newRow("pool link on another host") << "foreign page"
                                               << "format";
    QTest::newRow("pool link with credentials") << "credentials"
                                                << "format";
    QTest::newRow("page without a dated document") << "undated"
                                                   << "format";
    QTest::newRow("page without documents") << "no documents"
                                            << "format";
    QTest::newRow("document on another host") << "foreign document"
                                              << "format";
    QTest::newRow("only two levels") << "two levels"
                                     << "format";
    QTest::newRow("page cannot be fetched") << "missing page"
                                            << "update error";
    QTest::newRow("document cannot be fetched") << "missing document"
                                                << "update error";
    QTest::newRow("figures need review") << "review"
                                         << "review";
    QTest::newRow("new pack does not validate") << "invalid pool"
                                                << "invalid";
}

void RefreshTest::failures()
{
    QFETCH(QString, change);
    QFETCH(QString, failure);

    FakeSite fake;
    const QString techDocument = FakeSite::documentAddress(QStringLiteral("Tech Pool Public Release Feb 19 2026.docx"));
    if (change == QLatin1StringView("no links"))
        fake.setIndex(QStringLiteral("<a href=\"/index.php/mission-statement\">About</a>"));
    else if (change == QLatin1StringView("foreign page"))
        fake.setIndex(link(techPage) + link(generalPage) +
                      link(QStringLiteral("https://example.com/index.php/2024-2028-extra-class-question-pool")));
    else if (change == QLatin1StringView("credentials"))
        fake.setIndex(link(QStringLiteral("https://me:pw@ncvec.org") + techPage) + link(generalPage) + link(extraPage));
    else if (change == QLatin1StringView("undated"))
        fake.pages.insert(site + generalPage, link(QStringLiteral("/downloads/General Pool.docx")).toUtf8());
    else if (change == QLatin1StringView("no documents"))
        fake.pages.insert(site + generalPage, link(QStringLiteral("/downloads/General Pool Feb 4 2026.pdf")).toUtf8());
    else if (change == QLatin1StringView("foreign document"))
        fake.pages.insert(site + extraPage,
                          link(QStringLiteral("https://mirror.example/downloads/Extra Feb 4 2026.docx")).toUtf8());
    else if (change == QLatin1StringView("two levels"))
        fake.setIndex(link(techPage) + link(generalPage));
    else if (change == QLatin1StringView("missing page"))
        fake.pages.remove(site + extraPage);
    else if (change == QLatin1StringView("missing document"))
        fake.pages.remove(techDocument);
    else if (change == QLatin1StringView("review"))
        fake.parseHook = [](const QString&) { throw ReviewRequest(DiagramReview{}); };
    else if (change == QLatin1StringView("invalid pool"))
        fake.documents[techDocument].pools.first().examCount = 30;

    QCOMPARE(failureOf([&] { fake.refresh(Fixtures::threeLevelPack()); }), failure);
}

void RefreshTest::periodCutOff_data()
{
    QTest::addColumn<QString>("today");
    QTest::addColumn<bool>("processed");
    QTest::newRow("last day of the period") << "2026-06-30" << true;
    QTest::newRow("period over") << "2026-07-01" << false;
    QTest::newRow("long over") << "2026-11-22" << false;
}

void RefreshTest::periodCutOff()
{
    QFETCH(QString, today);
    QFETCH(bool, processed);
    FakeSite fake;
    const QString oldPage = QStringLiteral("/index.php/2022-2026-Technician-Question-Pool-Release");
    fake.setIndex(link(oldPage) + link(techPage) + link(generalPage) + link(extraPage));
    fake.addPool(oldPage, QStringLiteral("Tech 2022 Pool Errata Mar 7 2022.docx"),
                 Fixtures::pool(QStringLiteral("technician"), QStringLiteral("tech-2022"), QStringLiteral("2022-07-01"),
                                QStringLiteral("2022-03-07")));
    const Pack result = fake.refresh(Fixtures::threeLevelPack(), {}, today);
    QCOMPARE(fake.fetched.contains(site + oldPage), processed);
    QCOMPARE(findPool(result, QStringLiteral("technician"), QStringLiteral("2022-07-01")) != nullptr, processed);
}

void RefreshTest::levelFromPageAddress_data()
{
    QTest::addColumn<QString>("page");
    QTest::addColumn<QString>("level");
    QTest::newRow("technician") << "/index.php/2026-2030-technician-question-pool"
                                << "technician";
    QTest::newRow("upper case") << "/index.php/2026-2030-TECHNICIAN-question-pool"
                                << "technician";
    QTest::newRow("general") << "/index.php/2023-2027-general-question-pool-release"
                             << "general";
    QTest::newRow("extra") << "/index.php/2024-2028-extra-class-question-pool-release"
                           << "extra";
    QTest::newRow("technician before general") << "/index.php/general-and-technician-question-pool"
                                               << "technician";
    QTest::newRow("general before extra") << "/index.php/extra-general-question-pool"
                                          << "general";
}

void RefreshTest::levelFromPageAddress()
{
    QFETCH(QString, page);
    QFETCH(QString, level);
    FakeSite fake;
    fake.setIndex(link(page) + link(techPage) + link(generalPage) + link(extraPage));
    // Whatever the page, it lists the general document unless it is one of the real pages; only the level
    // handed to parse for the first page matters here.
    if (!fake.pages.contains(site + page))
        fake.pages.insert(site + page, fake.pages.value(site + generalPage));
    fake.refresh(Fixtures::threeLevelPack());
    QVERIFY(!fake.parsed.isEmpty());
    QCOMPARE(fake.parsed.first().second, level);
}

void RefreshTest::newestDatedDocumentWins_data()
{
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<QString>("chosen");
    QTest::newRow("later date") << QStringList{"General Pool January 20 2022.docx", "General Pool March 7 2022.docx"}
                                << "General Pool March 7 2022.docx";
    QTest::newRow("later date listed first")
        << QStringList{"General Pool 6th Errata Feb 4 2026.docx", "General Pool 5th Errata Nov 8 2024.docx"}
        << "General Pool 6th Errata Feb 4 2026.docx";
    QTest::newRow("equal dates keep page order")
        << QStringList{"B General Feb 4 2026.docx", "A General Feb 4 2026.docx"} << "B General Feb 4 2026.docx";
    QTest::newRow("undated ignored") << QStringList{"General Pool.docx", "General Pool Sept. 3, 2024.docx"}
                                     << "General Pool Sept. 3, 2024.docx";
}

void RefreshTest::newestDatedDocumentWins()
{
    QFETCH(QStringList, names);
    QFETCH(QString, chosen);
    FakeSite fake;
    QString listing;
    for (const QString& name : names) {
        listing += link(QStringLiteral("/downloads/") + name);
        fake.pages.insert(FakeSite::documentAddress(name), "document");
        fake.documents.insert(FakeSite::documentAddress(name), fake.documents.first()); // never used but by mistake
    }
    fake.pages.insert(site + generalPage, listing.toUtf8());
    fake.documents.insert(FakeSite::documentAddress(chosen),
                          Fixtures::pack({Fixtures::pool(QStringLiteral("general"), QStringLiteral("general-2023"),
                                                         QStringLiteral("2023-07-01"), QStringLiteral("2026-02-04"))}));
    fake.refresh(Fixtures::threeLevelPack());
    QCOMPARE(fake.parsed.at(1), qMakePair(FakeSite::documentAddress(chosen), QStringLiteral("general")));
}

void RefreshTest::samePageVisitedOnce()
{
    FakeSite fake;
    // The same page written two ways (relative, and absolute on the bare host) is one address once canonical.
    fake.setIndex(link(techPage) + link(QStringLiteral("http://ncvec.org") + techPage) + link(generalPage) +
                  link(extraPage) + link(techPage));
    fake.refresh(Fixtures::threeLevelPack());
    QCOMPARE(fake.fetched.count(site + techPage), 1);
    QCOMPARE(fake.parsed.size(), 3);
}

void RefreshTest::olderDocumentStillCountsItsLevel()
{
    FakeSite fake;
    Pack installed = Fixtures::threeLevelPack();
    installed.pools[2].revision = QStringLiteral("2026-05-01"); // newer than the extra document on the site
    const Pack result = fake.refresh(installed);
    QCOMPARE(*findPool(result, QStringLiteral("extra"), QStringLiteral("2024-07-01")), installed.pools[2]);
}

AEROWEN_TEST_MAIN(RefreshTest, QCoreApplication)
#include "RefreshTest.moc"
