// Numbered run-time errors, as the program's handlers expect them.
//
// Every failure the program reacts to carries a number (5 invalid procedure call, 6 overflow, 9 subscript
// out of range, 13 type mismatch, 53 file not found, 62 input past end of file, 380 invalid property value,
// 8002 invalid port number, 8005 port already open, 32755 a file dialog was cancelled, 0x80010108 a called
// object has disconnected). A handler arms one trap (a try block) for its whole body and dispatches on
// `number`; nothing is rethrown.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace vb {

enum ErrorNumber : std::int64_t {
    errInvalidProcedureCall = 5,
    errOverflow = 6,
    errSubscriptOutOfRange = 9,
    errTypeMismatch = 13,
    errFileNotFound = 53,
    errInputPastEndOfFile = 62,
    errPermissionDenied = 70,
    errPathNotFound = 76,
    errInvalidPropertyValue = 380,
    errInvalidPortNumber = 8002,
    errPortAlreadyOpen = 8005,
    errPortNotOpen = 8012,
    errDialogCancelled = 32755,
    errObjectDisconnected = 0x80010108,
};

// The standard description of an error number ("Overflow", "Invalid Port Number" ...).
std::string DefaultDescription(std::int64_t number);

struct Error : std::runtime_error {
    Error(std::int64_t number, std::string description);
    explicit Error(std::int64_t number);

    std::int64_t number;
    std::string description;
};

// Raises the error with its standard description, or with the one given.
[[noreturn]] void Raise(std::int64_t number);
[[noreturn]] void Raise(std::int64_t number, std::string description);

} // namespace vb
