// Finding and loading the application's modules.
#include "Modules.h"

#include <QCoreApplication>
#include <QDir>
#include <QLibrary>
#include <QMutex>
#include <QtDebug>

namespace {

QMutex mutex;
QString testDirectory;

} // namespace

QString Modules::directory()
{
    {
        QMutexLocker lock(&mutex);
        if (!testDirectory.isEmpty())
            return testDirectory;
    }
    return QDir::cleanPath(QCoreApplication::applicationDirPath() + QLatin1Char('/') +
                           QLatin1StringView(KESTOVAN_MODULE_PATH));
}

void Modules::setDirectoryForTesting(const QString& path)
{
    QMutexLocker lock(&mutex);
    testDirectory = path;
}

QFunctionPointer Modules::resolve(const char* module, const char* entry)
{
    // Only this exact file is loaded: no search of the library path, where an unrelated library of the same name
    // could be found.
    QLibrary library(directory() + QLatin1Char('/') + QLatin1StringView(module) + QStringLiteral(".so"));
    if (!library.load()) {
        qWarning("module %s could not be loaded: %s", module, qPrintable(library.errorString()));
        return nullptr;
    }
    const QFunctionPointer function = library.resolve(entry);
    if (!function)
        qWarning("module %s has no entry point %s", module, entry);
    return function;
}
