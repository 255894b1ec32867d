#include "tablet_search.h"

#include "platform/port_map.h"

#include <QCommandLineParser>

namespace cli {

namespace {
constexpr char ENQ = 0x05;
} // namespace

std::unique_ptr<TabletLine> ProbePort(int port, int baud, std::chrono::milliseconds answer,
                                      PortProbe& probe) {
    probe.port = port;
    probe.device = vb::DeviceForPort(port);
    try {
        auto line = std::make_unique<TabletLine>(port, baud);
        probe.device = line->device();
        line->send(std::string(1, ENQ));
        if (line->waitFor(std::string_view(&ENQ, 1), answer)) {
            probe.status = kSuccess;
            probe.message = line->name() + ": a Velmora LT answered";
            return line;
        }
        probe.status = kNoAnswer;
        probe.message = line->name() + (line->hungUp() ? ": the line hung up" : ": no answer to ENQ");
    } catch (const LineFailure& failure) {
        probe.status = failure.status;
        probe.message = failure.what();
    }
    return nullptr;
}

std::unique_ptr<TabletLine> ProbePorts(int baud, std::chrono::milliseconds answer, bool stopAtFirst,
                                       std::vector<PortProbe>& probes) {
    std::unique_ptr<TabletLine> first;
    for (int port = 1; port <= vb::kHighestPort; ++port) {
        PortProbe probe;
        auto line = ProbePort(port, baud, answer, probe);
        probes.push_back(probe);
        if (line && !first) {
            first = std::move(line);
            if (stopAtFirst) break;
        }
    }
    return first;
}

std::string NoTabletAnswered(const std::vector<PortProbe>& probes) {
    struct Kind {
        int status;
        const char* word;
        bool named; // the ports are listed: the user can do something about each
        int count;
        std::string ports;
    };
    Kind kinds[] = {{kNotFound, "missing", false, 0, {}},
                    {kBusy, "busy", true, 0, {}},
                    {kDenied, "denied", true, 0, {}},
                    {kNoAnswer, "silent", false, 0, {}},
                    {kFailure, "failed", true, 0, {}}};
    for (const PortProbe& probe : probes)
        for (Kind& kind : kinds)
            if (probe.status == kind.status) {
                ++kind.count;
                if (kind.named)
                    kind.ports += (kind.ports.empty() ? "" : " ") + ("COM" + std::to_string(probe.port));
            }
    std::string text = "no Velmora LT answered on ports 1 to " + std::to_string(vb::kHighestPort) + " (";
    const char* separator = "";
    for (const Kind& kind : kinds) {
        if (kind.count == 0 && kind.status == kFailure) continue;
        text += separator + std::to_string(kind.count) + " " + kind.word;
        if (!kind.ports.empty()) text += " (" + kind.ports + ")";
        separator = ", ";
    }
    return text + ")";
}

void AddTabletOptions(QCommandLineParser& parser) {
    parser.addOption(
        {{"p", "port"}, "The tablet's port number (1 to 40); without it, ports 1 to 40 are searched.", "N"});
    AddLineOptions(parser);
}

void AddLineOptions(QCommandLineParser& parser) {
    parser.addOption(
        {"baud", "The line's baud rate: 19200, 38400, 57600 or 115200 (default).", "RATE", "115200"});
    parser.addOption(
        {{"t", "timeout"}, "Seconds the tablet may take to answer (default 3).", "SECONDS", "3"});
}

TabletOptions ReadTabletOptions(const QCommandLineParser& parser) {
    TabletOptions options = ReadLineOptions(parser);
    if (parser.isSet("port")) {
        bool ok = true;
        const int port = parser.value("port").toInt(&ok);
        if (!ok || port < 1 || port > vb::kHighestPort)
            throw LineFailure(kUsage, "--port: '" + parser.value("port").toStdString() +
                                          "' is not a port number from 1 to 40");
        options.port = port;
    }
    return options;
}

TabletOptions ReadLineOptions(const QCommandLineParser& parser) {
    TabletOptions options;
    bool ok = true;
    const int baud = parser.value("baud").toInt(&ok);
    if (!ok || (baud != 19200 && baud != 38400 && baud != 57600 && baud != 115200))
        throw LineFailure(kUsage, "--baud: '" + parser.value("baud").toStdString() +
                                      "' is not 19200, 38400, 57600 or 115200");
    options.baud = baud;
    const double seconds = parser.value("timeout").toDouble(&ok);
    if (!ok || seconds <= 0 || seconds > 3600)
        throw LineFailure(kUsage, "--timeout: '" + parser.value("timeout").toStdString() +
                                      "' is not a number of seconds from 0 to 3600");
    options.timeout = std::chrono::milliseconds(static_cast<long long>(seconds * 1000));
    return options;
}

std::unique_ptr<TabletLine> OpenTablet(const TabletOptions& options) {
    if (options.port) {
        PortProbe probe;
        auto line = ProbePort(*options.port, options.baud, options.timeout, probe);
        if (!line) throw LineFailure(probe.status, probe.message);
        return line;
    }
    std::vector<PortProbe> probes;
    auto line = ProbePorts(options.baud, options.timeout, true, probes);
    if (!line) throw LineFailure(kNotFound, NoTabletAnswered(probes));
    return line;
}

} // namespace cli
