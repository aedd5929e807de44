// The store's figure look-ups: which asset a question shows, and decoding raster and PDF figures.
#include "store/Store.h"
#include "support/FixtureDocuments.h"
#include "support/Fixtures.h"
#include "support/TestEnvironment.h"

#include <QBuffer>
#include <QGuiApplication>
#include <QPainter>
#include <QPdfWriter>
#include <QTemporaryDir>
#include <QTest>

namespace {

QByteArray pdf()
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QPdfWriter writer(&buffer);
    writer.setPageSize(QPageSize(QSizeF(200, 100), QPageSize::Point));
    QPainter painter(&writer);
    painter.drawRect(QRect(100, 100, 1000, 500));
    painter.end();
    return bytes;
}

QString base64(const QByteArray& bytes)
{
    return QString::fromLatin1(bytes.toBase64());
}

Question question(const QString& prompt, const std::optional<QString>& figure)
{
    Question q;
    q.id = QStringLiteral("E6A01");
    q.group = QStringLiteral("E6A");
    q.prompt = prompt;
    q.answers = {"a", "b", "c", "d"};
    q.figure = figure;
    return q;
}

} // namespace

class TestStoreFigures : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    std::unique_ptr<Store> m_store;

private slots:
    void initTestCase()
    {
        Pack pack = Fixtures::threeLevelPack();
        pack.assets = {{"E6-2.png", base64(FixtureDocuments::png(0xff0000, 30, 20))},
                       {"T1.jpg", base64(FixtureDocuments::png(0x00ff00))},
                       {"G7-1.pdf", base64(pdf())},
                       {"extra-2024-E7-1-0123456789abcdef.png", base64(FixtureDocuments::png(0xff))},
                       {"text.png", base64("no picture in here")}};
        pack.validate();
        const QString packPath = m_dir.filePath(QStringLiteral("pools.json"));
        Fixtures::writeFile(packPath, pack.toBytes());
        m_store = std::make_unique<Store>(packPath, m_dir.filePath(QStringLiteral("storage")));
        QCOMPARE(m_store->pack().assets.size(), 5);
    }
    void cleanupTestCase() { m_store.reset(); }

    void diagramFilePrefersStoredFiguresOverPlaceholders_data()
    {
        QTest::addColumn<QString>("prompt");
        QTest::addColumn<QString>("figure");   // empty: none
        QTest::addColumn<QString>("expected"); // empty: none
        QTest::newRow("placeholder replaced by the label's asset") << "What is shown in Figure E6-2?"
                                                                   << "extra-2.jpg"
                                                                   << "E6-2.png";
        QTest::newRow("placeholder kept without such an asset") << "What is shown in Figure E6-3?"
                                                                << "extra-2.jpg"
                                                                << "extra-2.jpg";
        QTest::newRow("stored figure wins") << "What is shown in Figure E6-2?"
                                            << "extra-2024-E7-1-0123456789abcdef.png"
                                            << "extra-2024-E7-1-0123456789abcdef.png";
        QTest::newRow("technician label gives .jpg") << "Which is component 1 in figure t-1?"
                                                     << ""
                                                     << "T1.jpg";
        QTest::newRow("general label gives .pdf") << "In Figure G7–1, what is 3?"
                                                  << ""
                                                  << "G7-1.pdf";
        QTest::newRow("first mention counts") << "Figure E6-3 or Figure E6-2?"
                                              << ""
                                              << "";
        QTest::newRow("no mention, no figure") << "What is a dipole?"
                                               << ""
                                               << "";
        QTest::newRow("other placeholder") << "Figure E6-2 again"
                                           << "extra-3.jpg"
                                           << "E6-2.png";
    }
    void diagramFilePrefersStoredFiguresOverPlaceholders()
    {
        QFETCH(QString, prompt);
        QFETCH(QString, figure);
        QFETCH(QString, expected);
        const auto found =
            m_store->diagramFile(question(prompt, figure.isEmpty() ? std::nullopt : std::optional<QString>(figure)));
        QCOMPARE(found, expected.isEmpty() ? std::nullopt : std::optional<QString>(expected));
    }

    void imageDecodesRasterAndPdfFigures_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QSize>("size"); // invalid: none
        QTest::newRow("PNG") << "E6-2.png" << QSize(30, 20);
        QTest::newRow("PDF at twice its point size") << "G7-1.pdf" << QSize(400, 200);
        QTest::newRow("absent") << "E9-9.png" << QSize();
        QTest::newRow("not an image") << "text.png" << QSize();
    }
    void imageDecodesRasterAndPdfFigures()
    {
        QFETCH(QString, name);
        QFETCH(QSize, size);
        const std::optional<QImage> image = m_store->image(name);
        if (!size.isValid()) {
            QVERIFY(!image);
            return;
        }
        QVERIFY(image);
        QCOMPARE(image->size(), size);
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

AEROWEN_TEST_MAIN(TestStoreFigures, QGuiApplication)
#include "tst_StoreFigures.moc"
