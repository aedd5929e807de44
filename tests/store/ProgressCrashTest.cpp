// A process killed in the middle of saving never leaves a torn progress file behind.
#include "support/Fixtures.h"
#include "support/TestEnvironment.h"

#include <QCoreApplication>
#include <QProcess>
#include <QRandomGenerator>
#include <QThread>

using namespace Qt::StringLiterals;

class ProgressCrashTest : public QObject
{
    Q_OBJECT

private slots:
    void killedWriterLeavesAWholeFile()
    {
        QTemporaryDir dir;
        const QString progress = dir.filePath(u"progress.json"_s);
        QRandomGenerator random(20261122);
        qint64 largest = 0;
        for (int round = 0; round < 60; ++round) {
            QProcess writer;
            writer.setProcessChannelMode(QProcess::ForwardedErrorChannel);
            writer.start(QStringLiteral(PROGRESS_WRITER), {dir.path(), Fixtures::sourcePackPath()});
            // Once the pack is read and the states built, it says so and saves from then on.
            QVERIFY2(writer.waitForReadyRead(60000), qPrintable(writer.errorString()));
            for (int waited = 0; round == 0 && !QFile::exists(progress) && waited < 12000; ++waited)
                QThread::msleep(5); // the first round kills only once there is a file to tear
            QThread::msleep(random.bounded(0, 400));
            QCOMPARE(writer.state(), QProcess::Running); // killed in the middle of its work, not dead by itself
            writer.kill();                               // SIGKILL
            QVERIFY(writer.waitForFinished());
            const QByteArray bytes = Fixtures::readFile(progress);
            largest = std::max<qint64>(largest, bytes.size());
            Saved saved;
            QVERIFY_THROWS_NO_EXCEPTION(saved = Saved::fromBytes(bytes));
            QVERIFY(saved.profiles.at(0).name == "Writer A"_L1 || saved.profiles.at(0).name == "Writer B"_L1);
            QCOMPARE(saved.results.size(), 60);
        }
        QVERIFY2(largest > 4'000'000, qPrintable(QString::number(largest)));
    }
};

AEROWEN_TEST_MAIN(ProgressCrashTest, QCoreApplication)
#include "ProgressCrashTest.moc"
