// The two documents of a finished attempt: the exported text file and the printout.
#pragma once

#include "model/Learner.h"

// Every question with the learner's answer and the correct one, under a header with the finishing date.
QString resultExportText(const Result& result);
// Only the questions answered wrongly or left unanswered, under a shorter header.
QString resultPrintText(const Result& result);
