// Synchronous child processes of the updater: output on a pipe up to a size limit, and the exit status.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <functional>

namespace OfficialUpdates {

struct ProcessOutput
{
    QByteArray output;
    // Exited normally with status 0.
    bool succeeded = false;
    // Wrote more than the allowed bytes; the process was stopped and output holds only what was read.
    bool overLimit = false;
};

// Runs program with exactly these arguments, standard error to the null device, and reads its standard output
// to the end. Stops the process once it has written more than maxBytes. Throws ProcessError when the program
// cannot be started.
ProcessOutput runProcess(const QString& program, const QStringList& arguments, qint64 maxBytes);

// Told about every child process after it ends, with its wall time in seconds (benchmarks and tests).
using ProcessObserver = std::function<void(const QString& program, const QStringList& arguments, double seconds)>;
void setProcessObserver(ProcessObserver observer);

} // namespace OfficialUpdates
