// The demo (velmora --demo): an emulated Velmora LT beside the program, so that a new user can search,
// download, view, upload, set values and reset with no hardware. The windows are the same as ever.
//
// The program gets a ports folder of its own (a temporary folder) and VELMORA_PORTS names it, so the
// search sees nothing but the demo tablet: COM1 there, holding 25 sample records and sample settings
// (demo_settings.h). The tablet runs in the program's process (a pty and a thread) and behaves as a real
// one on a real line: it reads and sends at the line's speed at the baud the console set (115200 8O1:
// about 10 KB/s), so a download takes a few seconds; and it answers an ENQ a few milliseconds after it,
// so the wake-up's ENQs still on the line when the download asks for the records are echoed before them,
// the record count lies past the start of what arrives and the progress bar moves. When the demo ends,
// the tablet stops, the folder is removed and VELMORA_PORTS is what it was before.
#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>
#include <memory>
#include <optional>

namespace sim {
class Tablet;
}

namespace app {

inline constexpr int kDemoPort = 1;
inline constexpr int kDemoRecords = 25;

class DemoTablet {
public:
    // Throws std::runtime_error when the folder or the tablet cannot be made.
    DemoTablet();
    ~DemoTablet();
    DemoTablet(const DemoTablet&) = delete;
    DemoTablet& operator=(const DemoTablet&) = delete;

    QString portsFolder() const { return folder.path(); }
    sim::Tablet& tablet() { return *emulated; }

    // What the program prints on standard error when the demo starts: where the tablet is and what to
    // press.
    QString hint() const;

private:
    void restorePortsVariable() const;

    QTemporaryDir folder;
    std::optional<QByteArray> previousPorts; // VELMORA_PORTS before the demo; none when it was not set
    std::unique_ptr<sim::Tablet> emulated;
};

} // namespace app
