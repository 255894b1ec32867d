// A pseudo-terminal pair for the emulated tablet: the master is the tablet's end of the line, the slave
// is the serial device that the program under test opens.
//
// The slave is opened here too and stays open as long as this object lives. A pty master reports a
// hang-up as soon as the last descriptor of its slave closes; holding one ourselves means the program
// under test can close and reopen its port as often as it likes, exactly like a real serial device.
// The slave is put in raw mode so that every byte passes unchanged both ways (no echo, no CR/LF
// translation, no flow-control characters).
//
// Closing the master hangs the line up for good (Linux): every descriptor of the slave, ours and the
// program's, is hung up (writes fail with EIO, reads give end of file, poll() reports POLLHUP), input
// not yet read is discarded, and the /dev/pts node goes away, so the slave cannot be opened again.
#pragma once

#include <string>

namespace sim {

class PseudoTerminal {
public:
    PseudoTerminal(); // throws std::runtime_error naming the call that failed
    ~PseudoTerminal();
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    int master() const { return masterFd; } // non-blocking; -1 after hangUp()
    const std::string& slavePath() const { return slaveName; }

    // True while bytes written to the master wait in the slave's input, not yet read by the program.
    bool slaveHasUnreadInput() const;
    // Closes the master; the slave stays open (see above).
    void hangUp();

private:
    int masterFd = -1;
    int slaveFd = -1;
    std::string slaveName;
};

} // namespace sim
