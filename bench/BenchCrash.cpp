// Benchmark: crash safety over many kills. A child process saves a large progress file (60 finished exams with their
// full pool copies, two alternating states) over and over; it is killed with SIGKILL at a random moment of its saves,
// and the file left behind is read back. A torn file is one that does not decode as a whole state.
//
// Usage: bench-crash [kills] [seed]      (default 1000 kills)
// Prints the number of kills, torn files, the size range of the files read back, and the temporary files that the
// killed saves left beside the progress file.
#include "model/Errors.h"
#include "model/Learner.h"
#include "support/Fixtures.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QThread>

#include <cstdio>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const int kills = argc > 1 ? std::atoi(argv[1]) : 1000;
    QRandomGenerator random(argc > 2 ? quint32(std::atoi(argv[2])) : 20261123u);
    QTemporaryDir dir;
    const QString progress = dir.filePath(QStringLiteral("progress.json"));
    int torn = 0;
    qint64 smallest = std::numeric_limits<qint64>::max(), largest = 0;
    QElapsedTimer clock;
    clock.start();
    for (int kill = 0; kill < kills; ++kill) {
        QProcess writer;
        writer.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        writer.start(QStringLiteral(PROGRESS_WRITER), {dir.path(), Fixtures::sourcePackPath()});
        if (!writer.waitForReadyRead(60000)) {
            std::fprintf(stderr, "the writer did not start: %s\n", qPrintable(writer.errorString()));
            return 2;
        }
        while (kill == 0 && !QFile::exists(progress))
            QThread::msleep(5);
        QThread::msleep(random.bounded(0, 400));
        writer.kill();
        writer.waitForFinished();
        const QByteArray bytes = Fixtures::readFile(progress);
        smallest = std::min<qint64>(smallest, bytes.size());
        largest = std::max<qint64>(largest, bytes.size());
        try {
            const Saved saved = Saved::fromBytes(bytes);
            const QString name = saved.profiles.value(0).name;
            torn += saved.results.size() != 60 ||
                    (name != QLatin1StringView("Writer A") && name != QLatin1StringView("Writer B"));
        } catch (const Failure&) {
            ++torn;
        }
        if ((kill + 1) % 100 == 0)
            std::printf("%d kills, %d torn\n", kill + 1, torn), std::fflush(stdout);
    }
    const qsizetype strays = QDir(dir.path()).entryList(QDir::Files).size() - 1;
    std::printf("kills: %d in %.0f s\ntorn files: %d\nfile sizes read back: %lld to %lld bytes\n"
                "temporary files left by killed saves: %lld\n",
                kills, clock.elapsed() / 1000.0, torn, smallest, largest, qint64(strays));
    return torn == 0 ? 0 : 1;
}
