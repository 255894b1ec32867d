// The plumbing of the emulated tablet: the pty, its COM<n> link, and one thread that receives from the
// line, keeps and logs what arrived, hands each byte to the protocol, publishes the state it changed,
// and sends the answers, shaped by the faults, and the record stream when they are due, at the line
// rate when paced; then, if asked, hangs up.
#include "tablet.h"

#include "answer_shaping.h"
#include "line_pacer.h"
#include "port_link.h"
#include "protocol.h"
#include "pseudo_terminal.h"
#include "receive_log.h"
#include "sample_records.h"
#include "state_file.h"
#include "timed_output.h"
#include "upload_files.h"
#include "upload_reading.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <limits>
#include <mutex>
#include <poll.h>
#include <sys/resource.h>
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

// The 25-record sample every tablet streams until told otherwise; made once, as it takes a moment.
const std::string& defaultRecords() {
    static const std::string records = SampleVlm(25);
    return records;
}

// A real tablet answers from a processor of its own, within a millisecond, however busy the PC is. The
// emulated one shares the PC's cores with the program under test, so its thread asks for a higher
// priority (nice -10): on a loaded machine it is then woken as promptly as a device would answer, and the
// program's time-outs and its download's silence rule meet the answers a tablet gives. Without the right
// to raise it (no CAP_SYS_NICE) the thread keeps the normal priority.
void AnswerPromptly() {
    setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), -10);
}

} // namespace

struct Tablet::Impl {
    using Clock = TimedOutput::Clock;

    Impl(const std::string& portsDir, int port, const Faults& initial)
        : linkPath(portsDir + "/COM" + std::to_string(port)), faults(initial), records(defaultRecords()) {
        thread = std::thread([this] { run(); });
    }

    ~Impl() {
        stopping = true;
        thread.join();
    }

    void run() {
        AnswerPromptly();
        while (!stopping) {
            if (hungUp) {
                std::this_thread::sleep_for(pollTick); // nothing left to serve; only wait to be stopped
                continue;
            }
            const auto now = Clock::now();
            auto wait = pollTick;
            pollfd line{pty.master(), POLLIN, 0};
            // Reading at the line rate, the tablet leaves in the pty what the line has not brought yet.
            if (const auto readAt = readingHeldUntil(); readAt && *readAt > now) {
                line.events = 0;
                wait = std::min(wait, std::chrono::ceil<std::chrono::milliseconds>(*readAt - now));
            }
            if (const auto due = output.nextDue(); due && !hangUpSince) {
                const auto start = pacing ? pacer.nextByteAt(*due) : *due;
                if (start <= now)
                    line.events |= POLLOUT; // due but not yet taken by the line: wait until it can
                else
                    wait = std::min(wait, std::chrono::ceil<std::chrono::milliseconds>(start - now));
            }
            const int ready = poll(&line, 1, static_cast<int>(wait.count()));
            if (ready > 0 && (line.revents & POLLIN))
                receive();
            else if (ready > 0 && (line.revents & (POLLHUP | POLLERR)))
                std::this_thread::sleep_for(pollTick); // cannot happen while we hold the slave; never spin

            const auto after = Clock::now();
            takeBytesToSend(after);
            // Read after the wait, since pacing or the program's speed may have changed meanwhile.
            if (!hangUpSince) send(after, pacedByteTime());
            if (hangUpSince && (!pty.slaveHasUnreadInput() || after - *hangUpSince >= hangUpGrace)) {
                pty.hangUp();
                hungUp = true;
            }
        }
    }

    // How long one byte takes on the line when paced; nothing when not paced.
    std::optional<std::chrono::nanoseconds> pacedByteTime() const {
        if (!pacing) return std::nullopt;
        // The pty's speed is the one the program set on its end (38400 until it sets one); a speed of
        // 0 (hang-up) or one no baud table knows is taken as 9600.
        const long baud = lineBaud(pty.master()).value_or(9600);
        const auto bits = static_cast<long long>(frameBits);
        return std::chrono::nanoseconds(bits * 1'000'000'000LL / baud);
    }

    // Writes what is due, within the pacer's allowance when paced, and notes the stream bytes sent.
    void send(Clock::time_point now, std::optional<std::chrono::nanoseconds> byteTime) {
        const auto due = output.nextDue();
        if (!due || *due > now) return;
        const std::size_t limit =
            byteTime ? pacer.allowance(now, *due, *byteTime) : std::numeric_limits<std::size_t>::max();
        TimedOutput::Written written = output.writeDue(pty.master(), now, limit);
        if (byteTime)
            pacer.sent(written.bytes, written.lineFull, *byteTime);
        else
            pacer.unpaced();
        if (written.hangUpDue) hangUpSince = now;
        if (!written.streamed.empty()) {
            {
                std::lock_guard lock(mutex);
                streamedBytes += written.streamed;
            }
            changed.notify_all();
        }
    }

    // Queues the record stream asked for by DC2 SI that arrived at `arrived`, cut as the faults say.
    void queueStream(Clock::time_point arrived, const Faults& current) {
        std::string stream;
        {
            std::lock_guard lock(mutex);
            stream = records;
        }
        const bool hangUp = current.streamHangUpAfter &&
                            *current.streamHangUpAfter <= current.streamStopAfter.value_or(stream.size());
        if (current.streamStopAfter) stream.resize(std::min(stream.size(), *current.streamStopAfter));
        if (hangUp) stream.resize(std::min(stream.size(), *current.streamHangUpAfter));
        if (current.silent) stream.clear(); // a silent tablet never sends anything
        const auto due = arrived + answerDelay(SI, current);
        output.add(due, std::move(stream), TimedOutput::Kind::Stream);
        if (hangUp) output.addHangUp(due);
    }

    void takeBytesToSend(Clock::time_point now) {
        std::string bytes;
        {
            std::lock_guard lock(mutex);
            bytes.swap(toSend);
        }
        output.add(now, std::move(bytes));
    }

    // How long a byte takes on the line when the tablet reads at the line rate; nothing otherwise.
    std::optional<std::chrono::nanoseconds> readingByteTime() const {
        if (!lineRateReading) return std::nullopt;
        const long baud = lineBaud(pty.master()).value_or(9600);
        return std::chrono::nanoseconds(static_cast<long long>(frameBits) * 1'000'000'000LL / baud);
    }

    // When the line brings the next byte known to be waiting, if the tablet reads at the line rate.
    std::optional<Clock::time_point> readingHeldUntil() const {
        return lineRateReading ? readPacer.nextReadAt() : std::nullopt;
    }

    // Publishes the uploads the protocol has ended since the last call and writes them to the upload
    // folder. Called with the mutex held.
    void publishUploads() {
        const std::vector<Upload>& ended = protocol.uploads();
        while (uploads.size() < ended.size()) {
            uploads.push_back(ended[uploads.size()]);
            try {
                uploadFiles.write(uploads.back(), uploads.size());
            } catch (const std::exception& error) {
                std::fprintf(stderr, "%s\n", error.what()); // the upload is still kept in memory
            }
        }
    }

    void receive() {
        char buffer[4096];
        std::size_t limit = sizeof buffer;
        const auto byteTime = readingByteTime();
        if (byteTime) limit = std::min(limit, readPacer.allowance(Clock::now(), *byteTime));
        if (limit == 0) return;
        const ssize_t n = read(pty.master(), buffer, limit);
        if (byteTime) readPacer.took(n > 0 ? std::size_t(n) : 0, n < static_cast<ssize_t>(limit));
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
            if (protocol.streamRequested()) queueStream(arrived, current);
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
            publishUploads();
            receivedBytes.append(bytes);
        }
        changed.notify_all();
    }

    PseudoTerminal pty;
    // The link is made last, once the tablet is set up: a program that finds the port finds the tablet
    // ready (its records, pacing and upload folder), not in the middle of being configured.
    const std::string linkPath;
    std::optional<PortLink> link;

    // guards faults, records, receivedBytes, streamedBytes, published, toSend, log and stateFile
    mutable std::mutex mutex;
    mutable std::condition_variable changed; // receivedBytes, streamedBytes or published changed
    Faults faults;
    std::string records; // what DC2 SI streams
    std::string receivedBytes;
    std::string streamedBytes;
    std::vector<Upload> uploads; // every upload ended, as the protocol decoded it
    UploadFiles uploadFiles;
    TabletState published;
    std::string toSend; // given to send(), for the thread to queue
    ReceiveLog log;
    StateFile stateFile;

    // Used by the thread only.
    Protocol protocol;
    TimedOutput output;
    LinePacer pacer;
    ReadPacer readPacer;
    std::optional<Clock::time_point> hangUpSince; // a hang-up is due; waiting for the program to read
    bool hungUp = false;

    std::atomic<bool> pacing{false};
    std::atomic<bool> lineRateReading{false};
    std::atomic<int> frameBits{LineFrame{}.bitsPerByte()};
    std::atomic<bool> stopping{false};
    std::thread thread;
};

Tablet::Tablet(const std::string& portsDir, int port, Faults faults,
               const std::function<void(Tablet&)>& setUp)
    : impl(std::make_unique<Impl>(portsDir, port, faults)) {
    if (setUp) setUp(*this);
    impl->link.emplace(portsDir, port, impl->pty.slavePath());
}

Tablet::~Tablet() = default;

const std::string& Tablet::linkPath() const {
    return impl->linkPath;
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

bool Tablet::sendNow(const std::string& bytes) {
    // A tty takes each write whole, so this cannot split an answer the thread is writing.
    const ssize_t written = write(impl->pty.master(), bytes.data(), bytes.size());
    return written == static_cast<ssize_t>(bytes.size());
}

void Tablet::setRecords(std::string vlm) {
    std::lock_guard lock(impl->mutex);
    impl->records = std::move(vlm);
}

void Tablet::setLineRatePacing(bool on) {
    impl->pacing = on;
}

void Tablet::setLineFrame(LineFrame frame) {
    impl->frameBits = frame.bitsPerByte();
}

void Tablet::setLineRateReading(bool on) {
    impl->lineRateReading = on;
}

std::vector<Upload> Tablet::uploads() const {
    std::lock_guard lock(impl->mutex);
    return impl->uploads;
}

bool Tablet::waitForUploads(std::size_t count, std::chrono::milliseconds timeout) const {
    std::unique_lock lock(impl->mutex);
    return impl->changed.wait_for(lock, timeout, [&] { return impl->uploads.size() >= count; });
}

void Tablet::uploadsTo(const std::string& dir) {
    const std::string& link = impl->linkPath;
    std::lock_guard lock(impl->mutex);
    impl->uploadFiles.open(dir, link.substr(link.find_last_of('/') + 1));
}

std::string Tablet::streamed() const {
    std::lock_guard lock(impl->mutex);
    return impl->streamedBytes;
}

bool Tablet::waitForStreamed(std::size_t count, std::chrono::milliseconds timeout) const {
    std::unique_lock lock(impl->mutex);
    return impl->changed.wait_for(lock, timeout, [&] { return impl->streamedBytes.size() >= count; });
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
