// The memory model behind spaced review: how well a learner remembers one question, and when to ask it again.
//
// The model is FSRS-5 with its 19 published default weights: a memory has a stability S (days until the chance of
// recall falls to 90 %) and a difficulty D (1 to 10). The chance of recall t days after the last answer is
// R = (1 + FACTOR · t / S)^DECAY with DECAY = -0.5 and FACTOR = 19/81. Only two grades are used: a right answer is
// "Good", a wrong or unanswered one is "Again". An answer less than a day after the previous one is a same-day
// review and changes the stability by FSRS-5's short-term formula. Elapsed time is measured in days with fractions.
#pragma once

#include "Learner.h"

#include <array>
#include <optional>

namespace Memory {

using Weights = std::array<double, 19>;
// FSRS-5's published default weights w0 to w18.
inline constexpr Weights defaultWeights{0.40255, 1.18385, 3.173,  15.69105, 7.1949, 0.5345, 1.4604,
                                        0.0046,  1.54575, 0.1192, 1.01925,  1.9395, 0.11,   0.29605,
                                        2.2698,  0.2315,  2.9898, 0.51655,  0.6621};
// The chance of recall at which a question falls due.
inline constexpr double desiredRetention = 0.9;
// A wrong answer brings the question back after this short relearning step.
inline constexpr double relearnSeconds = 10 * 60;
inline constexpr double secondsPerDay = 86400;

enum class Grade { again = 1, good = 3 };

struct State
{
    double stability = 0; // days
    double difficulty = 0;

    bool operator==(const State&) const = default;
};

// The chance of recall after the given days with the given stability.
double retrievability(double elapsedDays, double stability);
// The days after which the chance of recall falls to the desired retention.
double interval(double stability);

// The parts of one step of the model, for a previous state and the chance of recall at the new answer.
double nextDifficulty(double difficulty, Grade grade, const Weights& w = defaultWeights);
double stabilityAfterRecall(const State& state, double recall, const Weights& w = defaultWeights);
double stabilityAfterLapse(const State& state, double recall, const Weights& w = defaultWeights);
double stabilityOnSameDay(double stability, Grade grade, const Weights& w = defaultWeights);

// The state after an answer given elapsedDays after the previous one; without a previous state, the first answer.
State next(const std::optional<State>& before, double elapsedDays, Grade grade, const Weights& w = defaultWeights);

// The memory state a statistic holds: present when its stability, difficulty and time of review are.
std::optional<State> state(const Stat& stat);
// The statistic after one more answer at the instant: counts, memory state, time of review and next due time.
Stat answered(const Stat& stat, bool right, Dates::Instant now);
// The chance of answering right at the instant; none without memory state.
std::optional<double> recall(const Stat& stat, Dates::Instant now);

} // namespace Memory
