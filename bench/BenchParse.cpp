// Benchmark: times each parse of the official pool documents and every child process that parse runs.
// Usage: bench-parse [NCVEC_DOWNLOADS_FOLDER] [ROUNDS]
// Ends with each document's median ratio of parse time over the time of its child processes.
#include "PackBuilder.h"

#include "model/Errors.h"
#include "updater/ChildProcess.h"
#include "updater/OfficialUpdates.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QMap>
#include <QTextStream>

#include <algorithm>

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
    double processSeconds = 0;
    QMap<QString, QList<double>> ratios;
    OfficialUpdates::setProcessObserver([&](const QString& program, const QStringList& arguments, double seconds) {
        processSeconds += seconds;
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
            processSeconds = 0;
            QElapsedTimer clock;
            clock.start();
            try {
                const Pack pack = OfficialUpdates::parse(data, PackBuilder::downloadAddress(file), level);
                const double seconds = double(clock.nsecsElapsed()) / 1e9;
                const double ratio = seconds / processSeconds;
                ratios[level].append(ratio);
                out << QStringLiteral("  parse %1: %2 ms (%3 questions, %4 figures), child processes %5 ms, ratio %6\n")
                           .arg(level, -10)
                           .arg(seconds * 1000, 0, 'f', 1)
                           .arg(pack.pools.first().questions.size())
                           .arg(pack.assets.size())
                           .arg(processSeconds * 1000, 0, 'f', 1)
                           .arg(ratio, 0, 'f', 2);
            } catch (const Failure& failure) {
                out << "  parse " << level << " failed: " << failure.description() << "\n";
                return 1;
            }
            for (const QString& line : processLines)
                out << line << "\n";
        }
        out.flush();
    }
    out << "Parse time over child-process time, median of " << rounds << " rounds:\n";
    for (const auto& [level, file] : documents) {
        QList<double> r = ratios.value(level);
        std::sort(r.begin(), r.end());
        out << QStringLiteral("  %1 %2\n").arg(level, -10).arg(r.at(r.size() / 2), 0, 'f', 2);
    }
    return 0;
}
