// Benchmark: the cost of saving after each answer with a large history, against a plain atomic write of as many bytes,
// and the time from a key press to the repainted answer on the question screen.
//
// Usage: bench-persist [pack.json] [calls] [presses]
// Builds a progress file with 300 finished exams on the pack's pools, opens a store on it, starts a practice
// session and times `answer` calls (each one saves the whole progress file). Prints the median and worst latency
// next to the same figures for QSaveFile writes of the same number of bytes, and their ratio. Then shows the main
// window on the question screen (offscreen unless QT_QPA_PLATFORM says otherwise) and presses A–D in turn, a moment
// apart as a learner would, timing each press until the chosen answer's row has repainted; then the same on a Guest's
// exam, which saves nothing, for the window's own share on this machine.
#include "History.h"
#include "model/Dates.h"
#include "store/Seeded.h"
#include "store/Store.h"
#include "support/TestEnvironment.h"
#include "ui/App.h"
#include "ui/Theme.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QSaveFile>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <cstdio>

namespace {

using BenchHistory::Figures;
using BenchHistory::figures;
using BenchHistory::resultCount;

QByteArray readAll(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("cannot read %s", qPrintable(path));
    return file.readAll();
}

// Notes when a watched widget is painted.
class PaintWatch : public QObject
{
public:
    QSet<QObject*> painted;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Paint)
            painted.insert(watched);
        return false;
    }
};

// Presses A–D in turn on the question screen; the milliseconds from each press to its answer's repainted row.
QList<double> keyToRepaint(Store& store, int presses)
{
    store.setRefresher([](const Pack& installed, const Corrections&) { return installed; });
    store.setReleaseFetcher([] { return AppRelease{QStringLiteral("1.0.2"), 9, QString()}; });
    RootView root(store);
    root.resize(1100, 800);
    root.show();
    root.activateWindow();
    if (!QTest::qWaitForWindowActive(&root))
        qFatal("the window did not become active");
    QTest::qWait(200); // the launch checks end
    PaintWatch watch;
    QList<QWidget*> rows;
    for (int i = 0; i < 4; ++i) {
        auto* row = root.findChild<QWidget*>(QStringLiteral("answer-") + QString::number(i));
        if (!row || !row->isVisible())
            qFatal("the question screen shows no answer %d", i);
        row->installEventFilter(&watch);
        rows.append(row);
    }
    QList<double> ms;
    QElapsedTimer timer;
    for (int i = 0; i < presses; ++i) {
        const int choice = i % 4;
        watch.painted.clear();
        QWidget* target = QApplication::focusWidget() ? QApplication::focusWidget() : &root;
        timer.start();
        QTest::keyClick(target, Qt::Key(Qt::Key_A + choice));
        while (!watch.painted.contains(rows.at(choice)) && timer.elapsed() < 5000)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
        ms.append(double(timer.nsecsElapsed()) / 1e6);
        if (store.session()->answers.value(store.session()->questions.at(store.session()->index).id) != choice)
            qFatal("key %d did not answer", choice);
        QTest::qWait(150); // a learner reads before the next press
    }
    return ms;
}

} // namespace

int main(int argc, char** argv)
{
    TestEnvironment::prepare();
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    Theme::apply(app);
    const QStringList args = app.arguments();
    const QString packPath = args.size() > 1 ? args.at(1) : QStringLiteral(KESTOVAN_SOURCE_DIR "/resources/pools.json");
    const int calls = args.size() > 2 ? args.at(2).toInt() : 200;
    const int presses = args.size() > 3 ? args.at(3).toInt() : 100;

    const Pack pack = Pack::fromBytes(readAll(packPath));
    QTemporaryDir folder;
    const QString progressPath = folder.filePath(QStringLiteral("progress.json"));

    const Saved saved = BenchHistory::finishedExams(pack, resultCount);
    const Profile learner = saved.profiles.last();
    writeFileAtomically(progressPath, saved.toBytes());
    std::printf("progress file: %d results, %.1f MB\n", resultCount, double(QFileInfo(progressPath).size()) / 1e6);

    Store store(packPath, folder.path());
    if (!store.message().isEmpty())
        qFatal("store: %s", qPrintable(store.message()));
    // An open draft of another session makes each save carry a second full pool copy, as in real use.
    store.begin(pack.pools.last(), QStringLiteral("Study All"), learner.name, true, QString());
    store.leave();
    store.begin(pack.pools.first(), QStringLiteral("Study All"), learner.name, true, QString());

    QList<double> answerMs;
    QElapsedTimer timer;
    for (int i = 0; i < calls; ++i) {
        store.move(i);
        timer.start();
        store.answer(i % 4);
        answerMs.append(double(timer.nsecsElapsed()) / 1e6);
    }
    QCoreApplication::processEvents(); // a failed write is reported through the event loop
    if (!store.message().isEmpty())
        qFatal("store: %s", qPrintable(store.message()));

    const QByteArray bytes = ProgressEncoder().encode(store.saved()); // what the last save writes
    const QString plainPath = folder.filePath(QStringLiteral("plain.json"));
    QList<double> plainMs;
    for (int i = 0; i < calls; ++i) {
        timer.start();
        QSaveFile file(plainPath);
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
            qFatal("plain write failed");
        plainMs.append(double(timer.nsecsElapsed()) / 1e6);
    }

    // The encoding alone, with finished results already cached as they are after the first save.
    ProgressEncoder encoder;
    encoder.encode(store.saved());
    QList<double> encodeMs;
    for (int i = 0; i < std::min(calls, 20); ++i) {
        timer.start();
        const QByteArray encoded = encoder.encode(store.saved());
        encodeMs.append(double(timer.nsecsElapsed()) / 1e6);
    }

    // On an exam the answer stays changeable, so every press changes it.
    store.leave();
    store.begin(pack.pools.first(), QStringLiteral("Exam"), learner.name, false, QString());
    const Figures k = figures(keyToRepaint(store, presses));
    // The same on a Guest's exam, which saves nothing: what the window alone costs on this machine.
    store.leave();
    store.begin(pack.pools.first(), QStringLiteral("Exam"), QStringLiteral("Guest"), false, QString());
    const Figures g = figures(keyToRepaint(store, presses));
    const Figures a = figures(answerMs), p = figures(plainMs), e = figures(encodeMs);
    std::printf("saved bytes per call: %.1f MB, %d calls\n", double(bytes.size()) / 1e6, calls);
    std::printf("answer:         median %8.2f ms   worst %8.2f ms\n", a.median, a.worst);
    std::printf("plain QSaveFile: median %8.2f ms   worst %8.2f ms\n", p.median, p.worst);
    std::printf("encoding alone:  median %8.2f ms   worst %8.2f ms\n", e.median, e.worst);
    std::printf("ratio (median):  %.2f\n", a.median / p.median);
    std::printf("key A-D to repainted answer (%d presses): median %8.2f ms   worst %8.2f ms\n", presses, k.median,
                k.worst);
    std::printf("the same, nothing saved (Guest):         median %8.2f ms   worst %8.2f ms\n", g.median, g.worst);
    return 0;
}
