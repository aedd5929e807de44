// Command line of the pack builder: aerowen-packbuilder OUTPUT LEVEL DOCUMENT ADDRESS [LEVEL DOCUMENT ADDRESS ...]
#include "PackBuilder.h"

#include "model/Errors.h"
#include "updater/OfficialUpdates.h"

#include <QCoreApplication>
#include <QSaveFile>
#include <QTextStream>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QTextStream err(stderr);
    const QStringList args = app.arguments().mid(1);
    if (args.size() < 4 || (args.size() - 1) % 3 != 0) {
        err << "usage: aerowen-packbuilder OUTPUT LEVEL DOCUMENT ADDRESS [LEVEL DOCUMENT ADDRESS ...]\n"
            << "  LEVEL is technician, general or extra; ADDRESS is the document's official https address.\n";
        return 2;
    }
    QList<PackBuilder::Source> sources;
    for (qsizetype i = 1; i < args.size(); i += 3) {
        const QUrl address(args.at(i + 2), QUrl::StrictMode);
        if (!address.isValid() || address.isRelative()) {
            err << "not an absolute address: " << args.at(i + 2) << "\n";
            return 2;
        }
        sources.append({args.at(i + 1), address, args.at(i)});
    }
    try {
        const QByteArray bytes = PackBuilder::build(sources).toBytes();
        QSaveFile out(args.first());
        if (!out.open(QIODevice::WriteOnly) || out.write(bytes) != bytes.size() || !out.commit()) {
            err << "cannot write " << args.first() << ": " << out.errorString() << "\n";
            return 1;
        }
    } catch (const OfficialUpdates::ReviewRequest& request) {
        err << "figures need review: " << request.review().labels.join(QStringLiteral(", ")) << "\n";
        return 1;
    } catch (const Failure& failure) {
        err << failure.description() << "\n";
        return 1;
    }
    return 0;
}
