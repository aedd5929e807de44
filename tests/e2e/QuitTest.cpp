// Quitting while a check cannot finish, by a signal or by closing the window right after a click: a named learner's
// draft is saved with the time up to the quit and the click (a Guest's is not), and the process is gone within two
// seconds, its child processes with it.
#include "support/Fixtures.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <csignal>

namespace {

// A site that accepts every connection and never answers: curl, and the release request, wait on it forever.
const char* silentSite = R"(
import socket
s, held = socket.create_server(("127.0.0.1", 0), backlog=64), []
print(s.getsockname()[1], flush=True)
while True: held.append(s.accept()[0]); print("accepted", flush=True)
)";

// Processes still running whose command line names the silent site's port (a curl left behind).
QStringList childrenOf(int port)
{
    QStringList found;
    for (const QString& pid : QDir("/proc").entryList(QDir::Dirs)) {
        const QString text = QString::fromUtf8(Fixtures::readFile("/proc/" + pid + "/cmdline").replace('\0', ' '));
        if (text.contains(QStringLiteral(":%1/").arg(port)) && text.contains("curl"))
            found.append(text);
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
        QProcess site; // killed when it goes out of scope
        site.start("python3", {"-c", QString::fromLatin1(silentSite)});
        QVERIFY(site.waitForReadyRead(10000));
        const int port = site.readLine().trimmed().toInt();
        QVERIFY(port > 0);

        for (int run = 0; run < 20; ++run) {
            const int way = QList{SIGTERM, SIGINT, SIGHUP, 0}.at(run % 4); // 0: the window is closed
            const QString name = run % 5 == 4 ? "Guest" : "Ada";
            QTemporaryDir home;
            QProcess app;
            QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
            environment.insert("HOME", home.path());
            environment.insert("QT_QPA_PLATFORM", "offscreen");
            app.setProcessEnvironment(environment);
            app.setProcessChannelMode(QProcess::ForwardedErrorChannel);
            app.start(QUIT_LAUNCHER, {QString::number(port), name});
            QVERIFY(app.waitForReadyRead(20000));
            const QString folder = QString::fromUtf8(app.readLine().trimmed());
            QElapsedTimer open; // the exam has been open at least this long when it is ended
            open.start();
            // The launch check has reached the site and waits for an answer that never comes.
            QTRY_VERIFY_WITH_TIMEOUT(site.canReadLine() || site.waitForReadyRead(100), 20000);
            while (site.canReadLine())
                site.readLine();

            const double seconds = open.restart() / 1000.0; // and from now on, the time the quit takes
            if (way)
                ::kill(pid_t(app.processId()), way);
            else
                app.write("click\n"); // a quit right after a click saves the click
            QVERIFY2(app.waitForFinished(2000) && open.elapsed() < 2000, qPrintable(QString("run %1").arg(run)));
            QCOMPARE(app.exitStatus(), QProcess::NormalExit);
            QCOMPARE(app.exitCode(), 0);
            const QString file = folder + "/progress.json";
            const Saved saved = QFile::exists(file) ? Saved::fromBytes(Fixtures::readFile(file)) : Saved::initial();
            QCOMPARE(saved.drafts.size(), name == "Guest" ? 0 : 1);
            if (name != "Guest")
                QVERIFY2(saved.drafts.first().answers.values() == QList<qint64>{way ? 0 : 2} &&
                             saved.results.size() == 12 && saved.drafts.first().elapsed >= seconds,
                         qPrintable(QString("run %1").arg(run)));
            QCOMPARE(childrenOf(port), QStringList());
        }
    }
};

AEROWEN_TEST(QuitTest)
#include "QuitTest.moc"
