// Benchmark: times each parse of the official pool documents and every child process that parse runs.
// Usage: bench-parse [NCVEC_DOWNLOADS_FOLDER] [ROUNDS]
#include "PackBuilder.h"

#include "model/Errors.h"
#include "updater/ChildProcess.h"
#include "updater/OfficialUpdates.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTextStream>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    const QStringList args = app.arguments();
    const QString folder =
        args.size() > 1 ? args.at(1) : QStringLiteral(KESTOVAN_SOURCE_DIR "/../shared/ncvec/downloads");
    const int rounds = args.size() > 2 ? args.at(2).toInt() : 3;
    const QList<std::pair<QString, QString>> documents{
        {"technician", "2026-2030 Technician Pool and Syllabus Public Release Feb 19 2026.docx"},
        {"general", "General Class Pool and Syllabus 2023-2027 Public Release with 6th Errata Feb 4 2026.docx"},
        {"extra", "2024-2028 Extra Class Question Pool and Syllabus Public Release with 4th Errata Feb 4 2026.docx"},
    };

    QStringList processLines;
    OfficialUpdates::setProcessObserver([&](const QString& program, const QStringList& arguments, double seconds) {
        processLines.append(QStringLiteral("    %1 ms  %2 %3")
                                .arg(seconds * 1000, 8, 'f', 1)
                                .arg(program.section(QLatin1Char('/'), -1), arguments.last()));
    });

    for (int round = 1; round <= rounds; ++round) {
        out << "Round " << round << "\n";
        for (const auto& [level, file] : documents) {
            QFile input(QDir(folder).filePath(file));
            if (!input.open(QIODevice::ReadOnly)) {
                out << "cannot read " << input.fileName() << "\n";
                return 1;
            }
            const QByteArray data = input.readAll();
            processLines.clear();
            QElapsedTimer clock;
            clock.start();
            try {
                const Pack pack = OfficialUpdates::parse(data, PackBuilder::downloadAddress(file), level);
                out << QStringLiteral("  parse %1: %2 ms (%3 questions, %4 figures)\n")
                           .arg(level, -10)
                           .arg(double(clock.nsecsElapsed()) / 1e6, 0, 'f', 1)
                           .arg(pack.pools.first().questions.size())
                           .arg(pack.assets.size());
            } catch (const Failure& failure) {
                out << "  parse " << level << " failed: " << failure.description() << "\n";
                return 1;
            }
            for (const QString& line : processLines)
                out << line << "\n";
        }
        out.flush();
    }
    return 0;
}
