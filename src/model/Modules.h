// Parts of the application that need large libraries of their own (rendering PDF figures, printing) are built as
// modules and loaded the first time they are used, so that starting the application does not load those libraries.
#pragma once

#include <QFunctionPointer>
#include <QString>

namespace Modules {

// The module folder: its place relative to the installed application (the build tree keeps the same layout), or
// the folder a test program names.
QString directory();
void setDirectoryForTesting(const QString& path);

// An entry point of the named module, or null when the module or the entry point cannot be loaded (the reason is
// logged). A module stays loaded once loaded.
QFunctionPointer resolve(const char* module, const char* entry);

template <typename Function> Function* entry(const char* module, const char* name)
{
    return reinterpret_cast<Function*>(resolve(module, name));
}

} // namespace Modules
