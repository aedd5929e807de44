// The end-to-end test program.
#include "support/TestEnvironment.h"

#include <QCoreApplication>

AEROWEN_TEST_PROGRAM(QCoreApplication)
