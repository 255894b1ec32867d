#include "platform/errors.h"

namespace vb {

std::string DefaultDescription(std::int64_t number) {
    switch (number) {
    case errInvalidProcedureCall:
        return "Invalid procedure call or argument";
    case errOverflow:
        return "Overflow";
    case errSubscriptOutOfRange:
        return "Subscript out of range";
    case errTypeMismatch:
        return "Type mismatch";
    case errFileNotFound:
        return "File not found";
    case errInputPastEndOfFile:
        return "Input past end of file";
    case errPermissionDenied:
        return "Permission denied";
    case errPathNotFound:
        return "Path not found";
    case errInvalidPropertyValue:
        return "Invalid property value";
    case errInvalidPortNumber:
        return "Invalid Port Number";
    case errPortAlreadyOpen:
        return "Port already open";
    case errPortNotOpen:
        return "The device is not open";
    case errDialogCancelled:
        return "Cancel was selected.";
    case errObjectDisconnected:
        return "The object invoked has disconnected from its clients.";
    default:
        return "Application-defined or object-defined error";
    }
}

Error::Error(std::int64_t number_, std::string description_)
    : std::runtime_error(description_), number(number_), description(std::move(description_)) {}

Error::Error(std::int64_t number_) : Error(number_, DefaultDescription(number_)) {}

void Raise(std::int64_t number) {
    throw Error(number);
}

void Raise(std::int64_t number, std::string description) {
    throw Error(number, std::move(description));
}

} // namespace vb
