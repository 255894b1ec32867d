#include "app/demo_settings.h"

#include "settings/date_time_text.h"
#include "tablet.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <termios.h>
#include <unistd.h>
#include <utility>

namespace app {

namespace {

using namespace std::chrono_literals;

constexpr auto kTimeLimit = 5s;

// The tablet's setting commands, as the console sends them.
constexpr char kCompanyName = 0x03;
constexpr char kMenuTitle = 0x09;
constexpr char kPassword = 0x10;
constexpr char kClock = 0x14;
constexpr char kCR = 0x0D;

std::runtime_error Failure(const std::string& what) {
    return std::runtime_error(what + ": " + std::strerror(errno));
}

// The port held open for the duration of the exchange.
class Line {
public:
    explicit Line(const std::string& path) : fd(::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK)) {
        if (fd < 0) throw Failure("cannot open " + path);
    }
    ~Line() { ::close(fd); }
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;

    void write(const std::string& bytes) {
        std::size_t done = 0;
        while (done < bytes.size()) {
            const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
            if (n < 0 && errno != EAGAIN && errno != EINTR) throw Failure("cannot write to the demo tablet");
            if (n > 0)
                done += std::size_t(n);
            else
                waitFor(POLLOUT);
        }
    }

    // Reads and drops `count` bytes (the echoes), then whatever else is still waiting.
    void drain(std::size_t count) {
        const auto deadline = std::chrono::steady_clock::now() + kTimeLimit;
        char buffer[256];
        while (count > 0 && std::chrono::steady_clock::now() < deadline) {
            const ssize_t n = ::read(fd, buffer, sizeof buffer);
            if (n > 0)
                count -= std::min(count, std::size_t(n));
            else
                waitFor(POLLIN);
        }
        ::tcflush(fd, TCIFLUSH);
    }

private:
    void waitFor(short events) {
        pollfd watched{fd, events, 0};
        ::poll(&watched, 1, 10);
    }

    int fd;
};

} // namespace

DemoSettings SampleDemoSettings() {
    return {"Lakeside Deliveries Inc.", "Route 7 Deliveries", "2468", settings::DateTimeText()};
}

void StoreDemoSettings(sim::Tablet& tablet, const DemoSettings& settings) {
    const std::pair<char, const std::string&> commands[] = {{kCompanyName, settings.companyName},
                                                            {kMenuTitle, settings.menuTitle},
                                                            {kPassword, settings.password},
                                                            {kClock, settings.clock}};
    std::string sent;
    for (const auto& [command, value] : commands)
        sent += command + value + kCR;
    Line line(tablet.linkPath());
    line.write(sent);
    // Every command byte, value and CR comes back as its echo.
    line.drain(sent.size());
    const bool stored = tablet.waitForState(
        [&settings](const sim::TabletState& state) {
            return state.companyName == settings.companyName && state.menuTitle == settings.menuTitle &&
                   state.password == settings.password && state.clock == settings.clock;
        },
        kTimeLimit);
    if (!stored) throw std::runtime_error("the demo tablet did not store its sample settings");
}

} // namespace app
