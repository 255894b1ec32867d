#include "app/startup.h"
#include "platform/signal_exit.h"

#include <QApplication>

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    // A kill, Ctrl-C or a closed terminal ends the program as "E&xit" does, so no port is left held.
    vb::EndProgramOnSignals();
    StartProgram();
    return QApplication::exec();
}
