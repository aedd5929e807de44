// The application as its main starts it, pointed at a local site that the quit test controls. Prints the storage
// folder once the exam of the learner named by the second argument is open and answered; a line on standard input
// closes the window ("click" answers by key first).
#include "support/TestEnvironment.h"

#include "appupdate/AppRelease.h"
#include "store/Store.h"
#include "ui/App.h"
#include "updater/OfficialUpdates.h"

#include <QApplication>
#include <QSocketNotifier>
#include <cstdio>
#include <unistd.h>

int main(int argc, char** argv)
{
    TestEnvironment::prepare();
    QApplication app(argc, argv);
    const int port = app.arguments().value(1).toInt();
    OfficialUpdates::setOfficialSiteForTesting(QStringLiteral("localhost"), port);
    AppRelease::setRecordAddressForTesting(
        QUrl(QStringLiteral("https://127.0.0.1:%1/static/downloads/aerowen-version.json").arg(port)));

    AerowenApp aerowen(app);
    aerowen.handleTerminationSignals();
    Store& store = aerowen.store();
    const QString name = app.arguments().value(2);
    store.addProfile(name);
    // Finished exams make each save long enough for a quit to meet one under way.
    for (int n = 0; n < 12; ++n) {
        store.begin(store.studyPools().first(), QStringLiteral("Exam"), name, false, QString());
        store.finish();
    }
    store.begin(store.studyPools().first(), QStringLiteral("Exam"), name, false, QString());
    store.answer(0);

    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &app, [&aerowen] {
        char buffer[64] = {};
        if (::read(STDIN_FILENO, buffer, sizeof buffer - 1) <= 0)
            return;
        // "click": the first answer changed to C with the keyboard, and the window closed at once.
        if (QByteArray(buffer).startsWith("click"))
            QTest::keyClick(QApplication::focusWidget() ? QApplication::focusWidget() : &aerowen.root(), Qt::Key_C);
        aerowen.root().window()->close();
    });
    aerowen.root().activateWindow(); // its keys reach the question screen
    if (!QTest::qWaitForWindowActive(&aerowen.root()))
        return 1;
    std::printf("%s\n", qPrintable(store.folder()));
    std::fflush(stdout);
    return QApplication::exec();
}
