// The update driver: which pool pages and documents are taken, and which parsed pools are installed.
#include "updater/Refresh.h"
#include "support/Fixtures.h"
#include "support/Outcome.h"
#include "support/TestEnvironment.h"

#include <QTest>

using namespace OfficialUpdates;

namespace {

// An official site held in memory. The index lists the pages given (T, G and E stand for the current pool pages);
// each pool page lists one document, the General page those given. Pages and documents named "gone" cannot be
// fetched. Parse gives the pack of the first document key found in the file name.
struct FakeSite
{
    QString index = "T G E", general = "General Feb 4 2026.docx";
    QMap<QString, Pack> documents{
        {"Tech Feb 19", Fixtures::pack({Fixtures::pool("technician", "tech-new", "2026-07-01", "2026-03-01")})},
        {"Tech Mar 7 2022", Fixtures::pack({Fixtures::pool("technician", "tech-2022", "2022-07-01", "2022-03-07")})},
        {"General", Fixtures::pack({Fixtures::threeLevelPack().pools[1]})},
        {"Extra", Fixtures::pack({Fixtures::threeLevelPack().pools[2]})}};
    QStringList parsed; // level and file name of every document parsed, in order

    static QByteArray links(const QStringList& hrefs)
    {
        QByteArray html;
        for (const QString& href : hrefs)
            html += "<li><a href=\"" + href.toUtf8() + "\">pool</a></li>\n";
        return html;
    }
    QByteArray page(const QString& name) const
    {
        const QMap<QString, QString> pages{{"T", "2026-2030-technician-question-pool"},
                                           {"G", "2023-2027-general-question-pool"},
                                           {"E", "2024-2028-extra-class-question-pool"}};
        if (name == "amateur-question-pools") {
            QStringList hrefs = index.split(' ');
            for (QString& href : hrefs)
                href = pages.value(href, href);
            return links(hrefs);
        }
        QStringList names = name == pages["T"]   ? QStringList{"Tech Feb 19 2026.docx"}
                            : name == pages["E"] ? QStringList{"Extra Feb 4 2026.docx"}
                            : name == "2022-2026-technician-question-pool-release" ? QStringList{"Tech Mar 7 2022.docx"}
                                                                                   : general.split(';');
        for (QString& href : names)
            href = href.contains("://") ? href : "/d/" + href;
        return links(names);
    }
    Pack refresh(const Pack& pack, const Corrections& corrections = {}, const QString& today = "2026-11-22")
    {
        const Fetch fetch = [this](const QUrl& url) {
            if (url.fileName().contains("gone") || (url.fileName() == "amateur-question-pools" && index == "-"))
                throw UpdateError(UpdateError::download);
            return url.path().startsWith("/d/") ? QByteArray("document") : page(url.fileName());
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

// Changes the installed pool, the parsed one, the parsed pack and the corrections of one installation case.
using Situation = std::function<void(Pool& installed, Pool& parsed, Pack& pack, Corrections& corrections)>;

} // namespace

Q_DECLARE_METATYPE(Situation)

class RefreshTest : public QObject
{
    Q_OBJECT

private slots:
    void pagesAndDocumentsTakenOrRefused()
    {
        // today | pages on the index | documents on the General page | the documents parsed, or the failure
        for (const QStringList& r : table(R"(
            2026-11-22 | T G E                                           |                         | ALL
            2026-06-30 | 2022-2026-technician-question-pool-release T G E |                        | technician:Tech Mar 7 2022.docx ALL
            2026-07-01 | 2022-2026-technician-question-pool-release T G E |                        | ALL
            2026-11-22 | 2026-2030-TECHNICIAN-question-pool T G E        |                         | technician:General Feb 4 2026.docx ALL
            2026-11-22 | general-and-technician-question-pool T G E      |                         | technician:General Feb 4 2026.docx ALL
            2026-11-22 | extra-general-question-pool T G E               |                         | general:General Feb 4 2026.docx ALL
            2026-11-22 | T http://ncvec.org/index.php/2026-2030-technician-question-pool G E T | | ALL
            2026-11-22 | T G E | General Nov 8 2024.docx;General January 20 2022.docx;General March 7 2025.docx | technician:Tech Feb 19 2026.docx general:General March 7 2025.docx extra:Extra Feb 4 2026.docx
            2026-11-22 | T G E | General Pool.docx;A General Feb 4 2026.docx;B General Feb 4 2026.docx | technician:Tech Feb 19 2026.docx general:A General Feb 4 2026.docx extra:Extra Feb 4 2026.docx
            2026-11-22 | mission-statement                               |                         | format
            2026-11-22 | T G https://example.com/index.php/E             |                         | format
            2026-11-22 | https://me:pw@ncvec.org/index.php/T G E         |                         | format
            2026-11-22 | T G                                             |                         | format
            2026-11-22 | T G E                                           | General Pool.docx       | format
            2026-11-22 | T G E                                           | General Feb 4 2026.pdf  | format
            2026-11-22 | T G E                     | https://mirror.example/General Feb 4 2026.docx | format
            2026-11-22 | -                                               |                         | download
            2026-11-22 | T G extra-gone-question-pool                          |                         | download
            2026-11-22 | T G E                                           | General gone Feb 4 2026.docx | download)")) {
            FakeSite fake;
            fake.index = r[1];
            if (!r[2].isEmpty())
                fake.general = r[2];
            const QString failure = outcome([&] { fake.refresh(Fixtures::threeLevelPack(), {}, r[0]); });
            const QString all =
                "technician:Tech Feb 19 2026.docx general:General Feb 4 2026.docx extra:Extra Feb 4 2026.docx";
            QCOMPARE(failure.isEmpty() ? fake.parsed.join(' ').replace(all, "ALL") : failure, r[3]);
        }
        // A failure of parse, a review request included, or of the new pack's validation fails the whole refresh.
        FakeSite fake;
        fake.documents["Tech Feb 19"].pools.first().examCount = 30;
        QCOMPARE(outcome([&] { fake.refresh(Fixtures::threeLevelPack()); }), "invalid");
        fake.documents.clear();
        QCOMPARE(outcome([&] { fake.refresh(Fixtures::threeLevelPack()); }), "format");
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
            o.validFrom = "2022-07-01";
            o.validUntil = "2026-07-01";
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
            q(n).figure = "T-1.png";
            p.assets.insert("T-1.png", "AAAA");
        });
        row("same document, reviewed", true, [](Pool&, Pool&, Pack&, Corrections& c) { c["aaaa"] = {{"T1", "AAAA"}}; });
        row("no digests, reviewed", true, [](Pool& o, Pool& n, Pack&, Corrections& c) {
            o.documentHash.reset();
            n.documentHash.reset();
            c[QString()] = {{"T1", "AAAA"}};
        });
        row("other document reviewed", false, [](Pool&, Pool&, Pack&, Corrections& c) {
            c["cccc"] = {{"T1", "AAAA"}};
        });
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
        Corrections corrections;
        situation(old, fresh, parsed, corrections);
        parsed.pools = {fresh};
        parsed.assets.insert("marker.png", "bmV3");
        const Pack result = fake.refresh(installed, corrections);
        // A new period is installed beside the old one; the figures of a replaced pool stay.
        QCOMPARE(result.pools.contains(fresh), install);
        QCOMPARE(result.pools.contains(old), !install || old.validFrom != fresh.validFrom);
        QCOMPARE(result.pools.size(), 3 + (install && old.validFrom != fresh.validFrom));
        QCOMPARE(result.assets.value("marker.png") + result.assets.value("kept.png"),
                 install ? "bmV3b2xk" : "b2xkb2xk");
    }
};

AEROWEN_TEST(RefreshTest)
#include "RefreshTest.moc"
