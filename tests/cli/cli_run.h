// Runs build/velmora-cli as a child process for the tests of its subcommands: its exit status, standard
// output and standard error. The child inherits the test's environment, so VELMORA_PORTS names the test's
// own ports folder and VELMORA_LOCK_DIR its lock folder. Helpers for the port conditions the tests set up: a
// port another program holds (a child that cannot override file permissions, for a device it may not open).
#pragma once

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStringList>
#include <QTest>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <linux/capability.h>
#include <string>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cli_testing {

struct CliRun {
    int status = -1;
    QString out;
    QString err;
};

// Runs velmora-cli with `arguments`; `prepare` runs in the child between fork and exec.
inline CliRun RunCli(const QStringList& arguments, int limitMs = 40000,
                     const std::function<void()>& prepare = {}) {
    QProcess process;
    process.setChildProcessModifier([prepare] {
        // The child gets none of the test's descriptors (the emulated tablets' own are close-on-exec
        // already): a pseudo-terminal end held open by the child would keep a line up that should hang up.
        for (int fd = STDERR_FILENO + 1; fd < 1024; ++fd)
            fcntl(fd, F_SETFD, FD_CLOEXEC);
        if (prepare) prepare();
    });
    process.start(QStringLiteral(VELMORA_CLI_PROGRAM), arguments);
    CliRun run;
    if (!process.waitForFinished(limitMs)) {
        process.kill();
        process.waitForFinished();
        run.err = QStringLiteral("velmora-cli did not end within the limit");
        return run;
    }
    run.status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.out = QString::fromLocal8Bit(process.readAllStandardOutput());
    run.err = QString::fromLocal8Bit(process.readAllStandardError());
    return run;
}

// The whole of a file's bytes; "(unreadable)" when it cannot be read.
inline std::string ReadFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return "(unreadable)";
    return file.readAll().toStdString();
}

// Every entry of a folder by name, hidden ones (the safe write's temporary files) included.
inline QStringList EverythingIn(const QString& folder) {
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                                  QDir::Name);
}

// In the child: give up overriding file permissions for good (also across exec, where a root process
// would otherwise get every capability back), so that a device with no permission bits refuses it as it
// refuses a user outside the dialout group.
inline void WithoutPermissionOverride() {
    prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE, 0, 0, 0);
    prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH, 0, 0, 0);
    prctl(PR_CAPBSET_DROP, CAP_FOWNER, 0, 0, 0);
}

// A pseudo-terminal nobody may open: its slave has no permission bits. Linked as `link`.
class ForbiddenTerminal {
public:
    explicit ForbiddenTerminal(const std::string& link) {
        master = posix_openpt(O_RDWR | O_NOCTTY);
        if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0) return;
        slave = ptsname(master);
        // Keeps the slave open so that the pty stays whole whoever else opens or closes it.
        holder = ::open(slave.c_str(), O_RDWR | O_NOCTTY);
        if (chmod(slave.c_str(), 0) != 0 || symlink(slave.c_str(), link.c_str()) != 0) slave.clear();
    }
    ~ForbiddenTerminal() {
        if (holder >= 0) ::close(holder);
        if (master >= 0) ::close(master);
    }
    ForbiddenTerminal(const ForbiddenTerminal&) = delete;
    ForbiddenTerminal& operator=(const ForbiddenTerminal&) = delete;
    bool made() const { return !slave.empty(); }
    const std::string& device() const { return slave; }

private:
    int master = -1;
    int holder = -1;
    std::string slave;
};

} // namespace cli_testing
