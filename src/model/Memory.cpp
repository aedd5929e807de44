// The memory model (FSRS-5) and the memory state kept in each statistic.
#include "Memory.h"

#include <algorithm>
#include <cmath>

namespace Memory {
namespace {

constexpr double decay = -0.5;
constexpr double factor = 19.0 / 81.0; // 0.9^(1/decay) - 1: a stability of S days gives 90 % after S days
constexpr double minStability = 0.01;
constexpr double maxStability = 36500;

double gradeValue(Grade grade)
{
    return double(int(grade));
}

// The difficulty of a first answer with the given grade, before it is held inside 1 to 10.
double firstDifficulty(double grade, const Weights& w)
{
    return w[4] - std::exp(w[5] * (grade - 1)) + 1;
}

} // namespace

double retrievability(double elapsedDays, double stability)
{
    return std::pow(1 + factor * std::max(0.0, elapsedDays) / stability, decay);
}

double interval(double stability)
{
    return stability / factor * (std::pow(desiredRetention, 1 / decay) - 1);
}

double nextDifficulty(double difficulty, Grade grade, const Weights& w)
{
    // The change shrinks as the difficulty nears 10, then the result is pulled slightly towards an easy first answer.
    const double change = -w[6] * (gradeValue(grade) - 3);
    const double damped = difficulty + change * (10 - difficulty) / 9;
    return std::clamp(w[7] * firstDifficulty(4, w) + (1 - w[7]) * damped, 1.0, 10.0);
}

double stabilityAfterRecall(const State& state, double recall, const Weights& w)
{
    return state.stability * (1 + std::exp(w[8]) * (11 - state.difficulty) * std::pow(state.stability, -w[9]) *
                                      (std::exp(w[10] * (1 - recall)) - 1));
}

double stabilityAfterLapse(const State& state, double recall, const Weights& w)
{
    const double lapsed = w[11] * std::pow(state.difficulty, -w[12]) * (std::pow(state.stability + 1, w[13]) - 1) *
                          std::exp(w[14] * (1 - recall));
    // Forgetting never makes a memory more stable than it was.
    return std::min(lapsed, state.stability);
}

double stabilityOnSameDay(double stability, Grade grade, const Weights& w)
{
    return stability * std::exp(w[17] * (gradeValue(grade) - 3 + w[18]));
}

State next(const std::optional<State>& before, double elapsedDays, Grade grade, const Weights& w)
{
    if (!before) {
        const double g = gradeValue(grade);
        return State{w[size_t(g) - 1], std::clamp(firstDifficulty(g, w), 1.0, 10.0)};
    }
    double stability = 0;
    if (elapsedDays < 1) {
        stability = stabilityOnSameDay(before->stability, grade, w);
    } else {
        const double recall = retrievability(elapsedDays, before->stability);
        stability =
            grade == Grade::again ? stabilityAfterLapse(*before, recall, w) : stabilityAfterRecall(*before, recall, w);
    }
    return State{std::clamp(stability, minStability, maxStability), nextDifficulty(before->difficulty, grade, w)};
}

std::optional<State> state(const Stat& stat)
{
    if (!stat.stability || !stat.difficulty || !stat.reviewed || !(*stat.stability > 0))
        return std::nullopt;
    return State{*stat.stability, *stat.difficulty};
}

Stat answered(const Stat& stat, bool right, Dates::Instant now)
{
    const std::optional<State> before = state(stat);
    const double elapsed = before ? (now - *stat.reviewed) / secondsPerDay : 0;
    const State after = next(before, elapsed, right ? Grade::good : Grade::again);
    Stat s = stat;
    ++s.attempts;
    s.correct += right ? 1 : 0;
    s.lastCorrect = right;
    s.stability = after.stability;
    s.difficulty = after.difficulty;
    s.reviewed = now;
    // A forgotten question comes back after a short relearning step, the same day; a remembered one on the day its
    // chance of recall falls to the desired retention, at least a day later.
    s.due = right ? now + std::max(1.0, std::round(interval(after.stability))) * secondsPerDay : now + relearnSeconds;
    return s;
}

std::optional<double> recall(const Stat& stat, Dates::Instant now)
{
    const std::optional<State> memory = state(stat);
    if (!memory)
        return std::nullopt;
    return retrievability((now - *stat.reviewed) / secondsPerDay, memory->stability);
}

} // namespace Memory
