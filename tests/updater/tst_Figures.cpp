// Figure labels, their verification and the figure step of parse with an identify function and reviewed crops.
#include "support/FixtureDocuments.h"
#include "support/TestEnvironment.h"
#include "updater/OfficialUpdates.h"

#include <QCryptographicHash>
#include <QRegularExpression>
#include <QTest>

using namespace OfficialUpdates;
namespace FD = FixtureDocuments;

namespace {

// An identify function that reads labels from a table of image bytes.
Identify byImage(const QMap<QByteArray, QStringList>& table)
{
    return [table](const QByteArray& image) { return table.value(image); };
}

QString sha(const QByteArray& bytes)
{
    return QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex());
}

} // namespace

class TestFigures : public QObject
{
    Q_OBJECT

private:
    QStringList m_before;
    const QByteArray m_red = FD::png(0xff0000);
    const QByteArray m_green = FD::png(0x00ff00);
    const QByteArray m_blue = FD::png(0x0000ff);

    // A technician pool whose prompts of T1A01 and T1A02 mention Figure T1 and Figure T-2.
    static QStringList technicianLines()
    {
        QStringList lines = FD::poolLines(QStringLiteral("technician"));
        lines[FD::questionLine(lines, "T1A01") + 1] = "What is shown in Figure T1?";
        lines[FD::questionLine(lines, "T1A02") + 1] = "What is component 3 in figure T-2?";
        lines[FD::questionLine(lines, "T1A03") + 1] = "Which part of Figure T1 is the antenna?";
        return lines;
    }

    static Pack parseTechnician(const QByteArray& data, const Identify& identify, const Corrections& corrections = {})
    {
        return parse(data, FD::technicianSource(), QStringLiteral("technician"), corrections, identify);
    }

    static DiagramReview reviewOf(const std::function<void()>& run)
    {
        try {
            run();
        } catch (const ReviewRequest& request) {
            return request.review();
        }
        qFatal("no review request");
    }

private slots:
    void initTestCase() { FixtureDocuments::isolateTemporaryFolder(); }
    void init() { m_before = FD::leftoverDocuments(); }
    void cleanup() { QCOMPARE(FD::leftoverDocuments(), m_before); }

    void normalFigureGivesTheCanonicalLabel_data()
    {
        QTest::addColumn<QString>("label");
        QTest::addColumn<QString>("expected");
        QTest::newRow("technician with hyphen") << "t-1"
                                                << "T1";
        QTest::newRow("technician plain") << "T3"
                                          << "T3";
        QTest::newRow("en dash") << "G7–1"
                                 << "G7-1";
        QTest::newRow("no separator") << "E91"
                                      << "E9-1";
        QTest::newRow("lower case") << "e6-2"
                                    << "E6-2";
        QTest::newRow("canonical stays") << "E7-3"
                                         << "E7-3";
        QTest::newRow("hyphen after the letter") << "E-6-1"
                                                 << "E-6-1";
    }
    void normalFigureGivesTheCanonicalLabel()
    {
        QFETCH(QString, label);
        QFETCH(QString, expected);
        QCOMPARE(normalFigure(label), expected);
    }

    void figureLabelPatternFindsPrintedLabels_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("labels");
        QTest::newRow("several forms") << "Figure T-1, figure G7–1 and FIGURE E91" << QStringList{"T-1", "G7–1", "E91"};
        QTest::newRow("line break after the word") << "see figure\nE6-3" << QStringList{"E6-3"};
        QTest::newRow("other letters") << "Figure A1 and Figure 3" << QStringList{};
    }
    void figureLabelPatternFindsPrintedLabels()
    {
        QFETCH(QString, text);
        QFETCH(QStringList, labels);
        QStringList found;
        for (const QStringList& m : matches(figureLabelPattern, text))
            found.append(m.at(1));
        QCOMPARE(found, labels);
    }

    void verifiedLabelsKeepOneReferencedLabel_data()
    {
        QTest::addColumn<QStringList>("labels");
        QTest::addColumn<QStringList>("referenced");
        QTest::addColumn<QStringList>("expected");
        QTest::addColumn<bool>("combined");
        QTest::newRow("same label twice")
            << QStringList{"E6-1", "e6–1"} << QStringList{"E6-1"} << QStringList{"E6-1"} << false;
        QTest::newRow("two labels") << QStringList{"E6-1", "E6-2"} << QStringList{"E6-1", "E6-2"} << QStringList{}
                                    << true;
        QTest::newRow("not referenced") << QStringList{"E7-1"} << QStringList{"E6-1"} << QStringList{} << false;
        QTest::newRow("none") << QStringList{} << QStringList{"E6-1"} << QStringList{} << false;
        QTest::newRow("canonical before comparing")
            << QStringList{"t-2"} << QStringList{"T2"} << QStringList{"T2"} << false;
    }
    void verifiedLabelsKeepOneReferencedLabel()
    {
        QFETCH(QStringList, labels);
        QFETCH(QStringList, referenced);
        QFETCH(QStringList, expected);
        QFETCH(bool, combined);
        const QSet<QString> set(referenced.cbegin(), referenced.cend());
        if (combined) {
            try {
                verifiedLabels(labels, set);
                QFAIL("accepted several figures on one image");
            } catch (const UpdateError& error) {
                QCOMPARE(error.which(), UpdateError::combinedFigures);
            }
            return;
        }
        QCOMPARE(verifiedLabels(labels, set), expected);
    }

    void knownFiguresHoldFourteenDigests()
    {
        const auto& table = knownFigures();
        QCOMPARE(table.size(), 14);
        const QRegularExpression hex(QStringLiteral("^[0-9a-f]{64}$"));
        for (auto it = table.cbegin(); it != table.cend(); ++it)
            QVERIFY2(hex.match(it.key()).hasMatch(), qPrintable(it.key()));
        QCOMPARE(table.value("7e5f000404feeae942c625a773f0a02c3ee3b5bafda2218d6b8b0d3653288462"), QStringLiteral("T1"));
        QCOMPARE(table.value("3f40fe6f2f720f7577fd0b9d9ecd9647719e38074a49563245238ad6d7f5bf2f"),
                 QStringLiteral("G7-1"));
        QCOMPARE(table.value("a56159fd267d8a6d0cb7b247749f9fd4e3b0cfb62d6894380cac0ba8859f7c8f"),
                 QStringLiteral("E9-3"));
        const QStringList labels = table.values();
        QCOMPARE(QSet<QString>(labels.cbegin(), labels.cend()).size(), 14);
    }

    void identifiedImagesBecomeNamedAssets()
    {
        const QByteArray data =
            FD::document(technicianLines(),
                         {{"media/image1.png", m_red}, {"media/image2.jpeg", m_green}, {"media/image3.png", m_blue}},
                         {{"media/image1.png"}, {"media/image2.jpeg"}, {"media/image3.png"}});
        // The third image shows a figure no question mentions: it is not stored.
        const Pack pack = parseTechnician(data, byImage({{m_red, {"T1"}}, {m_green, {"t-2"}}, {m_blue, {"T3"}}}));
        const QString t1 = QStringLiteral("technician-2026-T1-") + sha(m_red).left(16) + QStringLiteral(".png");
        const QString t2 = QStringLiteral("technician-2026-T2-") + sha(m_green).left(16) + QStringLiteral(".jpeg");
        QCOMPARE(pack.assets.keys(), (QStringList{t1, t2}));
        QCOMPARE(pack.assets.value(t1), QString::fromLatin1(m_red.toBase64()));
        const QList<Question>& q = pack.pools.first().questions;
        QCOMPARE(q.at(0).figure, std::optional<QString>(t1));
        QCOMPARE(q.at(1).figure, std::optional<QString>(t2));
        QCOMPARE(q.at(2).figure, std::optional<QString>(t1));
        QCOMPARE(q.at(3).figure, std::nullopt);
    }

    void unsettledFiguresRaiseAReviewRequest_data()
    {
        QTest::addColumn<QStringList>("targets");
        QTest::addColumn<QStringList>("redLabels");
        QTest::addColumn<QStringList>("greenLabels");
        QTest::addColumn<QStringList>("missing");
        QTest::newRow("two images read as T1")
            << QStringList{"media/image1.png", "media/image2.png", "media/image3.png"} << QStringList{"T1"}
            << QStringList{"T1"} << QStringList{"T1", "T2"};
        QTest::newRow("same target listed twice")
            << QStringList{"media/image1.png", "media/image1.png", "media/image2.png"} << QStringList{"T1"}
            << QStringList{"T2"} << QStringList{"T1"};
        QTest::newRow("one image with two figures")
            << QStringList{"media/image1.png", "media/image2.png"} << QStringList{"T1", "T2"} << QStringList{"T2"}
            << QStringList{"T1"};
        QTest::newRow("nothing read") << QStringList{"media/image1.png"} << QStringList{} << QStringList{}
                                      << QStringList{"T1", "T2"};
    }
    void unsettledFiguresRaiseAReviewRequest()
    {
        QFETCH(QStringList, targets);
        QFETCH(QStringList, redLabels);
        QFETCH(QStringList, greenLabels);
        QFETCH(QStringList, missing);
        QList<FD::Relationship> rels;
        for (const QString& t : targets)
            rels.append({t});
        // A third image, also read as T1 in the first case, must not make T1 good again.
        const QByteArray data = FD::document(
            technicianLines(),
            {{"media/image1.png", m_red}, {"media/image2.png", m_green}, {"media/image3.png", m_blue}}, rels);
        const DiagramReview review = reviewOf([&] {
            parseTechnician(data, byImage({{m_red, redLabels}, {m_green, greenLabels}, {m_blue, {"T1"}}}));
        });
        QCOMPARE(review.labels, missing);
        QCOMPARE(review.images.size(), targets.size());
    }

    void reviewRequestCarriesTheWholeDocument()
    {
        QStringList lines = FD::poolLines(QStringLiteral("extra"));
        lines[FD::questionLine(lines, "E1A01") + 1] = "What is shown in Figure E7-1?";
        lines[FD::questionLine(lines, "E1A02") + 1] = "What is shown in Figure E6–2?";
        const QByteArray data = FD::document(lines, {{"media/image1.png", m_red}, {"media/image2.png", m_green}},
                                             {{"media/image2.png"}, {"media/image1.png"}});
        const QUrl source = FD::source(QStringLiteral("2024-2028 Extra Class Pool Errata Feb 4 2026.docx"));
        const DiagramReview review = reviewOf([&] { parse(data, source, QStringLiteral("extra"), {}, byImage({})); });
        QCOMPARE(review.isDemo, std::nullopt);
        QCOMPARE(review.document, data);
        QCOMPARE(review.source, source.toString(QUrl::FullyEncoded));
        QCOMPARE(review.level, QStringLiteral("extra"));
        QCOMPARE(review.documentKey, sha(data));
        QCOMPARE(review.images, (QList<QByteArray>{m_green, m_red}));
        QCOMPARE(review.labels, (QStringList{"E6-2", "E7-1"}));
        QCOMPARE(review.questions.size(), 500);
        QCOMPARE(review.questions.at(0).figure, std::optional<QString>(QStringLiteral("E7-1")));
        QCOMPARE(review.questions.at(1).figure, std::optional<QString>(QStringLiteral("E6-2")));
    }

    void cropsSettleMissingAndAmbiguousFigures()
    {
        const QByteArray data =
            FD::document(technicianLines(), {{"media/image1.png", m_red}, {"media/image2.png", m_green}});
        const QByteArray crop = FD::png(0x123456, 20, 10);
        const QString cropText = QString::fromLatin1(crop.toBase64());
        Corrections corrections;
        // T1 sits on both images (ambiguous); T2 on neither. The crop for T9 belongs to no question.
        corrections[sha(data)] = {{"T1", cropText}, {"T2", cropText}, {"T9", QStringLiteral("not Base64!")}};
        corrections[QString(64, QLatin1Char('0'))] = {{"T1", QStringLiteral("other document")}};
        const Pack pack = parseTechnician(data, byImage({{m_red, {"T1"}}, {m_green, {"T1"}}}), corrections);
        const QString name = QStringLiteral("review-T1-") + sha(crop).left(16) + QStringLiteral(".png");
        QCOMPARE(pack.pools.first().questions.at(0).figure, std::optional<QString>(name));
        QCOMPARE(pack.pools.first().questions.at(1).figure,
                 std::optional<QString>(QStringLiteral("review-T2-") + sha(crop).left(16) + QStringLiteral(".png")));
        QCOMPARE(pack.assets.value(name), cropText);
    }

    void cropReplacesAnAutomaticChoice()
    {
        const QByteArray data =
            FD::document(technicianLines(), {{"media/image1.png", m_red}, {"media/image2.png", m_green}});
        const QString cropText = QString::fromLatin1(m_blue.toBase64());
        Corrections corrections;
        corrections[sha(data)] = {{"T2", cropText}};
        const Pack pack = parseTechnician(data, byImage({{m_red, {"T1"}}, {m_green, {"T2"}}}), corrections);
        QVERIFY(pack.pools.first().questions.at(1).figure->startsWith(QLatin1StringView("review-T2-")));
        QVERIFY(pack.pools.first().questions.at(0).figure->startsWith(QLatin1StringView("technician-2026-T1-")));
    }

    void unusableCropsFailWithFigures_data()
    {
        QTest::addColumn<QString>("crop");
        QTest::newRow("not Base64") << "not Base64!";
        QTest::newRow("line break inside")
            << QString::fromLatin1(FD::png(0xff).toBase64()).insert(8, QLatin1Char('\n'));
        QTest::newRow("not an image") << QString::fromLatin1(QByteArray("plain text, no picture").toBase64());
        QTest::newRow("empty") << "";
    }
    void unusableCropsFailWithFigures()
    {
        QFETCH(QString, crop);
        const QByteArray data =
            FD::document(technicianLines(), {{"media/image1.png", m_red}, {"media/image2.png", m_green}});
        Corrections corrections;
        corrections[sha(data)] = {{"T1", crop}};
        try {
            parseTechnician(data, byImage({{m_red, {"T1"}}, {m_green, {"T2"}}}), corrections);
            QFAIL("parsed");
        } catch (const UpdateError& error) {
            QCOMPARE(error.which(), UpdateError::figures);
        }
    }

    void missingImageMemberFailsTheParse()
    {
        const QByteArray data = FD::document(technicianLines(), {{"media/image1.png", m_red}},
                                             {{"media/image1.png"}, {"media/absent.png"}});
        try {
            parseTechnician(data, byImage({{m_red, {"T1"}}}));
            QFAIL("parsed");
        } catch (const UpdateError& error) {
            QCOMPARE(error.which(), UpdateError::format);
        }
    }
};

AEROWEN_TEST_MAIN(TestFigures, QCoreApplication)
#include "tst_Figures.moc"
