// Test isolation.
#include "TestEnvironment.h"

#include "store/Settings.h"

#include <QCoreApplication>
#include <QDir>
#include <QSettings>
#include <QStandardPaths>

namespace {
QTemporaryDir* settingsDir = nullptr;
}

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
}

QString TestEnvironment::freshFolder(QTemporaryDir& dir)
{
    Q_ASSERT(dir.isValid());
    return dir.path();
}
