// A long history for the benchmarks, and how their timings are summed up: a progress file with many finished exams on a
// pack's pools, each result keeping its full pool copy as the application writes it.
#pragma once

#include "model/Dates.h"
#include "model/Learner.h"
#include "store/Seeded.h"

#include <QList>
#include <QUuid>

#include <algorithm>

namespace BenchHistory {

// The history the goals are set for: 300 finished exams.
constexpr int resultCount = 300;

// A series of timings in milliseconds, summed up.
struct Figures
{
    double median = 0;
    double worst = 0;
};

inline Figures figures(QList<double> ms)
{
    if (ms.isEmpty())
        return {};
    std::sort(ms.begin(), ms.end());
    return Figures{ms.at(ms.size() / 2), ms.last()};
}

// One learner with `count` finished, fully answered exams (every fifth answer wrong), an hour apart, ending now.
inline Saved finishedExams(const Pack& pack, int count)
{
    Saved saved = Saved::initial();
    const Profile learner{QUuid::createUuid(), QStringLiteral("Bench"), std::nullopt};
    saved.profiles.append(learner);
    saved.selected = learner.id;
    for (int n = 0; n < count; ++n) {
        Session s;
        s.id = QUuid::createUuid();
        s.profile = learner.id;
        s.name = learner.name;
        s.pool = pack.pools.at(n % pack.pools.size());
        s.mode = QStringLiteral("Exam");
        s.questions = examQuestions(s.pool, QString::number(n));
        for (qsizetype i = 0; i < s.questions.size(); ++i)
            s.answers.insert(s.questions.at(i).id, (s.questions.at(i).correct + (i % 5 == 0 ? 1 : 0)) % 4);
        s.started = Dates::now() - 3600.0 * (count - n);
        s.elapsed = 1500 + n;
        Result r;
        r.id = QUuid::createUuid();
        r.session = s;
        r.finished = s.started + s.elapsed;
        r.seconds = s.elapsed;
        for (const Question& q : s.questions) {
            Stat& stat = saved.stats[statKey(learner.id, s.pool.id, q.id)];
            ++stat.attempts;
            stat.lastCorrect = s.answers.value(q.id) == q.correct;
            stat.correct += stat.lastCorrect ? 1 : 0;
        }
        saved.results.append(r);
    }
    return saved;
}

} // namespace BenchHistory
