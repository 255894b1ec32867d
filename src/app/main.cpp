#include "app/program_options.h"
#include "app/startup.h"
#include "platform/signal_exit.h"

#include <QApplication>

int main(int argc, char** argv) {
    // --help and --version print and end before any window exists, so they need no display.
    if (const std::optional<int> answered = app::AnswerInformationOptions(argc, argv)) return *answered;
    QApplication app(argc, argv);
    // A kill, Ctrl-C or a closed terminal ends the program as "E&xit" does, so no port is left held.
    vb::EndProgramOnSignals();
    StartProgram();
    return QApplication::exec();
}
