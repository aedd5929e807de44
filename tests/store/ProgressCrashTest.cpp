// A process killed in the middle of saving never leaves a torn progress file behind.
#include "support/Fixtures.h"
#include "support/TestEnvironment.h"

#include "model/Learner.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

class ProgressCrashTest : public QObject
{
    Q_OBJECT

private slots:
    void killedWriterLeavesAWholeFile()
    {
        QTemporaryDir dir;
        QVERIFY(dir.isValid());
        const QString progress = dir.filePath(QStringLiteral("progress.json"));
        QRandomGenerator random(20261122);
        int kills = 0;
        qint64 largest = 0;
        for (int round = 0; round < 60; ++round) {
            QProcess writer;
            writer.setProcessChannelMode(QProcess::ForwardedErrorChannel);
            writer.start(QStringLiteral(PROGRESS_WRITER), {dir.path(), Fixtures::sourcePackPath()});
            QVERIFY2(writer.waitForStarted(), qPrintable(writer.errorString()));
            if (round == 0) {
                QElapsedTimer waited;
                waited.start();
                while (!QFile::exists(progress) && waited.elapsed() < 60000)
                    QThread::msleep(5);
                QVERIFY(QFile::exists(progress));
            }
            QThread::msleep(random.bounded(10, 400));
            QCOMPARE(writer.state(), QProcess::Running); // it must be killed mid-work, not have died by itself
            writer.kill();                               // SIGKILL
            QVERIFY(writer.waitForFinished());
            ++kills;

            const QByteArray bytes = Fixtures::readFile(progress);
            largest = std::max<qint64>(largest, bytes.size());
            Saved saved;
            try {
                saved = Saved::fromBytes(bytes);
            } catch (const std::exception& e) {
                QFAIL(qPrintable(QStringLiteral("round %1: torn progress file (%2 bytes): %3")
                                     .arg(round)
                                     .arg(bytes.size())
                                     .arg(QString::fromUtf8(e.what()))));
            }
            QVERIFY(saved.profiles.at(0).name == QLatin1StringView("Writer A") ||
                    saved.profiles.at(0).name == QLatin1StringView("Writer B"));
            QCOMPARE(saved.results.size(), 60);
        }
        QVERIFY(kills >= 50);
        QVERIFY2(largest > 4'000'000, qPrintable(QString::number(largest)));
    }
};

AEROWEN_TEST_MAIN(ProgressCrashTest, QCoreApplication)
#include "ProgressCrashTest.moc"
