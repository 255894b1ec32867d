// The plumbing of the emulated tablet: the pty, its COM<n> link, and one thread that receives from the
// line, keeps and logs what arrived, asks the protocol for the answer and sends it when it is due.
#include "tablet.h"

#include "port_link.h"
#include "protocol.h"
#include "pseudo_terminal.h"
#include "receive_log.h"
#include "timed_output.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <poll.h>
#include <thread>
#include <unistd.h>

namespace sim {

namespace {

// The longest the thread sleeps in poll(): how soon a stop request or a due answer is noticed.
constexpr std::chrono::milliseconds pollTick{10};

} // namespace

struct Tablet::Impl {
    Impl(const std::string& portsDir, int port, const Faults& initial)
        : link(portsDir, port, pty.slavePath()), faults(initial) {
        thread = std::thread([this] { run(); });
    }

    ~Impl() {
        stopping = true;
        thread.join();
    }

    void run() {
        while (!stopping) {
            const auto now = TimedOutput::Clock::now();
            auto wait = pollTick;
            pollfd line{pty.master(), POLLIN, 0};
            if (const auto due = output.nextDue()) {
                if (*due <= now)
                    line.events |= POLLOUT; // due but not yet taken by the line: wait until it can
                else
                    wait = std::min(wait, std::chrono::ceil<std::chrono::milliseconds>(*due - now));
            }
            const int ready = poll(&line, 1, static_cast<int>(wait.count()));
            if (ready > 0 && (line.revents & POLLIN))
                receive();
            else if (ready > 0 && (line.revents & (POLLHUP | POLLERR)))
                std::this_thread::sleep_for(pollTick); // cannot happen while we hold the slave; never spin
            output.writeDue(pty.master(), TimedOutput::Clock::now());
        }
    }

    void receive() {
        char buffer[4096];
        const ssize_t n = read(pty.master(), buffer, sizeof buffer);
        if (n <= 0) return;
        const auto arrived = TimedOutput::Clock::now();
        const std::string_view bytes(buffer, static_cast<std::size_t>(n));

        Faults current;
        {
            std::lock_guard lock(mutex);
            current = faults;
            // Logged before it counts as received, so whoever waited for the bytes finds them logged.
            log.write(bytes);
            receivedBytes.append(bytes);
        }
        receivedChanged.notify_all();

        std::string answer = protocol.answer(bytes, current);
        if (!current.silent) output.add(arrived + current.replyDelay, std::move(answer));
    }

    PseudoTerminal pty;
    PortLink link;

    mutable std::mutex mutex; // guards faults, receivedBytes and log
    mutable std::condition_variable receivedChanged;
    Faults faults;
    std::string receivedBytes;
    ReceiveLog log;

    // Used by the thread only.
    Protocol protocol;
    TimedOutput output;

    std::atomic<bool> stopping{false};
    std::thread thread;
};

Tablet::Tablet(const std::string& portsDir, int port, Faults faults)
    : impl(std::make_unique<Impl>(portsDir, port, faults)) {}

Tablet::~Tablet() = default;

const std::string& Tablet::linkPath() const {
    return impl->link.path();
}

const std::string& Tablet::devicePath() const {
    return impl->pty.slavePath();
}

void Tablet::setFaults(const Faults& faults) {
    std::lock_guard lock(impl->mutex);
    impl->faults = faults;
}

std::string Tablet::received() const {
    std::lock_guard lock(impl->mutex);
    return impl->receivedBytes;
}

void Tablet::clearReceived() {
    std::lock_guard lock(impl->mutex);
    impl->receivedBytes.clear();
}

bool Tablet::waitForReceived(std::size_t count, std::chrono::milliseconds timeout) const {
    std::unique_lock lock(impl->mutex);
    return impl->receivedChanged.wait_for(lock, timeout, [&] { return impl->receivedBytes.size() >= count; });
}

void Tablet::logTo(const std::string& path) {
    std::lock_guard lock(impl->mutex);
    impl->log.open(path);
}

} // namespace sim
