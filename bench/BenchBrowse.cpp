// Benchmark: how fast the Browse section answers a key press, and what the charts add to the Progress section.
//
// Usage: bench-browse [pack.json] [rounds]
// Opens a store whose progress file holds 300 finished exams on the pack's pools. Types several searches into the
// Browse section on the Extra pool, one key at a time, and times each key press from the changed text to the
// repainted list (and the search alone). Then times the Progress section's appearance (built, laid out and painted)
// and, separately, the charts of its pools built and painted on their own: the time the charts add.
#include "History.h"
#include "model/Dates.h"
#include "store/Browse.h"
#include "store/Results.h"
#include "store/Seeded.h"
#include "store/Store.h"
#include "support/TestEnvironment.h"
#include "ui/BrowseView.h"
#include "ui/Charts.h"
#include "ui/ProgressViewPage.h"
#include "ui/Theme.h"

#include <QApplication>
#include <QComboBox>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTreeView>
#include <QVBoxLayout>

#include <algorithm>
#include <cstdio>

namespace {

using BenchHistory::Figures;
using BenchHistory::figures;
using BenchHistory::resultCount;

double msSince(const QElapsedTimer& timer)
{
    return double(timer.nsecsElapsed()) / 1e6;
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
    const int rounds = args.size() > 2 ? args.at(2).toInt() : 20;

    QFile packFile(packPath);
    if (!packFile.open(QIODevice::ReadOnly))
        qFatal("cannot read %s", qPrintable(packPath));
    const Pack pack = Pack::fromBytes(packFile.readAll());
    QTemporaryDir folder;
    Saved saved = BenchHistory::finishedExams(pack, resultCount);
    const Profile learner = saved.profiles.last();
    for (qsizetype n = 0; n < saved.results.size(); n += 7) // a bookmark for every question of every seventh exam
        for (const Question& q : saved.results.at(n).session.questions)
            saved.bookmarks.insert(statKey(learner.id, saved.results.at(n).session.pool.id, q.id));
    writeFileAtomically(folder.filePath(QStringLiteral("progress.json")), saved.toBytes());
    Store store(packPath, folder.path());
    if (!store.message().isEmpty())
        qFatal("store: %s", qPrintable(store.message()));

    // Search, one key press at a time, on the Extra pool in the Browse section.
    BrowseView browse(store);
    browse.resize(1000, 900);
    browse.show();
    auto* pools = browse.findChild<QComboBox*>(QStringLiteral("browsePool"));
    const int extra = pools->findText(QStringLiteral("Amateur Extra"), Qt::MatchStartsWith);
    pools->setCurrentIndex(extra);
    emit pools->activated(extra);
    const Pool extraPool = *browse.pool();
    auto* field = browse.findChild<QLineEdit*>(QStringLiteral("browseSearch"));
    auto* list = browse.findChild<QTreeView*>(QStringLiteral("browseResults"));
    const QStringList searches{QStringLiteral("impedance"), QStringLiteral("E5A07"), QStringLiteral("resonant circuit"),
                               QStringLiteral("Ohm’s law"), QStringLiteral("phase angle between voltage and current")};
    QList<double> keyMs, findMs;
    const PoolSearch search(extraPool);
    QElapsedTimer timer;
    for (int round = 0; round < std::max(1, rounds / 4); ++round) {
        for (const QString& words : searches) {
            for (qsizetype n = 1; n <= words.size(); ++n) {
                timer.start();
                field->setText(words.left(n));
                list->viewport()->repaint();
                browse.repaint();
                keyMs.append(msSince(timer));
                timer.start();
                const QList<Question> found = search.find({words.left(n), QString()}, store.saved(), learner.id);
                findMs.append(msSince(timer));
            }
            field->clear();
        }
    }
    timer.start();
    const PoolSearch prepared(extraPool);
    const double prepareMs = msSince(timer);

    // The Progress section's appearance, and the charts of its pools on their own.
    QList<double> pageMs, chartMs;
    const QList<Pool> current = [&] {
        QList<Pool> list;
        for (const Pool& p : store.studyPools())
            if (p.current(Dates::today()))
                list.append(p);
        return list;
    }();
    for (int round = 0; round < rounds; ++round) {
        timer.start();
        {
            ProgressViewPage page(store);
            page.resize(1000, 800);
            page.show();
            (void)page.grab();
        }
        pageMs.append(msSince(timer));
        timer.start();
        {
            QWidget holder;
            auto* layout = new QVBoxLayout(&holder);
            for (const Pool& p : current)
                layout->addWidget(poolCharts(p, store.saved(), learner.id, &holder));
            holder.resize(1000 - 2 * 20 - 2 * 16, 800);
            holder.show();
            (void)holder.grab();
        }
        chartMs.append(msSince(timer));
    }

    const Figures k = figures(keyMs), f = figures(findMs), p = figures(pageMs), c = figures(chartMs);
    std::printf("Extra pool: %lld questions, %d stored results; search texts prepared in %.2f ms\n",
                qint64(extraPool.questions.size()), resultCount, prepareMs);
    std::printf("key press to repainted list (%lld presses): median %7.2f ms   worst %7.2f ms\n", qint64(keyMs.size()),
                k.median, k.worst);
    std::printf("search alone:                           median %7.2f ms   worst %7.2f ms\n", f.median, f.worst);
    std::printf("Progress section appearance (%d rounds): median %7.2f ms   worst %7.2f ms\n", rounds, p.median,
                p.worst);
    std::printf("its charts alone (%lld pools):           median %7.2f ms   worst %7.2f ms\n", qint64(current.size()),
                c.median, c.worst);
    std::printf("without the charts (difference):        median %7.2f ms\n", p.median - c.median);
    return 0;
}
