// Test isolation and the test-class registry.
#include "TestEnvironment.h"

#include "model/Modules.h"
#include "store/Settings.h"

#include <QCoreApplication>
#include <QDir>
#include <QSettings>
#include <QStandardPaths>
#include <map>
#include <vector>

namespace {
QTemporaryDir* settingsDir = nullptr;

std::map<QString, std::function<std::unique_ptr<QObject>()>>& registry()
{
    static std::map<QString, std::function<std::unique_ptr<QObject>()>> classes;
    return classes;
}
} // namespace

void TestEnvironment::prepare()
{
    QStandardPaths::setTestModeEnabled(true);
    settingsDir = new QTemporaryDir(); // lives for the whole test program
    for (auto format : {QSettings::NativeFormat, QSettings::IniFormat}) {
        QSettings::setPath(format, QSettings::UserScope, settingsDir->path());
        QSettings::setPath(format, QSettings::SystemScope, settingsDir->path());
    }
    QCoreApplication::setOrganizationName(Settings::organization);
    QCoreApplication::setApplicationName(Settings::application);
    Modules::setDirectoryForTesting(QStringLiteral(KESTOVAN_BUILD_MODULE_DIR));
}

void TestRegistry::add(const char* name, std::function<std::unique_ptr<QObject>()> make)
{
    registry().emplace(QString::fromLatin1(name), std::move(make));
}

int TestRegistry::runAll(int argc, char** argv)
{
    std::vector<char*> args(argv, argv + argc);
    QString only;
    if (args.size() > 1 && registry().count(QString::fromLocal8Bit(args[1]))) {
        only = QString::fromLocal8Bit(args[1]);
        args.erase(args.begin() + 1);
    }
    int failed = 0;
    for (const auto& [name, make] : registry()) {
        if (only.isEmpty() || name == only) {
            std::unique_ptr<QObject> test = make();
            failed += QTest::qExec(test.get(), int(args.size()), args.data());
        }
    }
    return failed;
}
