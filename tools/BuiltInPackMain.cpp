// Makes the built-in pack's compact form from resources/pools.json at build time: the pack must pass every check,
// and the compact form must read back as the same pack.
// Usage: aerowen-builtin-pack POOLS_JSON OUTPUT
#include "model/BuiltInPack.h"
#include "model/Errors.h"

#include <QCoreApplication>
#include <QFile>
#include <QSaveFile>
#include <cstdio>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() != 3) {
        std::fprintf(stderr, "usage: aerowen-builtin-pack POOLS_JSON OUTPUT\n");
        return 2;
    }
    try {
        QFile input(args.at(1));
        if (!input.open(QIODevice::ReadOnly))
            throw FileError(QStringLiteral("cannot read ") + args.at(1));
        const Pack pack = Pack::fromBytes(input.readAll());
        pack.validate();
        const QByteArray bytes = BuiltInPack::encode(pack);
        if (!(BuiltInPack::decode(bytes) == pack))
            throw DataError();
        QSaveFile output(args.at(2));
        if (!output.open(QIODevice::WriteOnly) || output.write(bytes) != bytes.size() || !output.commit())
            throw FileError(QStringLiteral("cannot write ") + args.at(2));
    } catch (const Failure& failure) {
        std::fprintf(stderr, "aerowen-builtin-pack: %s: %s\n", qPrintable(args.at(1)), failure.what());
        return 1;
    }
    return 0;
}
