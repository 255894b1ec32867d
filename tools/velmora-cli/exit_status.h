// velmora-cli's exit statuses: one per kind of failure, so that a scheduled job can tell them apart.
// Every failure also prints one line on standard error that names the port or the file.
#pragma once

namespace cli {

enum ExitStatus : int {
    kSuccess = 0,
    kFailure = 1,  // anything not listed below (a file that cannot be written, a line that hung up)
    kUsage = 2,    // an unknown subcommand or option, a missing or malformed argument
    kNotFound = 3, // no tablet answered on any port, or the port given has no device
    kNoAnswer = 4, // the port opened, but the tablet did not answer in time
    kBusy = 5,     // another program holds the port
    kDenied = 6,   // no permission to open the port's device (the dialout group)
    kBadFile = 7,  // a file to read is missing, unreadable or malformed
};

} // namespace cli
