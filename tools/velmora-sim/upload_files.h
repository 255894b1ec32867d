// Where the emulated tablet keeps the uploads it received, for a user or a test to read: in a folder, one
// pair of files per upload, named after the tablet's port and numbered from 1 in the order they ended:
//   COM<n>-upload-<k>.raw  the bytes between FF and NUL, as received;
//   COM<n>-upload-<k>.txt  the records decoded from them, as a record data file (see upload_receiver.h).
// Each file appears whole (written beside its name, then renamed).
#pragma once

#include "upload_receiver.h"

#include <string>

namespace sim {

class UploadFiles {
public:
    // Keeps the uploads of the tablet on `portName` ("COM3") in `dir` from now on; "" stops it. Throws
    // std::runtime_error when `dir` is not a folder that exists.
    void open(const std::string& dir, const std::string& portName);
    // Writes upload number `number` (1-based); throws std::runtime_error when a file cannot be written.
    void write(const Upload& upload, std::size_t number) const;

private:
    std::string folder;
    std::string prefix; // "COM3-upload-"
};

} // namespace sim
