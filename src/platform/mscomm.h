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
// InBufferCount/setInBufferCount, the OnComm signal; CloseEveryOpenPort for the end of the program.
// Opening also takes the device's lock file (lock_file.h), which closing removes.
//
// Errors: 8002 a port with no device to open; its description names the port's path and the reason (it
// does not exist, a dangling link, a link loop, a directory, not a serial port, no permission: then the
// device's group and the dialout group); port 0 has no path and says "Invalid Port Number" alone. 8005 a
// port another program holds (its flock, or a live lock file: the description names the process), or a
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

    // Waits up to `timeoutMs` (-1: without limit) for input, without reading it and without processing
    // events: for callers that keep reading while they wait (the command-line companion).
    enum class InputWait { Ready, TimedOut, HungUp };
    InputWait WaitForInput(int timeoutMs) const;

    // The device the open port uses ("" when closed).
    std::string DevicePath() const;

    // Closes every port open in the program, whichever window owns it (the end of the program on a
    // signal, which knows no windows).
    static void CloseEveryOpenPort();

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
