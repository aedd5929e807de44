// Kestovan Aerowen: starts the application object, which creates the one store and the main window.
#include "store/Settings.h"
#include "store/Store.h"
#include "ui/App.h"

#include <QApplication>
#include <cstdio>
#include <memory>

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    QApplication::setOrganizationName(Settings::organization);
    QApplication::setApplicationName(Settings::application);
    QApplication::setApplicationVersion(QStringLiteral("1.0.2"));

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
