#include "platform/program_end.h"

#include <QApplication>
#include <QThread>
#include <QTimer>
#include <QWidget>

namespace vb {

namespace {
bool ended = false;
// The end made event loops return; until the application's loop runs again, every new modal loop (a
// message box's, a dialog's) would return at once.
bool loopsTold = false;
} // namespace

void End() {
    ended = true;
    // Windows are hidden without their close handlers: ending asks nothing and saves nothing.
    for (QWidget* window : QApplication::topLevelWidgets())
        window->hide();
    // With no event loop running there is nothing to make return (a test drives the handlers itself).
    if (QThread::currentThread()->loopLevel() > 0) {
        loopsTold = true;
        QCoreApplication::exit(0);
    }
    throw ProgramEnded();
}

bool HasEnded() {
    return ended;
}

void ResetEnded() {
    ended = false;
    if (loopsTold && QThread::currentThread()->loopLevel() == 0) {
        // One round of the application's loop clears what the end told the loops.
        QTimer::singleShot(0, qApp, &QCoreApplication::quit);
        QCoreApplication::exec();
    }
    loopsTold = false;
}

} // namespace vb
