#include "support/found_tablet.h"

#include "app/globals.h"
#include "support/program.h"
#include "support/tablet_answers.h"

#include <QLabel>
#include <QPushButton>

namespace testing_support {

FoundTablet::FoundTablet() {
    tablet = std::make_unique<sim::Tablet>(ports.path(), kPort);
    console = StartConsole();
    found = SearchWithTheAnswerWaiting(*console, *tablet) && intComPort == kPort &&
            console->lblConnected->text() == QString::number(kPort);
    tablet->clearReceived();
}

FoundTablet::~FoundTablet() {
    if (console) console->MSComm1.setPortOpen(false);
    tablet.reset();
}

} // namespace testing_support
