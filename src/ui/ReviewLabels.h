// The spaced-review figures shown on other screens: a pool card's due count and a pool's predicted exam score.
#pragma once

#include "model/Pack.h"

class QLabel;
class QWidget;
class Store;

namespace ReviewLabels {

// "12 due for review" for the current learner, or null when nothing of the pool is due.
QLabel* dueCount(const Store& store, const Pool& pool, QWidget* parent);
// "Predicted score 29.4 of 35 · pass chance 83 %" for the current learner.
QLabel* prediction(const Store& store, const Pool& pool, QWidget* parent);

} // namespace ReviewLabels
