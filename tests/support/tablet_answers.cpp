#include "support/tablet_answers.h"

#include "support/tty_observer.h"

#include <QPushButton>
#include <QTest>
#include <chrono>
#include <sys/ioctl.h>

namespace testing_support {

namespace {
const std::string kEnq = "\x05";
}

bool AtThePort(sim::Tablet& tablet, const std::string& bytes) {
    TtyObserver port(tablet.devicePath());
    auto waiting = [&] {
        int count = 0;
        return ioctl(port.fd, FIONREAD, &count) == 0 ? count : -1;
    };
    const int before = waiting();
    return before >= 0 && tablet.sendNow(bytes) && QTest::qWaitFor([&] { return waiting() > before; }, 5000);
}

bool SearchWithTheAnswerWaiting(frmQuillmaxSerial& console, sim::Tablet& tablet) {
    tablet.setFaults({.noEcho = kEnq});
    const std::size_t before = tablet.received().size();
    const bool waiting = AtThePort(tablet, kEnq);
    if (waiting) console.cmdSearch->click();
    // The faults go back only once the search's ENQ has been taken (without an echo).
    const bool heard = waiting && tablet.waitForReceived(before + 1, std::chrono::seconds(5));
    tablet.setFaults({});
    return heard;
}

} // namespace testing_support
