// Starts the real program in the test's process and finds its controls by objectName.
#pragma once

#include "console/console_window.h"

#include <QApplication>
#include <QTest>
#include <QWidget>

namespace testing_support {

// StartProgram() on the running QApplication; the console, shown and active.
frmQuillmaxSerial* StartConsole();

template <typename T = QWidget> T* Control(QWidget* window, const char* name) {
    T* found = window->findChild<T*>(name);
    if (!found) qWarning("no control named %s", name);
    return found;
}

// Waits, processing events, until `done()` or `timeoutMs`; true when done.
template <typename F> bool WaitFor(F done, int timeoutMs = 5000) {
    return QTest::qWaitFor(done, timeoutMs);
}

} // namespace testing_support

// A Qt Test main for tests that start the program: the test's own arguments (function names, -v2 ...)
// go to Qt Test, not into the program's command line, which stays empty.
#define VELMORA_PROGRAM_TEST_MAIN(TestClass)                                                                 \
    int main(int argc, char** argv) {                                                                        \
        int programArgc = 1;                                                                                 \
        QApplication app(programArgc, argv);                                                                 \
        TestClass test;                                                                                      \
        return QTest::qExec(&test, argc, argv);                                                              \
    }
