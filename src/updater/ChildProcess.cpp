// Running curl and unzip synchronously with their output on a pipe.
#include "ChildProcess.h"

#include "OfficialUpdates.h"
#include "model/Cancellation.h"

#include <QElapsedTimer>
#include <QProcess>

namespace OfficialUpdates {

namespace {
ProcessObserver& observer()
{
    static ProcessObserver instance;
    return instance;
}
} // namespace

void setProcessObserver(ProcessObserver o)
{
    observer() = std::move(o);
}

ProcessOutput runProcess(const QString& program, const QStringList& arguments, qint64 maxBytes)
{
    QElapsedTimer clock;
    clock.start();
    QProcess process;
    process.setProgram(program);
    process.setArguments(arguments);
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(QIODevice::ReadOnly);
    if (!process.waitForStarted(-1))
        throw ProcessError(process.errorString());

    ProcessOutput result;
    // Read while the process runs so that an oversized output (a damaged or hostile archive) is cut short
    // instead of filling memory. The short waits let a quitting application stop the child at once.
    for (;;) {
        if (cancellationRequested()) {
            process.kill();
            process.waitForFinished(-1);
            throw Cancelled();
        }
        if (process.waitForReadyRead(100)) {
            result.output += process.readAllStandardOutput();
            if (result.output.size() > maxBytes)
                break;
        } else if (process.state() == QProcess::NotRunning) {
            break;
        }
    }
    if (result.output.size() > maxBytes) {
        result.overLimit = true;
        process.kill();
        process.waitForFinished(-1);
    } else {
        process.waitForFinished(-1);
        result.output += process.readAllStandardOutput();
        result.overLimit = result.output.size() > maxBytes;
        result.succeeded = process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    }
    if (observer())
        observer()(program, arguments, double(clock.nsecsElapsed()) / 1e9);
    return result;
}

} // namespace OfficialUpdates
