#include "platform/lock_file.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <signal.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace vb {

namespace {

// The process id a lock file names; 0 when it cannot be read or names none.
pid_t HolderNamedIn(const std::string& file) {
    const int fd = ::open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return 0;
    char text[64] = {};
    const ssize_t count = ::read(fd, text, sizeof text - 1);
    ::close(fd);
    if (count <= 0) return 0;
    const long pid = std::strtol(text, nullptr, 10);
    return pid > 0 ? pid_t(pid) : 0;
}

bool ProcessIsAlive(pid_t pid) {
    return pid > 0 && (kill(pid, 0) == 0 || errno == EPERM);
}

// Writes this process's lock in a private file first and links it into place, so that no other program
// ever reads a half-written lock, and a lock made meanwhile by another program is never overwritten.
// Returns 0, or the errno of the failure (EEXIST: another lock came first).
int PlaceLock(const std::string& file) {
    std::string temporary = LockFolder() + "/.velmora-lock-XXXXXX";
    const int fd = mkstemp(temporary.data());
    if (fd < 0) return errno;
    char text[16];
    const int length = std::snprintf(text, sizeof text, "%10d\n", int(getpid()));
    int error = fchmod(fd, 0644) == 0 && ::write(fd, text, std::size_t(length)) == length ? 0 : EIO;
    ::close(fd);
    if (error == 0 && ::link(temporary.c_str(), file.c_str()) != 0) error = errno;
    ::unlink(temporary.c_str());
    return error;
}

} // namespace

std::string LockFolder() {
    const char* folder = std::getenv("VELMORA_LOCK_DIR");
    return folder && *folder ? std::string(folder) : std::string("/run/lock");
}

std::string LockFileFor(const std::string& device) {
    return LockFolder() + "/LCK.." + std::filesystem::path(device).filename().string();
}

PortLock TakePortLock(const std::string& device) {
    const std::string file = LockFileFor(device);
    // A second round when another program placed its lock between our look and our placing.
    for (int round = 0; round < 2; ++round) {
        const pid_t holder = HolderNamedIn(file);
        if (ProcessIsAlive(holder)) return {{}, holder};
        // A lock whose process is gone (or that names none) is stale.
        if (::unlink(file.c_str()) != 0 && errno != ENOENT) return {};
        const int error = PlaceLock(file);
        if (error == 0) return {file, 0};
        if (error != EEXIST) return {}; // no lock folder, or not ours to write: go on without a lock
    }
    return {};
}

void ReleasePortLock(const PortLock& lock) {
    if (!lock.file.empty() && HolderNamedIn(lock.file) == getpid()) ::unlink(lock.file.c_str());
}

} // namespace vb
