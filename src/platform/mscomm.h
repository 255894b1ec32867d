// MSComm: the serial port control the console and the upload editor talk through.
//
// How this works: a port number (CommPort) is mapped to a device (port_map.h); PortOpen = true opens it
// non-blocking in raw mode with the Settings text ("115200,O,8,1": baud, parity N/O/E/M/S, data bits 5-8,
// stop bits 1/1.5/2), takes exclusive access (TIOCEXCL and a flock, so two programs never share the
// tablet) and keeps the termios state it found, which PortOpen = false restores. Input returns everything
// received and not yet read without waiting; InBufferCount counts the bytes waiting (setting it to 0
// discards them). OnComm is emitted during event processing whenever input is waiting; nothing is read
// unless the program reads it, so polling loops that process no events see the bytes pile up.
//
// Interface: CommPort/setCommPort, Settings/setSettings, PortOpen/setPortOpen, Output, Input,
// InBufferCount/setInBufferCount, the OnComm signal.
// Errors: 8002 port with no device (port 0, a missing COM<n>, a path that is not a tty, no permission:
// the description then names the device and the dialout group); 8005 a port another program holds, or a
// CommPort change while open; 8012 reading or writing a closed port; 380 a malformed Settings text.
#pragma once

#include <QObject>
#include <memory>
#include <string>

namespace vb {

struct LineSettings {
    int baud = 9600;
    char parity = 'N'; // N, O, E, M, S
    int dataBits = 8;
    double stopBits = 1;
};

// Parses "115200,O,8,1"; a malformed text raises 380.
LineSettings ParseSettings(const std::string& text);

class MSComm : public QObject {
    Q_OBJECT
public:
    explicit MSComm(QObject* parent = nullptr);
    ~MSComm() override;

    short CommPort() const { return commPort; }
    void setCommPort(short port);

    const std::string& Settings() const { return settings; }
    void setSettings(const std::string& text);

    bool PortOpen() const;
    void setPortOpen(bool open);

    void Output(const std::string& bytes);
    std::string Input();

    long InBufferCount() const;
    void setInBufferCount(long count);

    // The device the open port uses ("" when closed).
    std::string DevicePath() const;

signals:
    void OnComm();

private:
    void open();
    void close();

    short commPort = 1;
    std::string settings = "9600,N,8,1";
    struct Port;
    std::unique_ptr<Port> port;
};

} // namespace vb
