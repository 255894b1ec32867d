#include "platform/signal_exit.h"

#include "platform/handler.h"
#include "platform/mscomm.h"
#include "platform/program_end.h"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace vb {

namespace {

constexpr int kEndingSignals[] = {SIGTERM, SIGINT, SIGHUP};

int signalPipe[2] = {-1, -1};
volatile sig_atomic_t signalWaiting = 0;

// Async-signal-safe: a flag and a write, nothing else.
void OnEndingSignal(int number) {
    if (signalWaiting) {
        // The first one has not reached the event loop: the program is stuck outside it.
        std::signal(number, SIG_DFL);
        std::raise(number);
        return;
    }
    signalWaiting = 1;
    const int savedErrno = errno;
    const char byte = char(number);
    (void)!::write(signalPipe[1], &byte, 1);
    errno = savedErrno;
}

void EndOnSignal() {
    char drained[16];
    while (::read(signalPipe[0], drained, sizeof drained) > 0) {
    }
    signalWaiting = 0;
    RunHandler([] {
        MSComm::CloseEveryOpenPort();
        End();
    });
}

} // namespace

void EndProgramOnSignals() {
    if (signalPipe[0] >= 0) return;
    if (pipe2(signalPipe, O_CLOEXEC | O_NONBLOCK) != 0) return;
    auto* notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, QCoreApplication::instance());
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, [] { EndOnSignal(); });
    for (int number : kEndingSignals) {
        struct sigaction previous {};
        if (sigaction(number, nullptr, &previous) == 0 && previous.sa_handler == SIG_IGN) continue;
        struct sigaction action {};
        action.sa_handler = OnEndingSignal;
        sigemptyset(&action.sa_mask);
        action.sa_flags = SA_RESTART;
        sigaction(number, &action, nullptr);
    }
}

} // namespace vb
