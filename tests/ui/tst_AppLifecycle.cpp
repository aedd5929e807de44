// The application object: one store with its default folder, and an open session saved when a signal ends the run.
#include "UiHarness.h"
#include "support/TestEnvironment.h"

#include <QApplication>
#include <QTest>
#include <QTimer>
#include <csignal>

namespace {
// The whole program runs with a temporary home, so the store's default folder is a throw-away one.
QTemporaryDir* home = nullptr;
} // namespace

class AppLifecycleTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { installFakeUpdater(); }

    void terminationSignalSavesTheOpenSession_data()
    {
        QTest::addColumn<int>("signal");
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("drafts");
        QTest::newRow("SIGTERM, named") << int(SIGTERM) << "Ada" << 1;
        QTest::newRow("SIGHUP, named") << int(SIGHUP) << "Ada" << 1;
        QTest::newRow("SIGINT, named") << int(SIGINT) << "Ada" << 1;
        QTest::newRow("SIGTERM, Guest") << int(SIGTERM) << "Guest" << 0;
    }

    void terminationSignalSavesTheOpenSession()
    {
        QFETCH(int, signal);
        QFETCH(QString, name);
        QFETCH(int, drafts);
        QString folder;
        QUuid session;
        {
            AerowenApp app(*qApp);
            app.handleTerminationSignals();
            Store& store = app.store();
            folder = store.folder();
            QVERIFY(folder.startsWith(home->path()));
            store.setRefresher([](const Pack& pack, const Corrections&) { return pack; });
            store.setReleaseFetcher([] { return AppRelease{QStringLiteral("1.0.2"), 9, QUrl()}; });
            QVERIFY(app.root().isVisible());
            store.clearAllData();
            double now = 100;
            store.setClock([&now] { return now; });
            if (!isGuestName(name))
                store.addProfile(name);
            const Pool pool = store.studyPools().first();
            store.begin(pool, QStringLiteral("Exam"), name, true, QString());
            QVERIFY(store.session());
            session = store.session()->id;
            store.answer(2);
            // Only the save on the way out knows about this time; the answer's save came before it.
            now += 500;
            QTimer::singleShot(200, [signal] { ::raise(signal); });
            // A signal turns into an ordinary quit: the loop returns normally.
            QCOMPARE(QApplication::exec(), 0);
        }
        Store reopened(std::nullopt, folder);
        QCOMPARE(reopened.saved().drafts.size(), drafts);
        if (drafts) {
            QCOMPARE(reopened.saved().drafts.first().id, session);
            QCOMPARE(reopened.saved().drafts.first().answers.size(), 1);
            QCOMPARE(reopened.saved().drafts.first().elapsed, 500.0);
        }
    }
};

int main(int argc, char** argv)
{
    home = new QTemporaryDir();
    qputenv("HOME", home->path().toUtf8());
    TestEnvironment::prepare();
    QApplication app(argc, argv);
    AppLifecycleTest test;
    const int status = QTest::qExec(&test, argc, argv);
    delete home;
    return status;
}
#include "tst_AppLifecycle.moc"
