// Benchmark: how long the application takes to show its window, against a bare Qt Widgets window of the same size.
//
// Usage: bench-startup [runs] [pack.json] [program...]
// Starts a private Xvfb display and launches, alternately, the empty window and the application (each with a fresh
// temporary home, the network closed) until the X server reports its window mapped, first with no history, then
// with a progress file of 300 finished exams. Prints the medians, their ratio, and the application's resident
// memory one second after its window appeared with the long history. With no history it also launches a window
// holding one line of text, the least any window with words must do, and prints its ratio too.
#include "History.h"
#include "store/Store.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <xcb/xcb.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <poll.h>

namespace {

double median(const QList<double>& values)
{
    return BenchHistory::figures(values).median;
}

// A private X server, and a connection to it that hears about every top-level window being mapped.
class Display
{
public:
    Display()
    {
        for (int number = 150 + int(QCoreApplication::applicationPid() % 50); number < 250; ++number) {
            if (QFile::exists(QStringLiteral("/tmp/.X11-unix/X%1").arg(number)))
                continue;
            m_name = QStringLiteral(":%1").arg(number);
            m_server.start(QStringLiteral("Xvfb"),
                           {m_name, QStringLiteral("-screen"), QStringLiteral("0"), QStringLiteral("1500x1100x24"),
                            QStringLiteral("-nolisten"), QStringLiteral("tcp")});
            if (!m_server.waitForStarted())
                qFatal("Xvfb could not be started");
            for (int i = 0; i < 100 && !m_connection; ++i) {
                QThread::msleep(50);
                xcb_connection_t* c = xcb_connect(qPrintable(m_name), nullptr);
                if (xcb_connection_has_error(c))
                    xcb_disconnect(c);
                else
                    m_connection = c;
            }
            break;
        }
        if (!m_connection)
            qFatal("no X display");
        const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
        const uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
        xcb_change_window_attributes(m_connection, root, XCB_CW_EVENT_MASK, &mask);
        xcb_flush(m_connection);
    }
    ~Display()
    {
        xcb_disconnect(m_connection);
        m_server.terminate();
        m_server.waitForFinished();
    }
    QString name() const { return m_name; }

    void drain()
    {
        while (xcb_generic_event_t* event = xcb_poll_for_event(m_connection))
            free(event);
    }

    // Waits for a top-level window to be mapped; false after the time limit.
    bool waitForMap(int limitMs)
    {
        QElapsedTimer clock;
        clock.start();
        while (clock.elapsed() < limitMs) {
            while (xcb_generic_event_t* event = xcb_poll_for_event(m_connection)) {
                const bool mapped = (event->response_type & 0x7f) == XCB_MAP_NOTIFY;
                free(event);
                if (mapped)
                    return true;
            }
            pollfd fd{xcb_get_file_descriptor(m_connection), POLLIN, 0};
            ::poll(&fd, 1, 20);
        }
        return false;
    }

private:
    QString m_name;
    QProcess m_server;
    xcb_connection_t* m_connection = nullptr;
};

struct Launch
{
    double ms = 0;
    qint64 residentKb = 0;
    qint64 peakKb = 0;
};

qint64 statusField(qint64 pid, const QByteArray& field)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith(QByteArray(field + ':')))
            return line.mid(field.size() + 1).trimmed().split(' ').first().toLongLong();
    }
    return 0;
}

QByteArray loadAverage()
{
    QFile file(QStringLiteral("/proc/loadavg"));
    return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed() : QByteArray("unknown");
}

// Starts the program with a temporary home (holding the progress file, if any) and times it until its window maps.
Launch launch(Display& display, const QString& program, const QByteArray& progress, bool measureMemory)
{
    QTemporaryDir home;
    const QString data = home.filePath(QStringLiteral(".local/share"));
    if (!progress.isEmpty()) {
        QDir().mkpath(data + QStringLiteral("/Kestovan Aerowen"));
        writeFileAtomically(data + QStringLiteral("/Kestovan Aerowen/progress.json"), progress);
    }
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("DISPLAY"), display.name());
    env.insert(QStringLiteral("HOME"), home.path());
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral(".config")));
    env.insert(QStringLiteral("XDG_DATA_HOME"), data);
    env.insert(QStringLiteral("XDG_CACHE_HOME"), home.filePath(QStringLiteral(".cache")));
    env.insert(QStringLiteral("XDG_RUNTIME_DIR"), home.path());
    // The pool and release checks start once the window is up; a closed network makes them fail at once.
    env.insert(QStringLiteral("https_proxy"), QStringLiteral("http://127.0.0.1:9"));
    env.insert(QStringLiteral("http_proxy"), QStringLiteral("http://127.0.0.1:9"));
    env.remove(QStringLiteral("QT_QPA_PLATFORM"));
    env.remove(QStringLiteral("WAYLAND_DISPLAY"));

    QProcess process;
    process.setProcessEnvironment(env);
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    display.drain();
    QElapsedTimer clock;
    clock.start();
    process.start(program, {});
    if (!process.waitForStarted())
        qFatal("%s could not be started", qPrintable(program));
    if (!display.waitForMap(30'000))
        qFatal("%s showed no window", qPrintable(program));
    Launch result{double(clock.nsecsElapsed()) / 1e6, 0, 0};
    if (measureMemory) {
        QThread::msleep(1000);
        result.residentKb = statusField(process.processId(), "VmRSS");
        result.peakKb = statusField(process.processId(), "VmHWM");
    }
    process.terminate();
    if (!process.waitForFinished(5000)) {
        process.kill();
        process.waitForFinished();
    }
    return result;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    const int runs = args.size() > 1 ? args.at(1).toInt() : 15;
    const QString packPath = args.size() > 2 ? args.at(2) : QStringLiteral(KESTOVAN_SOURCE_DIR "/resources/pools.json");
    // Further arguments are builds of the application to compare (an earlier one and this one, say), each launched
    // in turn in every round.
    const QStringList programs = args.size() > 3 ? args.mid(3) : QStringList{QStringLiteral(APPLICATION)};

    QFile packFile(packPath);
    if (!packFile.open(QIODevice::ReadOnly))
        qFatal("cannot read %s", qPrintable(packPath));
    const QByteArray history =
        BenchHistory::finishedExams(Pack::fromBytes(packFile.readAll()), BenchHistory::resultCount).toBytes();
    Display display;

    std::printf("%d runs each, alternating; load average at start: %s\n", runs, loadAverage().constData());
    const auto print = [](const char* name, const QList<double>& ms) {
        std::printf("  %-18s median %7.1f ms  (min %.1f, max %.1f)\n", name, median(ms),
                    *std::min_element(ms.cbegin(), ms.cend()), *std::max_element(ms.cbegin(), ms.cend()));
    };
    for (const bool longHistory : {false, true}) {
        QList<double> empty, text;
        QList<QList<double>> application(programs.size()), resident(programs.size()), peak(programs.size());
        for (int run = 0; run < runs; ++run) {
            empty.append(launch(display, QStringLiteral(EMPTY_WINDOW), {}, false).ms);
            if (!longHistory)
                text.append(launch(display, QStringLiteral(TEXT_WINDOW), {}, false).ms);
            for (qsizetype p = 0; p < programs.size(); ++p) {
                const Launch a =
                    launch(display, programs.at(p), longHistory ? history : QByteArray(), longHistory && run < 3);
                application[p].append(a.ms);
                if (a.residentKb > 0) {
                    resident[p].append(double(a.residentKb) / 1024);
                    peak[p].append(double(a.peakKb) / 1024);
                }
            }
        }
        std::printf("%s\n", longHistory ? "300 finished exams" : "no history");
        if (longHistory)
            std::printf("  progress file:     %.1f MB\n", double(history.size()) / 1e6);
        print("empty window:", empty);
        if (!text.isEmpty()) {
            print("one line of text:", text);
            std::printf("  ratio (median):    %.2f\n", median(text) / median(empty));
        }
        for (qsizetype p = 0; p < programs.size(); ++p) {
            if (programs.size() > 1)
                std::printf(" %s\n", qPrintable(programs.at(p)));
            print("application:", application.at(p));
            std::printf("  ratio (median):    %.2f\n", median(application.at(p)) / median(empty));
            if (!resident.at(p).isEmpty())
                std::printf("  resident memory:   %.0f MB (peak %.0f MB), median of %lld\n", median(resident.at(p)),
                            median(peak.at(p)), qsizetype(resident.at(p).size()));
        }
    }
    std::printf("load average at end: %s\n", loadAverage().constData());
    return 0;
}
