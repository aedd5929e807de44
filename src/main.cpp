// Kestovan Aerowen: reads the command line, then starts the application object, which creates the one store and
// the main window.
#include "Config.h"
#include "store/Settings.h"
#include "store/Store.h"
#include "ui/App.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QIcon>
#include <cstdio>
#include <fontconfig/fontconfig.h>
#include <future>
#include <memory>

namespace {

// The desktop entry, the icon and the metadata are all named after this id, so that desktops group the window
// with its menu entry.
const QString applicationId = QStringLiteral("org.kestovan.Aerowen");

void describe(QCoreApplication& app)
{
    app.setOrganizationName(Settings::organization);
    app.setApplicationName(Settings::application);
    app.setApplicationVersion(QString::fromLatin1(Config::version));
}

// --help and --version print and exit before any window system is contacted, so they work on a text console too.
void handleCommandLine(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    describe(app);
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Study the official NCVEC question pools and sit practice exams for the US amateur radio "
                       "licences."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.process(app);
}

// Without a display the toolkit would abort with a message about platform plugins; say plainly what is missing.
bool displayAvailable()
{
    return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
           !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
}

} // namespace

int main(int argc, char* argv[])
{
    handleCommandLine(argc, argv);
    if (!displayAvailable()) {
        std::fprintf(stderr, "kestovan-aerowen: no graphical display found (DISPLAY and WAYLAND_DISPLAY are not "
                             "set); start it from a desktop session.\n");
        return 1;
    }

    // The desktop's font configuration (dozens of XML files, read before any text can be measured) and the pack
    // are read on other threads while the window system starts.
    std::future<void> fontConfiguration = std::async(std::launch::async, [] { FcInit(); });
    Store::prefetchBuiltInPack();
    QApplication app(argc, argv);
    describe(app);
    QGuiApplication::setDesktopFileName(applicationId);
    // Every size of the window icon is decoded before the window is shown and sent to the window system with it.
    // Window lists and switchers are served up to 128 pixels (64 at twice the scale); larger views take the desktop
    // entry's icon from the icon theme. The 256-pixel size cost more than the three others together.
    QIcon icon;
    for (int size : {48, 64, 128})
        icon.addFile(QStringLiteral(":/icons/%1-%2.png").arg(applicationId).arg(size), QSize(size, size));
    QApplication::setWindowIcon(icon);
    // The toolkit reads the same configuration on first use; waiting here keeps it from reading a second copy.
    fontConfiguration.wait();

    std::unique_ptr<AerowenApp> aerowen;
    try {
        aerowen = std::make_unique<AerowenApp>(app);
    } catch (const BuiltInPackError& error) {
        std::fprintf(stderr, "kestovan-aerowen: %s\n", error.what());
        return 1;
    }
    aerowen->handleTerminationSignals();
    return QApplication::exec();
}
