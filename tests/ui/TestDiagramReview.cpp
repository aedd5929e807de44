// Widget tests of the Updates section and the diagram review sheet over a real store with test seams.
#include "UiHarness.h"
#include "appupdate/KestovanUpdates.h"
#include "support/TestEnvironment.h"
#include "ui/DiagramReviewView.h"
#include "ui/ReviewCanvas.h"
#include "ui/Theme.h"
#include "ui/UpdatesView.h"
#include "updater/OfficialUpdates.h"

#include <Config.h>
#include <QApplication>
#include <QBuffer>
#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QMessageBox>
#include <QPainter>
#include <QPushButton>
#include <QSemaphore>
#include <QSignalSpy>

namespace {

// The four sample figures: each a filled block of its own colour with a border, of different sizes.
const QStringList sampleLabels = {QStringLiteral("E6-1"), QStringLiteral("E6-2"), QStringLiteral("E6-3"),
                                  QStringLiteral("E7-1")};
const QList<QColor> sampleColours = {Qt::red, Qt::green, Qt::blue, QColor(255, 160, 0)};

QByteArray png(const QImage& image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

QImage figure(int index)
{
    QImage image(300 + 40 * index, 200 + 30 * index, QImage::Format_RGB32);
    image.fill(sampleColours.at(index));
    QPainter painter(&image);
    painter.setPen(QPen(Qt::black, 4));
    painter.drawRect(image.rect().adjusted(2, 2, -3, -3));
    return image;
}

// A technician pool and an extra pool whose first questions mention the sample figures (and E6-4, which is no sample).
Pack reviewPack()
{
    Pool tech = Fixtures::pool(QStringLiteral("technician"), QStringLiteral("tech-test"), startedLastYear());
    Pool extra = Fixtures::pool(QStringLiteral("extra"), QStringLiteral("extra-test"), startedLastYear());
    extra.source = QStringLiteral("not an address");
    const QStringList mentions = {QStringLiteral("E6-1"), QStringLiteral("E6-2"), QStringLiteral("E6-3"),
                                  QStringLiteral("E7-1"), QStringLiteral("E6-4"), QStringLiteral("E6-1")};
    for (qsizetype i = 0; i < mentions.size(); ++i)
        extra.questions[i].prompt = QStringLiteral("Which part of Figure %1 is marked?").arg(mentions.at(i));
    Pack pack = Fixtures::pack({tech, extra});
    for (int i = 0; i < 4; ++i)
        pack.assets.insert(sampleLabels.at(i) + QStringLiteral(".png"), QString::fromLatin1(png(figure(i)).toBase64()));
    return pack;
}

// A pending review of a made-up document: a sheet holding two figures side by side, and a second sheet.
DiagramReview pendingReview()
{
    QImage sheet(800, 400, QImage::Format_RGB32);
    sheet.fill(Qt::white);
    QPainter painter(&sheet);
    painter.fillRect(QRect(20, 20, 360, 360), Qt::red);
    painter.fillRect(QRect(420, 20, 360, 360), Qt::blue);
    painter.end();
    DiagramReview review;
    review.document = QByteArrayLiteral("not really a document");
    review.source = QStringLiteral("https://www.ncvec.org/downloads/extra.docx");
    review.level = QStringLiteral("extra");
    review.documentKey = QStringLiteral("abc123");
    QImage second(400, 400, QImage::Format_RGB32);
    second.fill(Qt::green);
    review.images = {png(sheet), png(second)};
    review.labels = {QStringLiteral("E9-1"), QStringLiteral("E9-2")};
    Question q = Fixtures::pool(QStringLiteral("extra"), QStringLiteral("x")).questions.first();
    q.prompt = QStringLiteral("What does Figure E9-2 show?");
    q.figure = QStringLiteral("E9-2");
    review.questions = {q};
    return review;
}

// Drags over the canvas from one point to another in real mouse events, as the learner does.
void drag(ReviewCanvas* canvas, QPoint from, QPoint to)
{
    QTest::mousePress(canvas, Qt::LeftButton, {}, from);
    QTest::mouseMove(canvas, (from + to) / 2);
    QTest::mouseMove(canvas, to);
    QTest::mouseRelease(canvas, Qt::LeftButton, {}, to);
}

QColor centreColour(const QString& base64)
{
    const QImage image = QImage::fromData(QByteArray::fromBase64(base64.toLatin1()));
    return image.isNull() ? QColor() : image.pixelColor(image.width() / 2, image.height() / 2);
}

} // namespace

class TestDiagramReview : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    std::unique_ptr<Store> m_store;

    void fresh(const std::optional<DiagramReview>& pending = std::nullopt)
    {
        m_store.reset();
        QMap<QString, QByteArray> data;
        if (pending)
            data.insert(QStringLiteral("diagram-review.json"), pending->toBytes());
        m_store = makeStore(m_dir, reviewPack(), data);
    }

private slots:
    void initTestCase()
    {
        Theme::apply(*qApp);
        installFakeUpdater();
    }

    void cleanup()
    {
        // A check started by a test must end before its store goes.
        if (m_store && m_store->checking())
            QVERIFY(QSignalSpy(m_store.get(), &Store::updateCheckFinished).wait(10000));
    }

    void updatesListsPoolsAndTheApplication()
    {
        fresh();
        UpdatesView view(*m_store);
        view.show();
        QVERIFY(child<QPushButton>(&view, QStringLiteral("reviewDiagrams"))->isHidden());
        QCOMPARE(text(&view, QStringLiteral("updateStatus")), m_store->updateStatus());

        auto* tech = child<QWidget>(&view, QStringLiteral("installedPool-tech-test"));
        auto* extra = child<QWidget>(&view, QStringLiteral("installedPool-extra-test"));
        QVERIFY(tech && extra);
        QCOMPARE(text(tech, QStringLiteral("poolCounts")), QStringLiteral("350 questions · Revision 2026-02-19"));
        const Pool& pool = m_store->pack().pools.first();
        QCOMPARE(text(tech, QStringLiteral("poolPeriod")),
                 QStringLiteral("Effective %1 to %2 (exclusive)").arg(pool.validFrom, pool.validUntil));
        // An official source links to itself; anything else to the official site's home page.
        QCOMPARE(child<QLabel>(tech, QStringLiteral("officialSource"))->property("url").toUrl(),
                 OfficialUpdates::officialURL(pool.source));
        QCOMPARE(child<QLabel>(extra, QStringLiteral("officialSource"))->property("url").toUrl(),
                 OfficialUpdates::officialRoot());

        QCOMPARE(text(&view, QStringLiteral("applicationLine")),
                 QStringLiteral("Kestovan Aerowen 1.0.2 · ") + QString::fromUtf8(Config::processor));
        const int before = fakeUpdaterChecks();
        QTest::mouseClick(child<QPushButton>(&view, QStringLiteral("checkAppUpdates")), Qt::LeftButton);
        QCOMPARE(fakeUpdaterChecks(), before + 1);
    }

    void checkButtonFollowsTheRunningCheck()
    {
        fresh();
        QSemaphore gate;
        m_store->setRefresher([&gate](const Pack& pack, const Corrections&) {
            gate.acquire();
            return pack;
        });
        UpdatesView view(*m_store);
        view.show();
        auto* check = child<QPushButton>(&view, QStringLiteral("checkQuestionUpdates"));
        QCOMPARE(check->text(), QStringLiteral("Check for Question Updates"));
        QVERIFY(check->isEnabled());

        QSignalSpy finished(m_store.get(), &Store::updateCheckFinished);
        QTest::mouseClick(check, Qt::LeftButton);
        QCOMPARE(check->text(), QStringLiteral("Checking…"));
        QVERIFY(!check->isEnabled());
        QCOMPARE(text(&view, QStringLiteral("updateStatus")),
                 QStringLiteral("Checking the official NCVEC question pools…"));

        gate.release();
        QVERIFY(finished.wait(10000));
        QCOMPARE(check->text(), QStringLiteral("Check for Question Updates"));
        QVERIFY(check->isEnabled());
        QVERIFY(
            text(&view, QStringLiteral("updateStatus")).startsWith(QStringLiteral("Official NCVEC pools checked ")));
    }

    void dragSelectsWithinTheImage_data()
    {
        QTest::addColumn<QPoint>("from");
        QTest::addColumn<QPoint>("to");
        QTest::addColumn<QRectF>("expected");
        QTest::addColumn<bool>("usable");
        // The sample sheet (1200 by 1000) is shown at 396 by 330.
        const QRectF quarter(0.25, 0.1, 0.25, 0.4);
        QTest::newRow("inside") << QPoint(99, 33) << QPoint(198, 165) << quarter << true;
        QTest::newRow("backwards") << QPoint(198, 165) << QPoint(99, 33) << quarter << true;
        QTest::newRow("leaves right and bottom")
            << QPoint(198, 165) << QPoint(900, 700) << QRectF(0.5, 0.5, 0.5, 0.5) << true;
        QTest::newRow("leaves left and top") << QPoint(99, 66) << QPoint(-50, -80) << QRectF(0, 0, 0.25, 0.2) << true;
        // A selection under 1% of the image in either direction cannot be used: 1% is 3.96 by 3.3 points.
        const QPoint p(100, 100);
        QTest::newRow("narrow") << p << QPoint(103, 200) << QRectF(100 / 396., 100 / 330., 3 / 396., 100 / 330.)
                                << false;
        QTest::newRow("low") << p << QPoint(200, 103) << QRectF(100 / 396., 100 / 330., 100 / 396., 3 / 330.) << false;
        QTest::newRow("click") << p << p << QRectF(100 / 396., 100 / 330., 0, 0) << false;
        QTest::newRow("just enough") << p << QPoint(104, 104) << QRectF(100 / 396., 100 / 330., 4 / 396., 4 / 330.)
                                     << true;
    }

    void dragSelectsWithinTheImage()
    {
        QFETCH(QPoint, from);
        QFETCH(QPoint, to);
        QFETCH(QRectF, expected);
        QFETCH(bool, usable);
        fresh();
        const auto sample = m_store->demoDiagramReview();
        QVERIFY(sample);
        DiagramReviewView sheet(*m_store, *sample);
        sheet.show();
        auto* canvas = child<ReviewCanvas>(&sheet, QStringLiteral("reviewCanvas"));
        QCOMPARE(canvas->size(), QSize(396, 330));
        drag(canvas, from, to);
        const QRectF got = canvas->selection();
        QVERIFY2(
            qAbs(got.left() - expected.left()) < 1e-9 && qAbs(got.top() - expected.top()) < 1e-9 &&
                qAbs(got.right() - expected.right()) < 1e-9 && qAbs(got.bottom() - expected.bottom()) < 1e-9,
            qPrintable(QStringLiteral("%1 %2 %3 %4").arg(got.x()).arg(got.y()).arg(got.width()).arg(got.height())));
        auto* use = child<QPushButton>(&sheet, QStringLiteral("useSelection"));
        QCOMPARE(use->text(), QStringLiteral("Use Selection for E6-1"));
        QCOMPARE(use->isEnabled(), usable);
    }

    void cropRoundsOutwardToWholePixels_data()
    {
        QTest::addColumn<QRectF>("selection");
        QTest::addColumn<QRect>("pixels");
        QTest::newRow("whole image") << QRectF(0, 0, 1, 1) << QRect(0, 0, 100, 50);
        QTest::newRow("on pixel edges") << QRectF(0.25, 0.2, 0.5, 0.4) << QRect(25, 10, 50, 20);
        QTest::newRow("between pixels") << QRectF(0.105, 0.21, 0.5, 0.5) << QRect(10, 10, 51, 26);
        QTest::newRow("thirds") << QRectF(1.0 / 3, 1.0 / 3, 1.0 / 3, 1.0 / 3) << QRect(33, 16, 34, 18);
    }

    void cropRoundsOutwardToWholePixels()
    {
        QFETCH(QRectF, selection);
        QFETCH(QRect, pixels);
        // Every pixel holds its own coordinates, so the crop tells where it came from.
        QImage image(100, 50, QImage::Format_RGB32);
        for (int y = 0; y < 50; ++y)
            for (int x = 0; x < 100; ++x)
                image.setPixel(x, y, qRgb(x, y, 0));
        const QImage crop = DiagramReviewView::crop(image, selection);
        QCOMPARE(crop.size(), pixels.size());
        QCOMPARE(qRed(crop.pixel(0, 0)), pixels.left());
        QCOMPARE(qGreen(crop.pixel(0, 0)), pixels.top());
    }

    void sampleReviewEndToEnd()
    {
        fresh();
        UpdatesView view(*m_store);
        view.show();
        QTest::mouseClick(child<QPushButton>(&view, QStringLiteral("testDiagramReview")), Qt::LeftButton);
        DiagramReviewView* sheet = view.reviewSheet();
        QVERIFY(sheet);
        QVERIFY(sheet->isVisible());
        QCOMPARE(text(sheet, QStringLiteral("reviewTitle")), QStringLiteral("Test Diagram Review"));
        QCOMPARE(text(sheet, QStringLiteral("sampleNote")),
                 QStringLiteral("Sample sheet only — your question pools and progress will not change."));
        auto* figurePicker = child<QComboBox>(sheet, QStringLiteral("figurePicker"));
        auto* canvas = child<ReviewCanvas>(sheet, QStringLiteral("reviewCanvas"));
        auto* use = child<QPushButton>(sheet, QStringLiteral("useSelection"));
        auto* confirm = child<QPushButton>(sheet, QStringLiteral("confirmReview"));
        auto* progress = child<QLabel>(sheet, QStringLiteral("reviewProgress"));
        QCOMPARE(progress->text(), QStringLiteral("0 of 4 figures reviewed"));
        QCOMPARE(confirm->text(), QStringLiteral("Finish Test"));
        QVERIFY(!confirm->isEnabled());

        // Each figure sits in its quarter of the sheet; drag inside that quarter around the figure's middle.
        const int cellWidth = canvas->width() / 2, cellHeight = canvas->height() / 2;
        for (int i = 0; i < 4; ++i) {
            figurePicker->setCurrentIndex(i);
            QCOMPARE(sheet->activeLabel(), sampleLabels.at(i));
            const QPoint cell((i % 2) * cellWidth, (i / 2) * cellHeight);
            drag(canvas, cell + QPoint(cellWidth / 3, cellHeight / 3),
                 cell + QPoint(2 * cellWidth / 3, 2 * cellHeight / 3));
            QCOMPARE(use->text(), QStringLiteral("Use Selection for ") + sampleLabels.at(i));
            QTest::mouseClick(use, Qt::LeftButton);
            QCOMPARE(centreColour(sheet->crops().value(sampleLabels.at(i))), sampleColours.at(i));
            QVERIFY(!child<QLabel>(sheet, QStringLiteral("cropPreview"))->pixmap().isNull());
            QCOMPARE(progress->text(), QStringLiteral("%1 of 4 figures reviewed").arg(i + 1));
            QCOMPARE(confirm->isEnabled(), i == 3);
            if (i == 1) {
                // The questions of the chosen figure: E6-2 is mentioned once; E6-4 belongs to no sample figure.
                QCOMPARE(text(sheet, QStringLiteral("questionsHeading")), QStringLiteral("Questions using E6-2"));
                const auto lines = sheet->findChildren<QLabel*>(QStringLiteral("questionLine"));
                QCOMPARE(lines.size(), 1);
                QCOMPARE(lines.first()->text(), QStringLiteral("E1A02: Which part of Figure E6-2 is marked?"));
            }
        }
        figurePicker->setCurrentIndex(0);
        QCOMPARE(sheet->findChildren<QLabel*>(QStringLiteral("questionLine")).size(), 2);
        drag(canvas, QPoint(20, 20), QPoint(180, 150));
        screenshot(*sheet, QStringLiteral("diagram-review"));

        QTest::mouseClick(confirm, Qt::LeftButton);
        QMessageBox* done = sheet->completion();
        QVERIFY(done);
        QCOMPARE(done->windowTitle(), QStringLiteral("Diagram Review Test Complete"));
        QCOMPARE(done->informativeText(),
                 QStringLiteral("All four sample figures were assigned. Check that each preview contains only its "
                                "intended diagram. No question pools or progress were changed."));
        QSignalSpy closed(sheet, &QDialog::finished);
        QTest::mouseClick(child<QPushButton>(done, QStringLiteral("reviewDone")), Qt::LeftButton);
        QCOMPARE(closed.size(), 1);
        QVERIFY(!sheet->isVisible());
        // A sample changes nothing on disk and leaves no pending review.
        QVERIFY(!QFile::exists(m_store->filePath(QStringLiteral("diagram-corrections.json"))));
        QVERIFY(!m_store->diagramReview());
        QCOMPARE(m_store->message(), QString());
    }

    void missingSampleFigureOpensNoSheet()
    {
        Pack pack = reviewPack();
        pack.assets.remove(QStringLiteral("E6-3.png"));
        m_store.reset();
        m_store = makeStore(m_dir, pack);
        UpdatesView view(*m_store);
        view.show();
        QTest::mouseClick(child<QPushButton>(&view, QStringLiteral("testDiagramReview")), Qt::LeftButton);
        QVERIFY(!view.reviewSheet());
        QCOMPARE(m_store->message(), QStringLiteral("The sample diagram is unavailable."));
    }

    void realReviewStaysOpenUntilSaved()
    {
        fresh(pendingReview());
        UpdatesView view(*m_store);
        view.show();
        auto* reviewButton = child<QPushButton>(&view, QStringLiteral("reviewDiagrams"));
        QVERIFY(!reviewButton->isHidden());
        QTest::mouseClick(reviewButton, Qt::LeftButton);
        DiagramReviewView* sheet = view.reviewSheet();
        QVERIFY(sheet);
        QCOMPARE(text(sheet, QStringLiteral("reviewTitle")), QStringLiteral("Review Diagrams"));
        QVERIFY(!sheet->findChild<QLabel*>(QStringLiteral("sampleNote")));
        auto* confirm = child<QPushButton>(sheet, QStringLiteral("confirmReview"));

        // The sheet is 800 by 400, shown at 660 by 330: the red figure on the left, the blue one on the right.
        auto* canvas = child<ReviewCanvas>(sheet, QStringLiteral("reviewCanvas"));
        auto* use = child<QPushButton>(sheet, QStringLiteral("useSelection"));
        auto* sheetPicker = child<QComboBox>(sheet, QStringLiteral("sourceSheetPicker"));
        QCOMPARE(sheetPicker->count(), 2);
        // A selection belongs to its sheet: choosing another sheet clears it.
        drag(canvas, QPoint(10, 10), QPoint(320, 320));
        QVERIFY(use->isEnabled());
        sheetPicker->setCurrentIndex(1);
        QVERIFY(canvas->selection().isEmpty());
        QVERIFY(!use->isEnabled());
        QCOMPARE(canvas->size(), QSize(330, 330));
        sheetPicker->setCurrentIndex(0);
        drag(canvas, QPoint(10, 10), QPoint(320, 320));
        QTest::mouseClick(use, Qt::LeftButton);
        child<QComboBox>(sheet, QStringLiteral("figurePicker"))->setCurrentIndex(1);
        drag(canvas, QPoint(340, 10), QPoint(650, 320));
        QTest::mouseClick(use, Qt::LeftButton);
        QCOMPARE(centreColour(sheet->crops().value(QStringLiteral("E9-1"))), QColor(Qt::red));
        QCOMPARE(centreColour(sheet->crops().value(QStringLiteral("E9-2"))), QColor(Qt::blue));
        screenshot(*sheet, QStringLiteral("diagram-review-pending"));

        // The test parse refuses the crops: the sheet stays open with them, and the store says why.
        QString duringSave;
        bool enabledDuringSave = true;
        m_store->setParser([&](const QByteArray&, const QUrl&, const QString&, const Corrections&) -> Pack {
            duringSave = confirm->text();
            enabledDuringSave = confirm->isEnabled();
            throw OfficialUpdates::UpdateError(OfficialUpdates::UpdateError::figures);
        });
        QTest::mouseClick(confirm, Qt::LeftButton);
        QCOMPARE(duringSave, QStringLiteral("Saving…"));
        QVERIFY(!enabledDuringSave);
        QVERIFY(m_store->message().startsWith(QStringLiteral("Could not finish diagram review: ")));
        QVERIFY(sheet->isVisible());
        QCOMPARE(sheet->crops().size(), 2);
        QCOMPARE(confirm->accessibleName(), QStringLiteral("Confirm Diagrams & Retry Update"));
        QCOMPARE(confirm->text(), QStringLiteral("Confirm Diagrams && Retry Update")); // shown with one ampersand
        QVERIFY(confirm->isEnabled());
        QVERIFY(m_store->diagramReview());

        // Once the crops pass, the sheet closes, the review is done and the update runs again.
        m_store->setMessage(QString());
        Corrections tested;
        m_store->setParser([&](const QByteArray&, const QUrl&, const QString&, const Corrections& c) {
            tested = c;
            return Pack();
        });
        m_store->setRefresher([](const Pack& pack, const Corrections&) { return pack; });
        QSignalSpy retried(m_store.get(), &Store::updateCheckFinished);
        QTest::mouseClick(confirm, Qt::LeftButton);
        QCOMPARE(m_store->message(), QString());
        QCOMPARE(tested.value(QStringLiteral("abc123")).keys(), pendingReview().labels);
        QVERIFY(!sheet->isVisible());
        QTRY_VERIFY(!view.reviewSheet());
        QVERIFY(!m_store->diagramReview());
        QVERIFY(reviewButton->isHidden());
        QVERIFY(retried.size() == 1 || retried.wait(10000));
    }
};

AEROWEN_TEST_MAIN(TestDiagramReview, QApplication)
#include "TestDiagramReview.moc"
