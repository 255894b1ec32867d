#include "platform/file_system.h"

#include "platform/errors.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vb {

namespace {

constexpr std::size_t kReadChunk = 65536;
constexpr std::size_t kWriteChunk = 65536;
constexpr char CR = '\r';
constexpr char LF = '\n';

// Error numbers the operating system's refusals map to that errors.h has no name for.
constexpr std::int64_t errFileAlreadyExists = 58;
constexpr std::int64_t errDiskFull = 61;
constexpr std::int64_t errTooManyFiles = 67;
constexpr std::int64_t errPathFileAccess = 75;

void RequireUsablePath(const std::string& path) {
    if (path.empty() || path.find('\0') != std::string::npos) Raise(errInvalidProcedureCall);
}

bool IsFolder(const std::string& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

std::string FolderOf(const std::string& path) {
    const auto slash = path.find_last_of('/');
    if (slash == std::string::npos) return ".";
    if (slash == 0) return "/";
    return path.substr(0, slash);
}

// Raises the numbered error for a failed system call on `path`. A missing file is "file not found" only when
// its folder exists; otherwise the path itself is wrong.
[[noreturn]] void RaiseFor(int error, const std::string& path) {
    switch (error) {
    case ENOENT:
        Raise(IsFolder(FolderOf(path)) ? errFileNotFound : errPathNotFound);
    case ENOTDIR:
    case ENAMETOOLONG:
    case ELOOP:
        Raise(errPathNotFound);
    case EACCES:
    case EPERM:
    case EROFS:
    case ETXTBSY:
        Raise(errPermissionDenied);
    case EEXIST:
        Raise(errFileAlreadyExists, "File already exists");
    case ENOSPC:
    case EDQUOT:
        Raise(errDiskFull, "Disk full");
    case EMFILE:
    case ENFILE:
        Raise(errTooManyFiles, "Too many files");
    default:
        Raise(errPathFileAccess, "Path/File access error");
    }
}

// Opens a file (not a folder) with the given flags; new files get the user's default permissions.
int OpenFile(const std::string& path, int flags) {
    RequireUsablePath(path);
    const int fd = ::open(path.c_str(), flags | O_CLOEXEC, 0666);
    if (fd < 0) RaiseFor(errno, path);
    struct stat info {};
    if (::fstat(fd, &info) != 0 || S_ISDIR(info.st_mode)) {
        ::close(fd);
        RaiseFor(EISDIR, path);
    }
    return fd;
}

// Reads up to `size` bytes; 0 at end of file.
std::size_t ReadSome(int fd, char* data, std::size_t size, const std::string& path) {
    ssize_t got;
    do {
        got = ::read(fd, data, size);
    } while (got < 0 && errno == EINTR);
    if (got < 0) RaiseFor(errno, path);
    return static_cast<std::size_t>(got);
}

void WriteFully(int fd, std::string_view bytes, const std::string& path) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(fd, bytes.data(), bytes.size());
        if (written < 0) {
            if (errno == EINTR) continue;
            RaiseFor(errno, path);
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

// Closes the descriptor; a failure reported by close (a delayed write error) is raised.
void CloseFile(int fd, const std::string& path) {
    if (::close(fd) != 0 && errno != EINTR) RaiseFor(errno, path);
}

// Writes the bytes to a file opened with the given flags and closes it, closing it on failure too.
void WriteToFile(const std::string& path, int flags, std::string_view bytes) {
    const int fd = OpenFile(path, flags);
    try {
        WriteFully(fd, bytes, path);
    } catch (...) {
        ::close(fd);
        throw;
    }
    CloseFile(fd, path);
}

} // namespace

// ---- sequential input ----

SequentialInput::~SequentialInput() {
    Close();
}

void SequentialInput::Open(const std::string& path) {
    if (IsOpen()) Raise(errInvalidProcedureCall);
    fd_ = OpenFile(path, O_RDONLY);
    path_ = path;
    buffer_.clear();
    position_ = 0;
}

bool SequentialInput::Fill() {
    if (!IsOpen()) Raise(errInvalidProcedureCall);
    buffer_.erase(0, position_);
    position_ = 0;
    const std::size_t kept = buffer_.size();
    buffer_.resize(kept + kReadChunk);
    std::size_t got = 0;
    try {
        got = ReadSome(fd_, buffer_.data() + kept, kReadChunk, path_);
    } catch (...) {
        buffer_.resize(kept);
        throw;
    }
    buffer_.resize(kept + got);
    return got > 0;
}

bool SequentialInput::Eof() {
    if (!IsOpen()) Raise(errInvalidProcedureCall);
    return position_ == buffer_.size() && !Fill();
}

std::string SequentialInput::LineInput() {
    if (Eof()) Raise(errInputPastEndOfFile);
    std::string line;
    for (;;) {
        const auto end = buffer_.find(CR, position_);
        if (end == std::string::npos) {
            line.append(buffer_, position_);
            position_ = buffer_.size();
            if (!Fill()) return line; // the last line has no ending
            continue;
        }
        line.append(buffer_, position_, end - position_);
        position_ = end + 1;
        // The LF of a CR LF may be the first byte of the next chunk.
        if (position_ == buffer_.size() && !Fill()) return line;
        if (buffer_[position_] == LF) ++position_;
        return line;
    }
}

void SequentialInput::Close() {
    if (!IsOpen()) return;
    ::close(fd_);
    fd_ = -1;
    buffer_.clear();
    position_ = 0;
}

// ---- sequential output ----

SequentialOutput::~SequentialOutput() {
    try {
        Close();
    } catch (const Error&) {
        // A destructor cannot report it; Close() called by the program does.
    }
}

void SequentialOutput::Open(const std::string& path, Mode mode) {
    if (IsOpen()) Raise(errInvalidProcedureCall);
    fd_ = OpenFile(path, O_WRONLY | O_CREAT | (mode == Append ? O_APPEND : O_TRUNC));
    path_ = path;
    buffer_.clear();
}

void SequentialOutput::PrintLine(std::string_view text) {
    if (!IsOpen()) Raise(errInvalidProcedureCall);
    buffer_.append(text);
    buffer_ += CR;
    buffer_ += LF;
    if (buffer_.size() >= kWriteChunk) Flush();
}

void SequentialOutput::Flush() {
    std::string pending;
    pending.swap(buffer_);
    WriteFully(fd_, pending, path_);
}

void SequentialOutput::Close() {
    if (!IsOpen()) return;
    const int fd = fd_;
    try {
        Flush();
    } catch (...) {
        ::close(fd);
        fd_ = -1;
        throw;
    }
    fd_ = -1;
    CloseFile(fd, path_);
}

// ---- binary append and the file system object ----

void AppendBytes(const std::string& path, std::string_view bytes) {
    WriteToFile(path, O_WRONLY | O_CREAT | O_APPEND, bytes);
}

bool FileExists(const std::string& path) {
    if (path.empty() || path.find('\0') != std::string::npos) return false;
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 && !S_ISDIR(info.st_mode);
}

void DeleteFile(const std::string& path, bool force) {
    RequireUsablePath(path);
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0) RaiseFor(errno, path);
    if (S_ISDIR(info.st_mode)) Raise(errFileNotFound);
    // A file nobody may write is "read-only" even for a user whom the system would let delete it anyway.
    const bool readOnly =
        (info.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0 || ::access(path.c_str(), W_OK) != 0;
    if (readOnly && !force) Raise(errPermissionDenied);
    if (::unlink(path.c_str()) != 0) RaiseFor(errno, path);
}

void CreateTextFile(const std::string& path, bool overwrite) {
    WriteToFile(path, O_WRONLY | O_CREAT | (overwrite ? O_TRUNC : O_EXCL), {});
}

std::string ReadAll(const std::string& path) {
    const int fd = OpenFile(path, O_RDONLY);
    std::string all;
    try {
        for (;;) {
            const std::size_t kept = all.size();
            all.resize(kept + kReadChunk);
            const std::size_t got = ReadSome(fd, all.data() + kept, kReadChunk, path);
            all.resize(kept + got);
            if (got == 0) break;
        }
    } catch (...) {
        ::close(fd);
        throw;
    }
    ::close(fd);
    return all;
}

void WriteAll(const std::string& path, std::string_view bytes) {
    WriteToFile(path, O_WRONLY | O_CREAT | O_TRUNC, bytes);
}

} // namespace vb
