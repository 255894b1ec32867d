// The program's file I/O: sequential input and output, binary append, and the file system object's calls.
//
// Files hold bytes and the program's text is bytes (std::string): every byte 0-255 is read and written
// unchanged, with no code page, no byte order mark and no line-end translation beyond what line input and
// PrintLine themselves do. A path is passed to the operating system as the bytes it holds.
//
// Writing never leaves a file half-written. Every write (WriteAll, CreateTextFile, AppendBytes, a
// SequentialOutput) goes to a new hidden file in the target's folder, which is flushed to the disk and then
// renamed over the target, so a full disk or a killed program leaves the previous file whole. A link is
// followed and the file it names is replaced; a replaced file keeps its permission bits and owner. Appending
// copies the old content into the new file first. Before anything is written the target is checked as
// opening it for writing would check it, so a read-only file, a read-only folder, a folder, a missing
// folder still raise the error they always raised. Only when the folder takes no new files but the file
// itself may be written is the file written in place, the one way left to write it.
//
// A deleted file is set aside, not removed: DeleteFile renames it to a hidden name in its folder. The
// program deletes a file only to write it again at once (delete, create empty, write the lines), so the file
// set aside for a path is put back when a write of that same path fails, and removed for good when a write
// of that path has succeeded (creating it empty does not count: that is the first step of rewriting it),
// when a write or delete concerns another path, or when the program ends. In between, the path reads as
// missing, exactly as after a real delete.
//
// Reading never blocks and never holds more than 64 MiB of one file. A path is opened without waiting
// for a writer; what is not a regular file (a folder, a pipe, a socket, a device such as /dev/zero) is
// refused with 75 naming the path, and a file longer than 64 MiB with 7 "Out of memory" naming it.
// Writing likewise refuses a target that is not a regular file, without opening it.
//
// Failures raise the numbered errors the program's handlers dispatch on:
//   53 file not found      a file to read or delete does not exist (its folder does)
//   76 path not found      the folder of the path does not exist, or a part of it is not a folder
//   70 permission denied   no access, a read-only file system, or deleting a read-only file without force
//   58 file already exists CreateTextFile without overwrite on an existing file
//   62 input past end of file   LineInput when Eof() is true
//   75 path/file access error   the path is a folder or not a regular file, and any other refusal of the
//                               operating system
//    7 out of memory       a file to read holds more than 64 MiB
//   61 disk full, 67 too many files
//    5 invalid procedure call   an empty path, a path holding a NUL byte, a call on a stream not open
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace vb {

// The most of one file that reading holds: 64 MiB.
inline constexpr std::int64_t kMaxFileBytes = std::int64_t(64) << 20;

class PendingReplacement; // the hidden new file of a write, until it is renamed over its target

// A file opened for sequential input ("Open ... For Input", "Line Input", "EOF").
//
// A line ends at CR LF or at a CR alone; the CR and an LF right after it are consumed and not returned.
// An LF alone is not a line end and stays in the line's text (sequential line input stops at a carriage
// return only). At the end of the file, bytes without a line end are the last line. No byte is special:
// Ctrl-Z (0x1A) and EOT (0x04) are ordinary text.
class SequentialInput {
public:
    SequentialInput() = default;
    explicit SequentialInput(const std::string& path) { Open(path); }
    ~SequentialInput();
    SequentialInput(const SequentialInput&) = delete;
    SequentialInput& operator=(const SequentialInput&) = delete;

    // Raises 53 when the file does not exist, 76 when its folder does not, 70, 75 (not a regular file),
    // 7 (longer than 64 MiB), 5.
    void Open(const std::string& path);
    // The next line without its ending. Raises 62 when Eof() is true.
    std::string LineInput();
    // True when every byte of the file has been read.
    bool Eof();
    // Closing a stream that is not open does nothing.
    void Close();
    bool IsOpen() const { return fd_ >= 0; }

private:
    bool Fill(); // reads more bytes into the buffer; false at end of file

    int fd_ = -1;
    std::string path_;
    std::string buffer_;
    std::size_t position_ = 0;
    std::int64_t bytesRead_ = 0;
};

// A file opened for sequential output ("Open ... For Output" truncates, "For Append" adds at the end);
// a missing file is created, a missing folder raises 76. The lines go to a hidden new file that replaces
// the target when the stream is closed; a failed write drops it and leaves the target as it was.
class SequentialOutput {
public:
    enum Mode { Output, Append };

    SequentialOutput();
    SequentialOutput(const std::string& path, Mode mode);
    // Unflushed text is written and the file replaced; a failure at that point is lost (call Close() to
    // see it). A stream dropped while an error is on its way is abandoned instead: the target stays as it
    // was.
    ~SequentialOutput();
    SequentialOutput(const SequentialOutput&) = delete;
    SequentialOutput& operator=(const SequentialOutput&) = delete;

    void Open(const std::string& path, Mode mode);
    // Writes the text followed by CR LF ("Print #n, text").
    void PrintLine(std::string_view text);
    // Writes what is buffered and closes the file; write failures are raised here or by PrintLine.
    void Close();
    bool IsOpen() const { return file_ != nullptr; }

private:
    void Flush();

    std::unique_ptr<PendingReplacement> file_;
    std::string buffer_;
    int exceptionsAtOpen_ = 0;
};

// Appends the bytes at the end of the file, creating it when it does not exist ("Open ... For Binary",
// "Put" at the file's length + 1).
void AppendBytes(const std::string& path, std::string_view bytes);

// The file system object's calls.

// True when the path names an existing file (not a folder); any error gives false.
bool FileExists(const std::string& path);
// Deletes the file (sets it aside, see above). Raises 53 when it does not exist (a folder is not a file), 76
// when its folder does not, and 70 when the file is read-only (no write permission bit, or no write access
// for this user) unless `force` is true.
void DeleteFile(const std::string& path, bool force = false);
// Creates an empty file. An existing file is truncated when `overwrite` is true, else error 58 is raised.
void CreateTextFile(const std::string& path, bool overwrite);
// The whole file as bytes ("OpenTextFile" for reading, "ReadAll", "Close"). An empty file gives "", not
// the input-past-end-of-file error: none of the program's callers expects that error from a whole read.
// Raises 75 for what is not a regular file and 7 for a file longer than 64 MiB.
std::string ReadAll(const std::string& path);
// Creates the file (overwriting) and writes exactly these bytes, in one call, then closes it.
void WriteAll(const std::string& path, std::string_view bytes);

} // namespace vb
