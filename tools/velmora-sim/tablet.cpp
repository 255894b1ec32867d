// The plumbing of the emulated tablet: the pty, its COM<n> link, and one thread that receives from the
// line, keeps and logs what arrived, hands each byte to the protocol, publishes the state it changed,
// and sends the answers, shaped by the faults, when they are due; then, if asked, hangs up.
#include "tablet.h"

#include "answer_shaping.h"
#include "port_link.h"
#include "protocol.h"
#include "pseudo_terminal.h"
#include "receive_log.h"
#include "state_file.h"
#include "timed_output.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <poll.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace sim {

namespace {

// The longest the thread sleeps in poll(): how soon a stop request or a due answer is noticed.
constexpr std::chrono::milliseconds pollTick{10};
// Closing the master discards what the program has not read yet, so a hang-up waits until the program
// has read the answers sent before it; a program that does not read is hung up on after this long.
constexpr std::chrono::milliseconds hangUpGrace{1000};

} // namespace

struct Tablet::Impl {
    using Clock = TimedOutput::Clock;

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
            if (hungUp) {
                std::this_thread::sleep_for(pollTick); // nothing left to serve; only wait to be stopped
                continue;
            }
            const auto now = Clock::now();
            auto wait = pollTick;
            pollfd line{pty.master(), POLLIN, 0};
            if (const auto due = output.nextDue(); due && !hangUpSince) {
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

            const auto after = Clock::now();
            takeBytesToSend(after);
            if (output.writeDue(pty.master(), after) && !hangUpSince) hangUpSince = after;
            if (hangUpSince && (!pty.slaveHasUnreadInput() || after - *hangUpSince >= hangUpGrace)) {
                pty.hangUp();
                hungUp = true;
            }
        }
    }

    void takeBytesToSend(Clock::time_point now) {
        std::string bytes;
        {
            std::lock_guard lock(mutex);
            bytes.swap(toSend);
        }
        output.add(now, std::move(bytes));
    }

    void receive() {
        char buffer[4096];
        const ssize_t n = read(pty.master(), buffer, sizeof buffer);
        if (n <= 0) return;
        const auto arrived = Clock::now();
        const std::string_view bytes(buffer, static_cast<std::size_t>(n));

        Faults current;
        {
            std::lock_guard lock(mutex);
            current = faults;
        }

        // Every state the bytes pass through is published, not only the last, so a state file or
        // stdout shows each setting stored even when several arrive in one piece.
        std::vector<TabletState> states;
        for (const char byte : bytes) {
            const unsigned long changesBefore = protocol.changeCount();
            const std::string answer = protocol.take(byte, current);
            for (AnswerPiece& piece : shapeAnswer(byte, answer, current))
                output.add(arrived + piece.after, std::move(piece.bytes));
            if (current.hangUpOn == byte) output.addHangUp(arrived + answerDelay(byte, current));
            if (protocol.changeCount() != changesBefore) states.push_back(protocol.state());
        }

        {
            std::lock_guard lock(mutex);
            // Logged and stored before it counts as received, so whoever waited for the bytes finds
            // them logged and their settings stored.
            log.write(bytes);
            for (const TabletState& state : states) {
                stateFile.write(state);
                published = state;
            }
            receivedBytes.append(bytes);
        }
        changed.notify_all();
    }

    PseudoTerminal pty;
    PortLink link;

    mutable std::mutex mutex; // guards faults, receivedBytes, published, toSend, log and stateFile
    mutable std::condition_variable changed; // receivedBytes or published changed
    Faults faults;
    std::string receivedBytes;
    TabletState published;
    std::string toSend; // given to send(), for the thread to queue
    ReceiveLog log;
    StateFile stateFile;

    // Used by the thread only.
    Protocol protocol;
    TimedOutput output;
    std::optional<Clock::time_point> hangUpSince; // a hang-up is due; waiting for the program to read
    bool hungUp = false;

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

void Tablet::send(const std::string& bytes) {
    std::lock_guard lock(impl->mutex);
    impl->toSend += bytes;
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
    return impl->changed.wait_for(lock, timeout, [&] { return impl->receivedBytes.size() >= count; });
}

TabletState Tablet::state() const {
    std::lock_guard lock(impl->mutex);
    return impl->published;
}

bool Tablet::waitForState(std::function<bool(const TabletState&)> done,
                          std::chrono::milliseconds timeout) const {
    std::unique_lock lock(impl->mutex);
    return impl->changed.wait_for(lock, timeout, [&] { return done(impl->published); });
}

void Tablet::logTo(const std::string& path) {
    std::lock_guard lock(impl->mutex);
    impl->log.open(path);
}

void Tablet::stateTo(const std::string& path) {
    std::lock_guard lock(impl->mutex);
    impl->stateFile.open(path, impl->published);
}

} // namespace sim
