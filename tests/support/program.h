// Starts the real program in the test's process and finds its controls by objectName.
#pragma once

#include "console/console_window.h"

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
