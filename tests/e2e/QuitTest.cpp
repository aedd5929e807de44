// Quitting while a check cannot finish: the draft is saved and the process is gone within two seconds, its
// child processes with it.
#include "support/TestEnvironment.h"

#include "model/Learner.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <csignal>

namespace {

// A site that accepts every connection and never answers: curl, and the release request, wait on it forever.
const char* silentSite = R"(
import socket, sys
s = socket.socket(); s.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
s.bind(("127.0.0.1", 0)); s.listen(64)
print(s.getsockname()[1], flush=True)
held = []
while True:
    c, _ = s.accept(); held.append(c); print("accepted", flush=True)
)";

// Processes still running whose command line names the silent site's port (a curl left behind).
QStringList childrenOf(int port)
{
    QStringList found;
    const QString needle = QStringLiteral(":%1/").arg(port);
    for (const QString& pid : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
        QFile cmdline(QStringLiteral("/proc/%1/cmdline").arg(pid));
        if (cmdline.open(QIODevice::ReadOnly)) {
            const QString text = QString::fromUtf8(cmdline.readAll().replace('\0', ' '));
            if (text.contains(needle) && text.contains(QLatin1StringView("curl")))
                found.append(text);
        }
    }
    return found;
}

} // namespace

class QuitTest : public QObject
{
    Q_OBJECT

private slots:
    void quitDuringAHangingCheckSavesAndEndsAtOnce()
    {
        QProcess site;
        site.start(QStringLiteral("python3"), {QStringLiteral("-c"), QString::fromLatin1(silentSite)});
        QVERIFY(site.waitForReadyRead(10000));
        const int port = site.readLine().trimmed().toInt();
        QVERIFY(port > 0);

        const QList<int> ways{SIGTERM, SIGINT, SIGHUP, 0}; // 0: the window is closed
        for (int run = 0; run < 20; ++run) {
            const int way = ways.at(run % ways.size());
            QTemporaryDir home;
            QProcess app;
            QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
            environment.insert(QStringLiteral("HOME"), home.path());
            environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
            app.setProcessEnvironment(environment);
            app.setProcessChannelMode(QProcess::ForwardedErrorChannel);
            app.start(QStringLiteral(QUIT_LAUNCHER), {QString::number(port)});
            QVERIFY(app.waitForReadyRead(20000));
            const QString folder = QString::fromUtf8(app.readLine().trimmed());
            // The launch check has reached the site and waits for an answer that never comes.
            QTRY_VERIFY_WITH_TIMEOUT(site.canReadLine() || site.waitForReadyRead(100), 20000);
            while (site.canReadLine())
                site.readLine();

            QElapsedTimer clock;
            clock.start();
            if (way)
                ::kill(pid_t(app.processId()), way);
            else
                app.write("close\n");
            QVERIFY2(app.waitForFinished(2000), qPrintable(QStringLiteral("run %1 still running").arg(run)));
            QVERIFY(clock.elapsed() < 2000);
            QCOMPARE(app.exitStatus(), QProcess::NormalExit);
            QCOMPARE(app.exitCode(), 0);

            QFile progress(folder + QStringLiteral("/progress.json"));
            QVERIFY(progress.open(QIODevice::ReadOnly));
            const Saved saved = Saved::fromBytes(progress.readAll());
            QCOMPARE(saved.drafts.size(), 1);
            QCOMPARE(saved.drafts.first().answers.size(), 1);
            QCOMPARE(childrenOf(port), QStringList());
        }
        site.kill();
        site.waitForFinished();
    }
};

AEROWEN_TEST(QuitTest)
#include "QuitTest.moc"
