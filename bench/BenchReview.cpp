// Benchmark: due lists, due counts and predicted scores for every pool of the built-in pack after a year of study.
//
// Usage: bench-review [pack.json] [runs]
// Simulates a learner who, for a year, studies each question of the three pools from a random first day on and
// answers it whenever it falls due (right with the chance of recall the memory model gives). Three days after the
// year, times over many runs what the Learn and Progress screens and a "Due for Review" start compute for all pools
// (due counts, due lists, predictions), and prints the median.
#include "model/Memory.h"
#include "store/Review.h"
#include "store/Seeded.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>

#include <algorithm>
#include <cstdio>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    const QString packPath = args.size() > 1 ? args.at(1) : QStringLiteral(KESTOVAN_SOURCE_DIR "/resources/pools.json");
    const int runs = args.size() > 2 ? args.at(2).toInt() : 500;
    QFile file(packPath);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("cannot read %s", qPrintable(packPath));
    const Pack pack = Pack::fromBytes(file.readAll());

    const QUuid learner = QUuid::createUuid();
    const Dates::Instant end = Dates::now(), start = end - 365 * Memory::secondsPerDay;
    Seeded random(quint64(14));
    const auto chance = [&] { return double(random.next() >> 11) / double(1ULL << 53); };
    QMap<QString, Stat> stats;
    qint64 questions = 0, answers = 0;
    for (const Pool& pool : pack.pools) {
        for (const Question& q : pool.questions) {
            ++questions;
            Dates::Instant at = start + chance() * 300 * Memory::secondsPerDay;
            Stat stat;
            bool right = chance() < 0.6;
            while (at < end) {
                stat = Memory::answered(stat, right, at);
                ++answers;
                at = *stat.due + chance() * Memory::secondsPerDay;
                right = chance() < Memory::recall(stat, at).value_or(0.6);
            }
            stats.insert(statKey(learner, pool.id, q.id), stat);
        }
    }

    // The learner comes back after a few days away, when many questions are due.
    const Dates::Instant now = end + 3 * Memory::secondsPerDay;
    QList<double> ms;
    qint64 due = 0;
    double score = 0;
    QElapsedTimer timer;
    for (int run = 0; run < runs; ++run) {
        timer.start();
        due = 0;
        score = 0;
        for (const Pool& pool : pack.pools) {
            due += dueCount(pool, stats, learner, now);
            due += reviewList(pool, pool.questions, stats, learner, now).due.size();
            score += predict(pool, stats, learner, now).score;
        }
        ms.append(double(timer.nsecsElapsed()) / 1e6);
    }
    std::sort(ms.begin(), ms.end());
    std::printf("%lld questions in %lld pools, %lld answers over a year; %lld due, predicted scores sum %.1f\n",
                questions, qint64(pack.pools.size()), answers, due / 2, score);
    std::printf("due counts + due lists + predictions, all pools: median %.3f ms, worst %.3f ms over %d runs\n",
                ms.at(ms.size() / 2), ms.last(), runs);
    return 0;
}
