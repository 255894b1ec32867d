#include "platform/file_system.h"

#include "platform/errors.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <exception>
#include <fcntl.h>
#include <optional>
#include <random>
#include <sys/stat.h>
#include <unistd.h>

namespace vb {

namespace {

constexpr std::size_t kReadChunk = 65536;
constexpr std::size_t kWriteChunk = 65536;
constexpr char CR = '\r';
constexpr char LF = '\n';
constexpr int kMaxLinkHops = 40; // as many as the kernel follows before it gives ELOOP

// Error numbers the operating system's refusals map to that errors.h has no name for.
constexpr std::int64_t errOutOfMemory = 7;
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

// A folder, a pipe, a socket or a device: nothing the program reads or writes as a file.
[[noreturn]] void RaiseNotAFile(const std::string& path) {
    Raise(errPathFileAccess, "Path/File access error: " + path);
}

[[noreturn]] void RaiseTooLong(const std::string& path) {
    Raise(errOutOfMemory, "Out of memory: " + path);
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
    case EISDIR:
    case ENXIO: // a socket, or a device with nothing behind it
        RaiseNotAFile(path);
    default:
        Raise(errPathFileAccess, "Path/File access error");
    }
}

// Opens a file to read without waiting: a pipe with no writer would otherwise hold the window for ever.
// Only a regular file of at most 64 MiB is kept open, and then in blocking mode again for the reads.
int OpenForReading(const std::string& path) {
    RequireUsablePath(path);
    const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd < 0) RaiseFor(errno, path);
    struct stat info {};
    const bool regular = ::fstat(fd, &info) == 0 && S_ISREG(info.st_mode);
    if (!regular || info.st_size > kMaxFileBytes) {
        ::close(fd);
        if (!regular) RaiseNotAFile(path);
        RaiseTooLong(path);
    }
    const int flags = ::fcntl(fd, F_GETFL);
    if (flags < 0 || ::fcntl(fd, F_SETFL, flags & ~O_NONBLOCK) != 0) {
        const int error = errno;
        ::close(fd);
        RaiseFor(error, path);
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

// A hidden name in `folder` that nothing uses yet is found by trying: the file is created with O_EXCL.
std::string HiddenName(const std::string& folder, const char* kind) {
    static std::mt19937_64 random{std::random_device{}() ^ static_cast<std::uint64_t>(::getpid())};
    char name[40];
    std::snprintf(name, sizeof name, "/.velmora-%s-%012llx", kind,
                  static_cast<unsigned long long>(random() & 0xffffffffffffULL));
    return folder + name;
}

// ---- the file a delete has set aside ----

struct SetAsideFile {
    std::string path;  // where it was
    std::string aside; // where it is now
};

// Holds the one file set aside; at the end of the program it is removed for good.
struct SetAsideKeeper {
    std::optional<SetAsideFile> file;
    ~SetAsideKeeper() {
        if (file) ::unlink(file->aside.c_str());
    }
};

std::optional<SetAsideFile>& SetAside() {
    static SetAsideKeeper keeper;
    return keeper.file;
}

// Removes the file set aside for good.
void DiscardSetAside() {
    if (!SetAside()) return;
    ::unlink(SetAside()->aside.c_str());
    SetAside().reset();
}

// A write or a delete of `path` begins: a file set aside for another path will not be written again.
void SettleSetAsideBefore(const std::string& path) {
    if (SetAside() && SetAside()->path != path) DiscardSetAside();
}

// A write of `path` failed: the file set aside for it goes back, over whatever the write left there.
void PutBackSetAside(const std::string& path) {
    if (!SetAside() || SetAside()->path != path) return;
    ::rename(SetAside()->aside.c_str(), path.c_str());
    SetAside().reset();
}

// The file a write of `path` replaces: the path with its links followed, so that a link keeps pointing at
// the file it names. Too many links raise 76, as opening the path would.
std::string FollowLinks(const std::string& path) {
    std::string current = path;
    for (int hop = 0; hop < kMaxLinkHops; ++hop) {
        struct stat info {};
        if (::lstat(current.c_str(), &info) != 0 || !S_ISLNK(info.st_mode)) return current;
        std::string target(PATH_MAX, '\0');
        const ssize_t length = ::readlink(current.c_str(), target.data(), target.size());
        if (length <= 0) return current;
        target.resize(static_cast<std::size_t>(length));
        current = target.front() == '/' ? target : FolderOf(current) + "/" + target;
    }
    RaiseFor(ELOOP, path);
}

} // namespace

// ---- the hidden new file of a write ----

class PendingReplacement {
public:
    enum Start { Empty, WithOldContent };

    // Checks the target as opening it for writing would, then creates the hidden file beside it (holding
    // the old content for an append).
    PendingReplacement(const std::string& path, Start start) : path_(path) {
        RequireUsablePath(path);
        SettleSetAsideBefore(path);
        Guarded([&] {
            target_ = FollowLinks(path);
            existed_ = CheckTarget();
            Create(start);
        });
    }

    ~PendingReplacement() { Abandon(); }
    PendingReplacement(const PendingReplacement&) = delete;
    PendingReplacement& operator=(const PendingReplacement&) = delete;

    const std::string& Path() const { return path_; }

    void Write(std::string_view bytes) {
        Guarded([&] { WriteFully(fd_, bytes, path_); });
    }

    // Flushes the new file to the disk and puts it in the target's place. `settles` false keeps a file
    // set aside for the path (creating the file empty is only the first step of writing it again).
    void Commit(bool settles = true) {
        Guarded([&] {
            if (::fsync(fd_) != 0) RaiseFor(errno, path_);
            if (existed_ && !inPlace_) {
                // The replacement keeps the old file's permission bits and, where allowed, its owner.
                ::fchmod(fd_, old_.st_mode & 07777);
                if (old_.st_uid != ::geteuid() || old_.st_gid != ::getegid()) {
                    if (::fchown(fd_, old_.st_uid, old_.st_gid) != 0) {
                        // Only root may give a file away: the new file then belongs to its writer.
                    }
                }
            }
            const int fd = fd_;
            fd_ = -1;
            if (::close(fd) != 0 && errno != EINTR) RaiseFor(errno, path_);
            if (!inPlace_) {
                if (::rename(temp_.c_str(), target_.c_str()) != 0) RaiseFor(errno, path_);
                temp_.clear();
                SyncFolder();
            }
        });
        done_ = true;
        if (settles && SetAside() && SetAside()->path == path_) DiscardSetAside();
    }

    // Drops the hidden file and puts back a file set aside for this path. Nothing is raised.
    void Abandon() noexcept {
        if (done_) return;
        done_ = true;
        if (fd_ >= 0) ::close(fd_);
        fd_ = -1;
        if (!temp_.empty()) ::unlink(temp_.c_str());
        temp_.clear();
        PutBackSetAside(path_);
    }

private:
    // Runs a step; when it raises, the write is abandoned before the error goes on.
    template <typename Step> void Guarded(Step&& step) {
        try {
            step();
        } catch (...) {
            Abandon();
            throw;
        }
    }

    // True when the target exists. It must be a regular file that may be opened for writing: the check
    // opens it without truncating it, and only a file the old way of writing could write passes.
    bool CheckTarget() {
        if (::stat(target_.c_str(), &old_) != 0) {
            if (errno == ENOENT) return false; // a missing folder is met when the new file is created
            RaiseFor(errno, path_);
        }
        if (!S_ISREG(old_.st_mode)) RaiseNotAFile(path_);
        const int fd = ::open(target_.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
        if (fd < 0) RaiseFor(errno, path_);
        ::close(fd);
        return true;
    }

    void Create(Start start) {
        const std::string folder = FolderOf(target_);
        for (;;) {
            temp_ = HiddenName(folder, "new");
            fd_ = ::open(temp_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOCTTY | O_CLOEXEC, 0666);
            if (fd_ >= 0) break;
            const int error = errno;
            temp_.clear();
            if (error == EEXIST) continue;
            if ((error == EACCES || error == EPERM) && existed_) return CreateInPlace(start);
            RaiseFor(error, target_);
        }
        if (start == WithOldContent && existed_) CopyOldContent();
    }

    // The folder takes no new file, but the file itself may be written: it is written where it is.
    void CreateInPlace(Start start) {
        inPlace_ = true;
        const int flags = start == WithOldContent ? O_APPEND : O_TRUNC;
        fd_ = ::open(target_.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC | flags);
        if (fd_ < 0) RaiseFor(errno, path_);
    }

    void CopyOldContent() {
        const int from = ::open(target_.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
        if (from < 0) RaiseFor(errno, path_);
        try {
            std::string chunk(kReadChunk, '\0');
            while (const std::size_t got = ReadSome(from, chunk.data(), chunk.size(), path_))
                WriteFully(fd_, std::string_view(chunk.data(), got), path_);
        } catch (...) {
            ::close(from);
            throw;
        }
        ::close(from);
    }

    // The rename is on the disk only once the folder is; a failure here changes nothing the program sees.
    void SyncFolder() {
        const int folder = ::open(FolderOf(target_).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (folder < 0) return;
        ::fsync(folder);
        ::close(folder);
    }

    std::string path_;   // as the program named it
    std::string target_; // the file it names, links followed
    std::string temp_;   // the hidden new file; empty when there is none
    int fd_ = -1;
    bool existed_ = false;
    bool inPlace_ = false;
    bool done_ = false;
    struct stat old_ {};
};

namespace {

// Writes the bytes as the whole new content of `path`.
void Replace(const std::string& path, PendingReplacement::Start start, std::string_view bytes,
             bool settles = true) {
    PendingReplacement file(path, start);
    file.Write(bytes);
    file.Commit(settles);
}

} // namespace

// ---- sequential input ----

SequentialInput::~SequentialInput() {
    Close();
}

void SequentialInput::Open(const std::string& path) {
    if (IsOpen()) Raise(errInvalidProcedureCall);
    fd_ = OpenForReading(path);
    path_ = path;
    buffer_.clear();
    position_ = 0;
    bytesRead_ = 0;
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
    // A file that grows while it is read is held to the same limit as one that was long from the start.
    bytesRead_ += static_cast<std::int64_t>(got);
    if (bytesRead_ > kMaxFileBytes) RaiseTooLong(path_);
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

SequentialOutput::SequentialOutput() = default;

SequentialOutput::SequentialOutput(const std::string& path, Mode mode) {
    Open(path, mode);
}

SequentialOutput::~SequentialOutput() {
    if (std::uncaught_exceptions() > exceptionsAtOpen_) {
        file_.reset(); // abandoned: the target stays as it was
        return;
    }
    try {
        Close();
    } catch (const Error&) {
        // A destructor cannot report it; Close() called by the program does.
    }
}

void SequentialOutput::Open(const std::string& path, Mode mode) {
    if (IsOpen()) Raise(errInvalidProcedureCall);
    file_ = std::make_unique<PendingReplacement>(path, mode == Append ? PendingReplacement::WithOldContent
                                                                      : PendingReplacement::Empty);
    buffer_.clear();
    exceptionsAtOpen_ = std::uncaught_exceptions();
}

void SequentialOutput::PrintLine(std::string_view text) {
    if (!IsOpen()) Raise(errInvalidProcedureCall);
    buffer_.append(text);
    buffer_ += CR;
    buffer_ += LF;
    if (buffer_.size() >= kWriteChunk) Flush();
}

// A failed write abandons the whole stream: the target keeps its previous content.
void SequentialOutput::Flush() {
    std::string pending;
    pending.swap(buffer_);
    try {
        file_->Write(pending);
    } catch (...) {
        file_.reset();
        throw;
    }
}

void SequentialOutput::Close() {
    if (!IsOpen()) return;
    std::unique_ptr<PendingReplacement> file = std::move(file_);
    file->Write(buffer_);
    buffer_.clear();
    file->Commit();
}

// ---- binary append and the file system object's calls ----

void AppendBytes(const std::string& path, std::string_view bytes) {
    Replace(path, PendingReplacement::WithOldContent, bytes);
}

bool FileExists(const std::string& path) {
    if (path.empty() || path.find('\0') != std::string::npos) return false;
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 && !S_ISDIR(info.st_mode);
}

void DeleteFile(const std::string& path, bool force) {
    RequireUsablePath(path);
    DiscardSetAside(); // an earlier delete, of this path or another, is not followed by its rewrite
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0) RaiseFor(errno, path);
    if (S_ISDIR(info.st_mode)) Raise(errFileNotFound);
    // A file nobody may write is "read-only" even for a user whom the system would let delete it anyway.
    const bool readOnly =
        (info.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0 || ::access(path.c_str(), W_OK) != 0;
    if (readOnly && !force) Raise(errPermissionDenied);
    // Set aside under a hidden name that nothing uses: renaming needs the same rights as removing.
    for (;;) {
        const std::string aside = HiddenName(FolderOf(path), "deleted");
        if (::renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, aside.c_str(), RENAME_NOREPLACE) == 0) {
            SetAside() = SetAsideFile{path, aside};
            return;
        }
        if (errno == EEXIST) continue;
        if (errno != EINVAL && errno != ENOSYS) RaiseFor(errno, path);
        // A file system that cannot refuse to replace: remove the file as it is.
        if (::unlink(path.c_str()) != 0) RaiseFor(errno, path);
        return;
    }
}

void CreateTextFile(const std::string& path, bool overwrite) {
    if (overwrite) {
        // Not the end of a rewrite: a file set aside for this path stays aside until its lines are written.
        Replace(path, PendingReplacement::Empty, {}, false);
        return;
    }
    RequireUsablePath(path);
    SettleSetAsideBefore(path);
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOCTTY | O_CLOEXEC, 0666);
    if (fd < 0) RaiseFor(errno, path);
    ::close(fd);
}

std::string ReadAll(const std::string& path) {
    const int fd = OpenForReading(path);
    std::string all;
    try {
        for (;;) {
            const std::size_t kept = all.size();
            all.resize(kept + kReadChunk);
            const std::size_t got = ReadSome(fd, all.data() + kept, kReadChunk, path);
            all.resize(kept + got);
            if (got == 0) break;
            if (static_cast<std::int64_t>(all.size()) > kMaxFileBytes) RaiseTooLong(path);
        }
    } catch (...) {
        ::close(fd);
        throw;
    }
    ::close(fd);
    return all;
}

void WriteAll(const std::string& path, std::string_view bytes) {
    Replace(path, PendingReplacement::Empty, bytes);
}

} // namespace vb
