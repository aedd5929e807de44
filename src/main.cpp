// Kestovan Aerowen: starts the one store and the main window.
#include "store/Settings.h"
#include "store/Store.h"
#include "ui/MainWindow.h"

#include <QApplication>
#include <cstdio>

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    QApplication::setOrganizationName(Settings::organization);
    QApplication::setApplicationName(Settings::application);
    QApplication::setApplicationVersion(QStringLiteral("1.0.2"));

    std::unique_ptr<Store> store;
    try {
        store = std::make_unique<Store>();
    } catch (const BuiltInPackError& error) {
        std::fprintf(stderr, "kestovan-aerowen: %s\n", error.what());
        return 1;
    }

    MainWindow window(*store);
    window.show();
    return QApplication::exec();
}
