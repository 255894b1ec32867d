#include "platform/program_end.h"

#include <QApplication>
#include <QWidget>

namespace vb {

namespace {
bool ended = false;
}

void End() {
    ended = true;
    // Windows are hidden without their close handlers: ending asks nothing and saves nothing.
    for (QWidget* window : QApplication::topLevelWidgets())
        window->hide();
    QCoreApplication::exit(0);
    throw ProgramEnded();
}

bool HasEnded() {
    return ended;
}

void ResetEnded() {
    ended = false;
}

} // namespace vb
