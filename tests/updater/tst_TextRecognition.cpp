// Text recognition of figure captions on images the test draws itself, and its use by the figure step.
#include "support/FixtureDocuments.h"
#include "support/TestEnvironment.h"
#include "updater/OfficialUpdates.h"

#include <QBuffer>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QTest>

using namespace OfficialUpdates;
namespace FD = FixtureDocuments;

namespace {

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
        const int top = 260 * i;
        painter.drawRect(60, top + 30, 200, 120);
        painter.drawLine(260, top + 90, 420, top + 90);
        painter.drawText(QPoint(60, top + 220), captions.at(i));
    }
    painter.end();
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes;
}

QStringList labelsIn(const QString& text)
{
    QStringList labels;
    for (const QStringList& m : matches(figureLabelPattern, text))
        labels.append(normalFigure(m.at(1)));
    return labels;
}

} // namespace

class TestTextRecognition : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { FixtureDocuments::isolateTemporaryFolder(); }
    void captionsAreRecognised_data()
    {
        QTest::addColumn<QStringList>("captions");
        QTest::addColumn<QByteArray>("format");
        QTest::addColumn<QStringList>("labels");
        QTest::newRow("one figure") << QStringList{"Figure E6-1"} << QByteArray("PNG") << QStringList{"E6-1"};
        QTest::newRow("JPEG") << QStringList{"Figure G7-1"} << QByteArray("JPG") << QStringList{"G7-1"};
        QTest::newRow("the same caption twice")
            << QStringList{"Figure E6-1", "Figure E6-1"} << QByteArray("PNG") << QStringList{"E6-1", "E6-1"};
        QTest::newRow("two figures") << QStringList{"Figure E6-1", "Figure E6-2"} << QByteArray("PNG")
                                     << QStringList{"E6-1", "E6-2"};
    }
    void captionsAreRecognised()
    {
        QFETCH(QStringList, captions);
        QFETCH(QByteArray, format);
        QFETCH(QStringList, labels);
        const QString text = recognizeText(sheet(captions, format.constData()));
        QCOMPARE(labelsIn(text), labels);
    }

    void oneSheetOfTwoFiguresIsCombined()
    {
        const QStringList labels = labelsIn(recognizeText(sheet({"Figure E6-1", "Figure E6-2"})));
        QVERIFY_THROWS_EXCEPTION(UpdateError, verifiedLabels(labels, {"E6-1", "E6-2"}));
        QCOMPARE(verifiedLabels(labelsIn(recognizeText(sheet({"Figure E6-1"}))), {"E6-1"}), QStringList{"E6-1"});
    }

    void undecodableBytesGiveNoText_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("not an image") << QByteArray("this is no picture at all");
        QTest::newRow("truncated PNG") << sheet({"Figure E6-1"}).left(60);
    }
    void undecodableBytesGiveNoText()
    {
        QFETCH(QByteArray, bytes);
        QCOMPARE(recognizeText(bytes), QString());
    }

    void figureStepReadsCaptionsWhenNoTableEntryKnowsTheImage()
    {
        const QStringList before = FD::leftoverDocuments();
        QStringList lines = FD::poolLines(QStringLiteral("extra"));
        lines[FD::questionLine(lines, "E1A01") + 1] = "What is shown in Figure E6-1?";
        lines[FD::questionLine(lines, "E1A02") + 1] = "What is shown in Figure E6-2?";
        const QByteArray single = sheet({"Figure E6-1"});
        const QByteArray combined = sheet({"Figure E6-1", "Figure E6-2"});
        const QByteArray data = FD::document(lines, {{"media/image1.png", single}, {"media/image2.png", combined}});
        const QUrl source = FD::source(QStringLiteral("2024-2028 Extra Class Pool Errata Feb 4 2026.docx"));
        try {
            parse(data, source, QStringLiteral("extra"));
            QFAIL("parsed although E6-2 only appears on a combined sheet");
        } catch (const ReviewRequest& request) {
            QCOMPARE(request.review().labels, QStringList{"E6-2"});
        }
        QCOMPARE(FD::leftoverDocuments(), before);
    }
};

AEROWEN_TEST_MAIN(TestTextRecognition, QGuiApplication)
#include "tst_TextRecognition.moc"
