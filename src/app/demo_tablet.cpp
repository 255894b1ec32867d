#include "app/demo_tablet.h"

#include "app/demo_settings.h"
#include "sample_records.h"
#include "tablet.h"

#include <QDir>
#include <chrono>
#include <stdexcept>

namespace app {

namespace {
constexpr char kPortsVariable[] = "VELMORA_PORTS";
constexpr char kEnq = 0x05;
// How long the tablet takes to answer an ENQ. The download's wake-up writes ENQs back to back until it
// reads an echo, so this many milliseconds of ENQs are on the line by then, and their echoes come before
// the records; an answer in no time would leave none.
constexpr std::chrono::milliseconds kEnqAnswerTime{4};
} // namespace

DemoTablet::DemoTablet() : folder(QDir::tempPath() + QStringLiteral("/velmora-demo-XXXXXX")) {
    if (!folder.isValid())
        throw std::runtime_error("cannot make a ports folder: " + folder.errorString().toStdString());
    if (qEnvironmentVariableIsSet(kPortsVariable)) previousPorts = qgetenv(kPortsVariable);
    // The port map reads the variable at every open, so from now on port n is <folder>/COM<n>.
    qputenv(kPortsVariable, folder.path().toLocal8Bit());
    try {
        emulated = std::make_unique<sim::Tablet>(folder.path().toStdString(), kDemoPort);
        emulated->setRecords(sim::SampleVlm(kDemoRecords));
        // The settings go in at full speed; from then on the tablet reads and answers at the line's pace,
        // and takes a moment over each ENQ as a tablet's own processor does.
        StoreDemoSettings(*emulated, SampleDemoSettings());
        emulated->setFaults({.echoDelay = {{kEnq, kEnqAnswerTime}}});
        emulated->setLineRatePacing(true);
        emulated->setLineRateReading(true);
    } catch (...) {
        emulated.reset();
        restorePortsVariable();
        throw;
    }
}

DemoTablet::~DemoTablet() {
    // The tablet first: it removes its link and closes its pty; then the folder goes.
    emulated.reset();
    restorePortsVariable();
}

void DemoTablet::restorePortsVariable() const {
    if (previousPorts)
        qputenv(kPortsVariable, *previousPorts);
    else
        qunsetenv(kPortsVariable);
}

QString DemoTablet::hint() const {
    return QStringLiteral(
               "velmora: demo: an emulated Velmora LT holding %1 sample records is on port %2 (%3); "
               "press \"Search for Velmora LT\" to find it.")
        .arg(kDemoRecords)
        .arg(kDemoPort)
        .arg(QString::fromStdString(emulated->linkPath()));
}

} // namespace app
