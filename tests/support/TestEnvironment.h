// Keeps tests away from the learner's real data, and runs the test classes of one program.
#pragma once

#include <QObject>
#include <QString>
#include <QTemporaryDir>
#include <QTest>
#include <functional>
#include <memory>

class TestEnvironment
{
public:
    // Call once per test program, before anything reads settings or standard paths.
    static void prepare();
};

// One program per subsystem links much faster than one per test class: each class registers itself with
// AEROWEN_TEST, and the program's main (AEROWEN_TEST_PROGRAM) runs them all in name order. Give a class name as the
// first argument to run that class alone (the remaining arguments go to Qt Test as usual).
namespace TestRegistry {
void add(const char* name, std::function<std::unique_ptr<QObject>()> make);
int runAll(int argc, char** argv);
} // namespace TestRegistry

#define AEROWEN_TEST(TestClass)                                                                                        \
    static const bool registered##TestClass =                                                                          \
        (TestRegistry::add(#TestClass, [] { return std::make_unique<TestClass>(); }), true);

#define AEROWEN_TEST_PROGRAM(AppClass)                                                                                 \
    int main(int argc, char** argv)                                                                                    \
    {                                                                                                                  \
        TestEnvironment::prepare();                                                                                    \
        AppClass app(argc, argv);                                                                                      \
        return TestRegistry::runAll(argc, argv);                                                                       \
    }

// A program of a single test class, as before.
#define AEROWEN_TEST_MAIN(TestClass, AppClass)                                                                         \
    AEROWEN_TEST(TestClass)                                                                                            \
    AEROWEN_TEST_PROGRAM(AppClass)
