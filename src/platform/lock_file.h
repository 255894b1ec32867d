// Serial lock files: the convention Linux serial programs (terminal programs, modem tools) share so that
// two of them never use one port at once.
//
// The lock of a device is <lock folder>/LCK..<device file name> (LCK..ttyUSB0 for /dev/ttyUSB0, the name
// of the device a port's link resolves to), holding the owner's process id as ten right-aligned digits
// and a newline. A lock whose process is gone is stale and replaced. The lock folder is /run/lock;
// VELMORA_LOCK_DIR replaces it (tests only). When the folder is missing or cannot be written the port is
// used without a lock file, as other serial programs do.
#pragma once

#include <string>
#include <sys/types.h>

namespace vb {

// The folder the lock files live in.
std::string LockFolder();

// The lock file of `device` (the resolved device path).
std::string LockFileFor(const std::string& device);

struct PortLock {
    std::string file; // the lock file this program made; "" when it made none
    pid_t holder = 0; // a live process that holds the device; 0 when none does
};

// Takes the lock of `device`: a live holder is reported and nothing is made; a stale lock is replaced.
PortLock TakePortLock(const std::string& device);

// Removes the lock file, if it still names this process.
void ReleasePortLock(const PortLock& lock);

} // namespace vb
