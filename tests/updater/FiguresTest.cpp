// Figure labels, the figure step of parse (identify function, reviewed crops, real text recognition on drawn
// sheets) and the store's figure look-ups.
#include "store/Store.h"
#include "support/FixtureDocuments.h"
#include "support/Fixtures.h"
#include "support/Outcome.h"
#include "support/TestEnvironment.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QGuiApplication>
#include <QPainter>
#include <QPdfWriter>
#include <QTest>

using namespace OfficialUpdates;
using namespace Qt::StringLiterals;
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

// A technician pool whose prompts mention Figure T1 (twice) and figure T-2; an answer mentions Figure T3.
QByteArray technicianDocument(const QMap<QString, QByteArray>& media, const QList<FD::Relationship>& rels = {})
{
    QStringList lines = FD::poolLines(QStringLiteral("technician"));
    lines[FD::questionLine(lines, "T1A01") + 1] = "What is shown in Figure T1?";
    lines[FD::questionLine(lines, "T1A02") + 1] = "What is component 3 in figure T-2?";
    lines[FD::questionLine(lines, "T1A03") + 1] = "Which part of Figure T1 is the antenna?";
    lines[FD::questionLine(lines, "T1A04") + 5] = "D. As shown in Figure T3";
    return FD::document(lines, media, rels);
}

Pack parseTechnician(const QByteArray& data, const Identify& identify, const Corrections& corrections = {})
{
    return parse(data, FD::technicianSource(), QStringLiteral("technician"), corrections, identify);
}

DiagramReview reviewOf(const std::function<void()>& run)
{
    try {
        run();
    } catch (const ReviewRequest& request) {
        return request.review();
    }
    qFatal("no review request");
}

// A white sheet with a drawing and the given captions in a large sans-serif font, encoded as format.
QByteArray sheet(const QStringList& captions, const char* format = "PNG")
{
    QImage image(900, 260 * int(captions.size()), QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setPen(QPen(Qt::black, 3));
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(44);
    painter.setFont(font);
    for (int i = 0; i < captions.size(); ++i) {
        painter.drawRect(60, 260 * i + 30, 200, 120);
        painter.drawText(QPoint(60, 260 * i + 220), captions.at(i));
    }
    painter.end();
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes;
}

QByteArray pdf()
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QPdfWriter writer(&buffer);
    writer.setPageSize(QPageSize(QSizeF(200, 100), QPageSize::Point));
    QPainter painter(&writer);
    painter.drawRect(QRect(100, 100, 1000, 500));
    return bytes;
}

} // namespace

class FiguresTest : public QObject
{
    Q_OBJECT

private:
    const QByteArray m_red = FD::png(0xff0000);
    const QByteArray m_green = FD::png(0x00ff00);
    const QByteArray m_blue = FD::png(0x0000ff);

private slots:
    void initTestCase() { FD::isolateTemporaryFolder(); }
    void cleanup() { QCOMPARE(FD::leftoverDocuments(), QStringList()); }

    void printedLabelsAreFoundAndMadeCanonical_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("labels");
        QTest::newRow("several forms") << u"Figure T-1, figure G7–1 and FIGURE E91"_s
                                       << QStringList{"T1", "G7-1", "E9-1"};
        QTest::newRow("line break, lower case") << u"see figure\ne6-3 or Figure T3"_s << QStringList{"E6-3", "T3"};
        QTest::newRow("canonical stays") << u"Figure E7-3"_s << QStringList{"E7-3"};
        QTest::newRow("other letters") << u"Figure A1 and Figure 3"_s << QStringList{};
    }
    void printedLabelsAreFoundAndMadeCanonical()
    {
        QFETCH(QString, text);
        QFETCH(QStringList, labels);
        QStringList found;
        for (const QStringList& m : matches(figureLabelPattern, text))
            found.append(normalFigure(m.at(1)));
        QCOMPARE(found, labels);
    }

    void verifiedLabelsKeepOneReferencedLabel_data()
    {
        QTest::addColumn<QStringList>("labels");
        QTest::addColumn<QStringList>("referenced");
        QTest::addColumn<QString>("expected"); // the kept labels, or the failure
        QTest::newRow("same label twice") << QStringList{"E6-1", "e6–1"} << QStringList{"E6-1"} << u"E6-1"_s;
        QTest::newRow("two labels") << QStringList{"E6-1", "E6-2"} << QStringList{"E6-1", "E6-2"} << u"combined"_s;
        QTest::newRow("not referenced") << QStringList{"E7-1"} << QStringList{"E6-1"} << u""_s;
        QTest::newRow("none") << QStringList{} << QStringList{"E6-1"} << u""_s;
        QTest::newRow("canonical before comparing") << QStringList{"t-2"} << QStringList{"T2"} << u"T2"_s;
    }
    void verifiedLabelsKeepOneReferencedLabel()
    {
        QFETCH(QStringList, labels);
        QFETCH(QStringList, referenced);
        QFETCH(QString, expected);
        QStringList kept;
        const QString failure = outcome([&] {
            kept = verifiedLabels(labels, {referenced.cbegin(), referenced.cend()});
        });
        QCOMPARE(failure.isEmpty() ? kept.join(' ') : failure, expected);
        if (!failure.isEmpty())
            QCOMPARE(UpdateError(UpdateError::combinedFigures).description(),
                     QStringLiteral("An official image contains several figures and needs verified separation "
                                    "before it can be imported. The installed pools were kept."));
    }

    void identifiedImagesBecomeNamedAssets()
    {
        const QByteArray data = technicianDocument(
            {{"media/image1.png", m_red}, {"media/image2.jpeg", m_green}, {"media/image3.png", m_blue}});
        // The third image shows a figure only an answer mentions: it is not stored.
        const Pack pack = parseTechnician(data, byImage({{m_red, {"T1"}}, {m_green, {"t-2"}}, {m_blue, {"T3"}}}));
        const QString t1 = QStringLiteral("technician-2026-T1-") + sha(m_red).left(16) + QStringLiteral(".png");
        const QString t2 = QStringLiteral("technician-2026-T2-") + sha(m_green).left(16) + QStringLiteral(".jpeg");
        QCOMPARE(pack.assets.keys(), (QStringList{t1, t2}));
        QCOMPARE(pack.assets.value(t1), QString::fromLatin1(m_red.toBase64()));
        QList<std::optional<QString>> figures;
        for (const Question& q : pack.pools.first().questions.mid(0, 4))
            figures.append(q.figure);
        QCOMPARE(figures, (QList<std::optional<QString>>{t1, t2, t1, std::nullopt}));
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
        QTest::newRow("same target twice") << QStringList{"media/image1.png", "media/image1.png", "media/image2.png"}
                                           << QStringList{"T1"} << QStringList{"T2"} << QStringList{"T1"};
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
        const QByteArray data = technicianDocument(
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
        QCOMPARE(review.labels, (QStringList{"E6-2", "E7-1"})); // sorted
        QCOMPARE(review.questions.size(), 500);
        QCOMPARE(review.questions.at(0).figure, std::optional<QString>(QStringLiteral("E7-1")));
        QCOMPARE(review.questions.at(1).figure, std::optional<QString>(QStringLiteral("E6-2")));
    }

    void cropsSettleMissingAndAmbiguousFigures()
    {
        const QByteArray data = technicianDocument({{"media/image1.png", m_red}, {"media/image2.png", m_green}});
        const QByteArray crop = FD::png(0x123456, 20, 10);
        const QString cropText = QString::fromLatin1(crop.toBase64());
        Corrections corrections;
        // T1 sits on both images (ambiguous); T2 on neither. The crop for T9 belongs to no question.
        corrections[sha(data)] = {{"T1", cropText}, {"T2", cropText}, {"T9", QStringLiteral("not Base64!")}};
        corrections[QString(64, QLatin1Char('0'))] = {{"T1", QStringLiteral("other document")}};
        const Pack pack = parseTechnician(data, byImage({{m_red, {"T1"}}, {m_green, {"T1"}}}), corrections);
        const QString t1 = QStringLiteral("review-T1-") + sha(crop).left(16) + QStringLiteral(".png");
        QCOMPARE(pack.pools.first().questions.at(0).figure, std::optional<QString>(t1));
        QCOMPARE(pack.pools.first().questions.at(1).figure,
                 std::optional<QString>(QStringLiteral("review-T2-") + sha(crop).left(16) + QStringLiteral(".png")));
        QCOMPARE(pack.assets.value(t1), cropText);

        // A crop also replaces an automatic choice.
        corrections[sha(data)] = {{"T2", QString::fromLatin1(m_blue.toBase64())}};
        const Pack chosen = parseTechnician(data, byImage({{m_red, {"T1"}}, {m_green, {"T2"}}}), corrections);
        QVERIFY(chosen.pools.first().questions.at(1).figure->startsWith(QLatin1StringView("review-T2-")));
        QVERIFY(chosen.pools.first().questions.at(0).figure->startsWith(QLatin1StringView("technician-2026-T1-")));
    }

    void unusableCropsAndImagesFail_data()
    {
        QTest::addColumn<QString>("crop");
        QTest::addColumn<QString>("failure");
        QTest::newRow("not Base64") << u"not Base64!"_s << u"figures"_s;
        QTest::newRow("line break inside")
            << QString::fromLatin1(FD::png(0xff).toBase64()).insert(8, '\n') << u"figures"_s;
        QTest::newRow("not an image") << QString::fromLatin1(QByteArray("no picture").toBase64()) << u"figures"_s;
        QTest::newRow("empty") << u""_s << u"figures"_s;
        QTest::newRow("image member missing") << u"absent"_s << u"format"_s;
    }
    void unusableCropsAndImagesFail()
    {
        QFETCH(QString, crop);
        QFETCH(QString, failure);
        const bool absent = crop == QLatin1StringView("absent");
        const QByteArray data =
            technicianDocument({{"media/image1.png", m_red}, {"media/image2.png", m_green}},
                               {{"media/image1.png"}, {absent ? "media/absent.png" : "media/image2.png"}});
        Corrections corrections;
        if (!absent)
            corrections[sha(data)] = {{"T1", crop}};
        QCOMPARE(outcome([&] {
                     parseTechnician(data, byImage({{m_red, {"T1"}}, {m_green, {"T2"}}}), corrections);
                 }),
                 failure);
        if (!absent)
            QCOMPARE(
                UpdateError(UpdateError::figures).description(),
                QStringLiteral("Official diagram labels could not all be verified. The installed pools were kept."));
    }

    void textRecognitionReadsDrawnCaptions_data()
    {
        QTest::addColumn<QByteArray>("image");
        QTest::addColumn<QStringList>("labels");
        QTest::newRow("one figure") << sheet({"Figure E6-1"}) << QStringList{"E6-1"};
        QTest::newRow("JPEG") << sheet({"Figure G7-1"}, "JPG") << QStringList{"G7-1"};
        QTest::newRow("two figures") << sheet({"Figure E6-1", "Figure E6-2"}) << QStringList{"E6-1", "E6-2"};
        QTest::newRow("empty") << QByteArray() << QStringList{};
        QTest::newRow("not an image") << QByteArray("no picture at all") << QStringList{};
        QTest::newRow("truncated PNG") << sheet({"Figure E6-1"}).left(60) << QStringList{};
    }
    void textRecognitionReadsDrawnCaptions()
    {
        QFETCH(QByteArray, image);
        QFETCH(QStringList, labels);
        const QString text = recognizeText(image);
        QStringList found;
        for (const QStringList& m : matches(figureLabelPattern, text))
            found.append(normalFigure(m.at(1)));
        QCOMPARE(found, labels);
        if (labels.isEmpty())
            QCOMPARE(text, QString());
        QCOMPARE(outcome([&] {
                     verifiedLabels(found, {found.cbegin(), found.cend()});
                 }),
                 labels.size() > 1 ? QStringLiteral("combined") : QString());
    }

    void figureStepReadsCaptionsWithRealRecognition()
    {
        QStringList lines = FD::poolLines(QStringLiteral("extra"));
        lines[FD::questionLine(lines, "E1A01") + 1] = "What is shown in Figure E6-1?";
        const QUrl source = FD::source(QStringLiteral("2024-2028 Extra Class Pool Errata Feb 4 2026.docx"));
        const QByteArray single = sheet({"Figure E6-1"});
        const Pack pack = parse(FD::document(lines, {{"media/image1.png", single}}), source, QStringLiteral("extra"));
        QCOMPARE(pack.pools.first().questions.first().figure,
                 QStringLiteral("extra-2024-E6-1-") + sha(single).left(16) + QStringLiteral(".png"));
        // E6-2 appears only on a sheet that also shows E6-1: it needs review.
        lines[FD::questionLine(lines, "E1A02") + 1] = "What is shown in Figure E6-2?";
        const QByteArray data = FD::document(
            lines, {{"media/image1.png", single}, {"media/image2.png", sheet({"Figure E6-1", "Figure E6-2"})}});
        QCOMPARE(reviewOf([&] { parse(data, source, QStringLiteral("extra")); }).labels, QStringList{"E6-2"});
    }

    void storeShowsAndDecodesFigures_data()
    {
        QTest::addColumn<QString>("prompt");
        QTest::addColumn<QString>("figure");   // empty: none
        QTest::addColumn<QString>("expected"); // the asset shown and its size, or empty
        QTest::newRow("placeholder replaced")
            << u"What is shown in Figure E6-2?"_s << u"extra-2.jpg"_s << u"E6-2.png 30x20"_s;
        QTest::newRow("placeholder without asset") << u"In Figure E6-3?"_s << u"extra-2.jpg"_s << u"extra-2.jpg none"_s;
        QTest::newRow("stored figure wins") << u"In Figure E6-2?"_s << u"extra-2024-E7-1-0123456789abcdef.png"_s
                                            << u"extra-2024-E7-1-0123456789abcdef.png 8x8"_s;
        QTest::newRow("technician .jpg") << u"Which is 1 in figure t-1?"_s << u""_s << u"T1.jpg 8x8"_s;
        QTest::newRow("general .pdf at twice its size")
            << u"In Figure G7–1, what is 3?"_s << u""_s << u"G7-1.pdf 400x200"_s;
        QTest::newRow("first mention counts") << u"Figure E6-3 or Figure E6-2?"_s << u""_s << u""_s;
        QTest::newRow("no mention") << u"What is a dipole?"_s << u""_s << u""_s;
        QTest::newRow("not an image") << u""_s << u"text.png"_s << u"text.png none"_s;
    }
    void storeShowsAndDecodesFigures()
    {
        QFETCH(QString, prompt);
        QFETCH(QString, figure);
        QFETCH(QString, expected);
        const auto base64 = [](const QByteArray& bytes) { return QString::fromLatin1(bytes.toBase64()); };
        QTemporaryDir dir;
        Pack pack = Fixtures::threeLevelPack();
        pack.assets = {{"E6-2.png", base64(FD::png(0xff0000, 30, 20))},
                       {"T1.jpg", base64(FD::png(0x00ff00))},
                       {"G7-1.pdf", base64(pdf())},
                       {"extra-2024-E7-1-0123456789abcdef.png", base64(FD::png(0xff))},
                       {"text.png", base64("no picture in here")}};
        Fixtures::writeFile(dir.filePath(QStringLiteral("pools.json")), pack.toBytes());
        Store store(dir.filePath(QStringLiteral("pools.json")), dir.filePath(QStringLiteral("storage")));
        Question q = pack.pools.last().questions.first();
        q.prompt = prompt;
        q.figure = figure.isEmpty() ? std::nullopt : std::optional<QString>(figure);
        QString got;
        if (const std::optional<QString> file = store.diagramFile(q)) {
            const std::optional<QImage> image = store.image(*file);
            got = *file + (image ? QStringLiteral(" %1x%2").arg(image->width()).arg(image->height()) : " none");
        }
        QCOMPARE(got, expected);
    }

    void builtInPackFiguresAllDecode()
    {
        QTemporaryDir storage;
        Store store(Fixtures::sourcePackPath(), storage.path());
        QCOMPARE(store.message(), QString());
        int figures = 0;
        for (const Pool& pool : store.pack().pools) {
            for (const Question& q : pool.questions) {
                const std::optional<QString> file = store.diagramFile(q);
                QCOMPARE(file, q.figure);
                if (!file)
                    continue;
                ++figures;
                const std::optional<QImage> image = store.image(*file);
                QVERIFY2(image && image->width() > 100 && image->height() > 100, qPrintable(*file));
            }
        }
        QCOMPARE(figures, 44);
    }
};

AEROWEN_TEST_MAIN(FiguresTest, QGuiApplication)
#include "FiguresTest.moc"
