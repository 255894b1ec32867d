#include "ports_command.h"

#include "command_line_run.h"
#include "download_command.h"
#include "exit_status.h"
#include "platform/port_map.h"
#include "tablet_line.h"

#include <QCommandLineParser>
#include <cstdio>

namespace cli {

namespace {

const char* const kDescription =
    "Lists the ports 1 to 40: each port's device, or \"-\", and whether the tablet's line can be opened\n"
    "there: ok, busy (another program holds it, or a live lock file names one), denied (no permission:\n"
    "add your user to the dialout group and log in again), missing, or not a serial port. Each port is\n"
    "opened and closed again at once, and left as it was. Exit status 0.";

// What an open that failed says about the port.
std::string StateOfFailure(const LineFailure& failure) {
    switch (failure.status) {
    case kBusy:
        return "busy";
    case kDenied:
        return "denied";
    case kNotFound:
        return std::string(failure.what()).find("does not exist") != std::string::npos ? "missing"
                                                                                       : "not a serial port";
    default:
        return "failed";
    }
}

} // namespace

PortCheck CheckPort(int port) {
    PortCheck check;
    check.port = port;
    const std::string path = vb::DeviceForPort(port);
    if (path.empty()) {
        check.state = "missing";
        return check;
    }
    const vb::PortPath found = vb::ExaminePortPath(path);
    check.device = found.device;
    switch (found.kind) {
    case vb::PathKind::Missing:
        check.device.clear();
        [[fallthrough]];
    case vb::PathKind::DanglingLink:
        check.state = "missing";
        return check;
    case vb::PathKind::LinkLoop:
    case vb::PathKind::Directory:
    case vb::PathKind::NotADevice:
        check.state = "not a serial port";
        return check;
    case vb::PathKind::Device:
        break;
    }
    try {
        TabletLine line(port);
        check.state = "ok";
    } catch (const LineFailure& failure) {
        check.state = StateOfFailure(failure);
        check.reason = failure.what();
    }
    return check;
}

int RunPorts(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QString::fromUtf8(kDescription));
    const int status = RunReportingFailure("ports", [&] {
        ParseCommandLine(parser, arguments, 0, 0);
        return int(kSuccess);
    });
    if (status != kSuccess) return status;
    for (int port = 1; port <= vb::kHighestPort; ++port) {
        const PortCheck check = CheckPort(port);
        const std::string name = "COM" + std::to_string(port);
        std::printf("%-5s %-24s %s", name.c_str(), check.device.empty() ? "-" : check.device.c_str(),
                    check.state.c_str());
        // Why a port that is there cannot be used: the process holding it, the group to join.
        if (check.state == "busy" || check.state == "denied" || check.state == "failed")
            std::printf(" (%s)", check.reason.c_str());
        std::printf("\n");
    }
    return kSuccess;
}

} // namespace cli
