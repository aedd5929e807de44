// Keeps tests away from the learner's real data: test-mode paths, settings in a temporary folder.
#pragma once

#include <QString>
#include <QTemporaryDir>

class TestEnvironment
{
public:
    // Call once per test program, before anything reads settings or standard paths.
    static void prepare();
    // A fresh temporary folder for one test.
    static QString freshFolder(QTemporaryDir& dir);
};

// Use instead of QTEST_MAIN / QTEST_GUILESS_MAIN so every test program is isolated the same way.
#define AEROWEN_TEST_MAIN(TestClass, AppClass)                                                                         \
    int main(int argc, char** argv)                                                                                    \
    {                                                                                                                  \
        TestEnvironment::prepare();                                                                                    \
        AppClass app(argc, argv);                                                                                      \
        TestClass test;                                                                                                \
        return QTest::qExec(&test, argc, argv);                                                                        \
    }
