// Figure labels, the figure step of parse (ambiguity, review requests, reviewed crops, text recognition) and the
// store's figure look-ups.
#include "store/Store.h"
#include "support/FixtureDocuments.h"
#include "support/Fixtures.h"
#include "support/Outcome.h"
#include "support/TestEnvironment.h"

#include <QBuffer>
#include <QGuiApplication>
#include <QPainter>
#include <QPdfWriter>
#include <QTest>

using namespace OfficialUpdates;
using FD = FixtureDocuments;

class FiguresTest : public QObject
{
    Q_OBJECT

    const QByteArray m_red = FD::png(0xff0000), m_green = FD::png(0x00ff00), m_blue = FD::png(0x0000ff);
    const QByteArray m_crop = FD::png(0x123456, 20, 10);

    // A technician pool whose prompts mention Figure T1 (twice) and figure T-2, and an answer Figure T3, with the
    // three images in order (or the given targets); identify reads the labels of an image by its colour.
    Pack parseTechnician(const QMap<QByteArray, QStringList>& labels, const Corrections& corrections = {},
                         const QList<QStringList>& targets = {})
    {
        QStringList lines = FD::edited(FD::poolLines("technician"), "T1A01", 1, "What is in Figure T1?");
        lines = FD::edited(FD::edited(lines, "T1A02", 1, "What is 3 in figure T-2?"), "T1A03", 1, "Figure T1 again?");
        const QByteArray data = FD::document(
            FD::edited(lines, "T1A04", 5, "D. As shown in Figure T3"),
            {{"media/image1.png", m_red}, {"media/image2.jpeg", m_green}, {"media/image3.png", m_blue}}, targets);
        QMap<QString, QMap<QString, QString>> crops;
        for (auto it = corrections.cbegin(); it != corrections.cend(); ++it) // "this" stands for this document
            crops[it.key() == "this" ? FD::sha256(data) : it.key()] = it.value();
        return parse(data, FD::technicianSource(), "technician", crops,
                     [labels](const QByteArray& image) { return labels.value(image); });
    }
    static QString figures(const Pack& pack)
    {
        QStringList names;
        for (const Question& q : pack.pools.first().questions.mid(0, 4))
            names.append(q.figure ? q.figure->section('-', 0, -2) : "-");
        return names.join(' ');
    }

private slots:
    void initTestCase() { FD::isolateTemporaryFolder(); }
    void cleanup() { QCOMPARE(FD::leftoverDocuments(), QStringList()); }

    void labelsAreFoundMadeCanonicalAndVerified()
    {
        QStringList found;
        for (const QStringList& m : matches(figureLabelPattern, "Figure T-1, figure G7–1, FIGURE E91, figure\ne6-3 "
                                                                "Figure E7-3, Figure A1, Figure 3"))
            found.append(normalFigure(m.at(1)));
        QCOMPARE(found, (QStringList{"T1", "G7-1", "E9-1", "E6-3", "E7-3"}));
        // labels | referenced | the label kept, or the failure
        for (const QStringList& r : table("E6-1 e6–1 | E6-1 | E6-1 \n E6-1 E6-2 | E6-1 E6-2 | combined \n"
                                          "E7-1 | E6-1 | \n | E6-1 | \n t-2 | T2 | T2")) {
            const QStringList referenced = r[1].split(' ');
            QString kept;
            const QString failure = outcome([&] {
                kept = verifiedLabels(r[0].split(' ', Qt::SkipEmptyParts), {referenced.cbegin(), referenced.cend()})
                           .join(' ');
            });
            QCOMPARE(failure + kept, r[2]);
        }
    }

    void imagesBecomeAssetsOrAReviewRequest()
    {
        // Each image is stored under its label and digest once a question names the label; Figure T3 is named only
        // in an answer, so its image is not stored.
        const Pack pack = parseTechnician({{m_red, {"T1"}}, {m_green, {"t-2"}}, {m_blue, {"T3"}}});
        const QString t1 = "technician-2026-T1-" + FD::sha256(m_red).left(16) + ".png";
        const QString t2 = "technician-2026-T2-" + FD::sha256(m_green).left(16) + ".jpeg";
        QCOMPARE(pack.assets, (QMap<QString, QString>{{t1, FD::base64(m_red)}, {t2, FD::base64(m_green)}}));
        QCOMPARE(figures(pack), "technician-2026-T1 technician-2026-T2 technician-2026-T1 -");
        QCOMPARE(pack.pools.first().questions.at(0).figure, t1);

        // targets | labels read from the red and the green image (the blue one reads T1) | the labels to review
        for (const QStringList& r : table(R"(
                image1.png image2.jpeg image3.png | T1    | T1 | T1 T2
                image1.png image1.png image2.jpeg | T1    | T2 | T1
                image1.png image2.jpeg            | T1 T2 | T2 | T1
                image1.png                        |       |    | T1 T2)")) {
            QList<QStringList> targets;
            for (const QString& t : r[0].split(' '))
                targets.append({"media/" + t});
            try {
                parseTechnician({{m_red, r[1].split(' ')}, {m_green, r[2].split(' ')}, {m_blue, {"T1"}}}, {}, targets);
                QFAIL("no review request");
            } catch (const ReviewRequest& request) {
                const DiagramReview& review = request.review();
                QCOMPARE(review.labels, r[3].split(' ')); // sorted
                QCOMPARE(review.images.size(), targets.size());
                QCOMPARE(review.images.first(), m_red);
                QCOMPARE(review.isDemo, std::nullopt);
                QCOMPARE(review.source + ' ' + review.level,
                         FD::technicianSource().toString(QUrl::FullyEncoded) + " technician");
                QCOMPARE(review.documentKey, FD::sha256(review.document));
                QCOMPARE(review.questions.size(), 350);
                QCOMPARE(review.questions.at(1).figure, "T2"); // labels, not file names
            }
        }
    }

    void cropsSettleFiguresOrFailTheParse()
    {
        const QString crop = FD::base64(m_crop), reviewed = "review-%1-" + FD::sha256(m_crop).left(16) + ".png";
        // T1 sits on two images (ambiguous) and T2 on none; the crop for T9 belongs to no question, and the crops
        // of another document do not count.
        Pack pack = parseTechnician({{m_red, {"T1"}}, {m_green, {"T1"}}},
                                    {{"this", {{"T1", crop}, {"T2", crop}, {"T9", "?"}}}, {"other", {{"T1", "?"}}}});
        QCOMPARE(figures(pack), "review-T1 review-T2 review-T1 -");
        QCOMPARE(pack.pools.first().questions.at(1).figure, reviewed.arg("T2"));
        QCOMPARE(pack.assets.value(reviewed.arg("T1")), crop);
        // A crop also replaces an automatic choice.
        pack = parseTechnician({{m_red, {"T1"}}, {m_green, {"T2"}}}, {{"this", {{"T1", crop}}}});
        QCOMPARE(figures(pack), "review-T1 technician-2026-T2 review-T1 -");
        for (const QString& bad :
             QStringList{"not Base64!", crop.left(8) + '\n' + crop.mid(8), FD::base64("text"), QString()})
            QCOMPARE(outcome([&] { parseTechnician({{m_green, {"T2"}}}, {{"this", {{"T1", bad}}}}); }), "figures");
        QCOMPARE(UpdateError(UpdateError::figures).description(),
                 "Official diagram labels could not all be verified. The installed pools were kept.");
        QCOMPARE(outcome([&] { parseTechnician({}, {}, {{"media/image1.png"}, {"media/absent.png"}}); }), "format");
    }

    void textRecognitionReadsPrintedCaptions()
    {
        QStringList found;
        for (const QStringList& m :
             matches(figureLabelPattern, recognizeText(FD::encoded(FD::sheet({"Figure E6-1", "Figure G7–1"}), "JPG"))))
            found.append(normalFigure(m.at(1)));
        QCOMPARE(found, (QStringList{"E6-1", "G7-1"}));
        QCOMPARE(recognizeText(FD::png(0xff).left(60)), QString());
        // Without an identify function, parse reads the captions itself.
        const QByteArray image = FD::encoded(FD::sheet({"Figure E6-1"}));
        const Pack pack = parse(FD::document(FD::edited(FD::poolLines("extra"), "E1A01", 1, "Is it Figure E6-1?"),
                                             {{"media/image1.png", image}}),
                                FD::source("2024-2028 Extra Pool Errata Feb 4 2026.docx"), "extra");
        QCOMPARE(pack.pools.first().questions.first().figure, "extra-2024-E6-1-" + FD::sha256(image).left(16) + ".png");
    }

    void storeShowsAndDecodesFigures()
    {
        QByteArray pdf;
        QBuffer buffer(&pdf);
        buffer.open(QIODevice::WriteOnly);
        {
            QPdfWriter writer(&buffer);
            writer.setPageSize(QPageSize(QSizeF(200, 100), QPageSize::Point));
            QPainter(&writer).drawRect(QRect(100, 100, 1000, 500));
        }
        QTemporaryDir dir;
        Pack pack = Fixtures::threeLevelPack();
        pack.assets = {{"E6-2.png", FD::base64(FD::png(0xff0000, 30, 20))},
                       {"T1.jpg", FD::base64(FD::png(0xff))},
                       {"G7-1.pdf", FD::base64(pdf)},
                       {"E7-1.png", FD::base64(FD::png(0xff))},
                       {"text.png", FD::base64("text")},
                       {"short.png", FD::base64(FD::png(0xff, 9, 9)).remove('=')}};
        Fixtures::writeFile(dir.filePath("pools.json"), pack.toBytes());
        Store store(dir.filePath("pools.json"), dir.filePath("storage"));
        // prompt | stored figure | the asset shown and its size (PDF at twice its size in points)
        for (const QStringList& r : table(R"(
                What is shown in Figure E6-2?  | extra-2.jpg | E6-2.png 30x20
                In Figure E6-3?                | extra-1.jpg | extra-1.jpg none
                In Figure E6-2?                | E7-1.png    | E7-1.png 8x8
                Which is 1 in figure t-1?      | extra-3.jpg | T1.jpg 8x8
                In Figure G7–1, what is 3?     |             | G7-1.pdf 400x200
                Figure E6-3 or Figure E6-2?    |             |
                What is a dipole?              |             |
                                               | text.png    | text.png none
                                               | short.png   | short.png none)")) {
            Question q = pack.pools.last().questions.first();
            q.prompt = r[0];
            q.figure = r[1].isEmpty() ? std::nullopt : std::optional<QString>(r[1]);
            QString got;
            if (const std::optional<QString> file = store.diagramFile(q)) {
                const std::optional<QImage> image = store.image(*file);
                got = *file + (image ? QStringLiteral(" %1x%2").arg(image->width()).arg(image->height()) : " none");
            }
            QCOMPARE(got, r[2]);
        }
    }
};

AEROWEN_TEST(FiguresTest)
AEROWEN_TEST_PROGRAM(QGuiApplication)
#include "FiguresTest.moc"
