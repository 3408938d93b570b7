#include "platform/stored_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>

#include "base/error.h"
#include "base/path.h"
#include "base/uuid.h"
#include "platform/linux/system_call.h"

namespace kestrix {

namespace {

constexpr mode_t kOwnFile = 0600;
constexpr mode_t kUsersFile = 0666;  // less what the user's mask takes away
constexpr mode_t kOwnFolder = 0700;
constexpr std::size_t kReadAtOnce = std::size_t{16} * 1024;
constexpr int kMostLinks = 40;  // as many as the kernel itself follows

Descriptor openOrThrow(const std::string& path, int flags, std::string_view action) {
    Descriptor file(retrying([&] { return ::open(path.c_str(), flags | O_CLOEXEC, kOwnFile); }));
    if (!file.isOpen()) throwError(action, path, errno);
    return file;
}

[[noreturn]] void throwNoPlainFile(const std::string& action, const std::string& path) {
    throw Error(kPosixDomain, EINVAL, "cannot " + action + " " + path + ": it is no plain file");
}

void writeAll(const Descriptor& file, std::string_view bytes, const std::string& path) {
    while (!bytes.empty()) {
        const ssize_t written = retrying([&] { return ::write(file.get(), bytes.data(), bytes.size()); });
        if (written < 0) throwError("write", path, errno);
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

// Some file systems cannot sync a folder, or anything, and say so by these two.
void sync(const Descriptor& file, const std::string& path) {
    const int result = retrying([&] { return ::fsync(file.get()); });
    if (result != 0 && errno != EINVAL && errno != EOPNOTSUPP) throwError("write", path, errno);
}

// A folder that may be written but not read cannot be synced; what was renamed is in place all the same.
void syncFolder(const std::string& folder) {
    const Descriptor opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened.isOpen()) sync(opened, folder);
}

std::string folderOf(const std::string& path) {
    const std::string_view folder = path::parent(path);
    return folder.empty() ? "." : std::string(folder);
}

// Where a chain of symbolic links leads, also when nothing is there yet.
std::string endOfLinks(std::string path) {
    for (int links = 0; links < kMostLinks; ++links) {
        std::array<char, 4096> buffer;
        const ssize_t length = ::readlink(path.c_str(), buffer.data(), buffer.size());
        if (length < 0) return path;
        const std::string_view target(buffer.data(), static_cast<std::size_t>(length));
        path = target.starts_with('/') ? std::string(target) : path::join(folderOf(path), target);
    }
    throwError("replace", path, ELOOP);
}

constexpr int kMostNames = 100;

// A file in the folder of the one to be replaced. Where the file system knows files without a name, it has
// none until it is whole: no search lists it, and a killed program leaves nothing behind. Elsewhere it is
// removed again unless it took the other's place.
class TemporaryFile {
  public:
    TemporaryFile(std::string folder, mode_t mode)
        : folder_(std::move(folder)),
          file_(retrying([&] { return ::open(folder_.c_str(), O_WRONLY | O_TMPFILE | O_CLOEXEC, mode); })) {
        if (file_.isOpen()) return;
        name([&](const std::string& path) {
            file_ = Descriptor(retrying(
                [&] { return ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode); }));
            return file_.isOpen();
        });
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        if (!path_.empty()) ::unlink(path_.c_str());
    }

    const Descriptor& file() const { return file_; }

    // A link never replaces a file, so it goes to a free name first.
    void takePlaceOf(const std::string& target) {
        if (path_.empty()) {
            const std::string nameless = "/proc/self/fd/" + std::to_string(file_.get());
            name([&](const std::string& path) {
                return ::linkat(AT_FDCWD, nameless.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0;
            });
        }
        if (::rename(path_.c_str(), target.c_str()) != 0) throwError("replace", target, errno);
        path_.clear();
    }

  private:
    // `take` makes the file at a path that seems free, or tells by errno why it cannot.
    template <typename Take>
    void name(Take take) {
        int error = EEXIST;
        for (int tries = 0; tries < kMostNames && error == EEXIST; ++tries) {
            std::string path = path::join(folder_, ".kestrix-" + Uuid::make().text());
            if (take(path)) {
                path_ = std::move(path);
                return;
            }
            error = errno;
        }
        throwError("write into", folder_, error);
    }

    std::string folder_;
    std::string path_;  // empty while it has no name
    Descriptor file_;
};

// Hands owner and mode of the file at `path`, if there is one, on to its successor. The owner is a courtesy:
// it keeps a file usable that root changes for its user, and only root may do it.
void inheritOwnership(const std::string& path, const Descriptor& successor) {
    struct stat status;
    if (::stat(path.c_str(), &status) != 0) {
        if (errno == ENOENT) return;
        throwError("replace", path, errno);
    }
    // A pipe or a device must not turn into a file.
    if (S_ISDIR(status.st_mode)) throwError("replace", path, EISDIR);
    if (!S_ISREG(status.st_mode)) throwNoPlainFile("replace", path);
    [[maybe_unused]] const int mayFail = ::fchown(successor.get(), status.st_uid, status.st_gid);
    if (::fchmod(successor.get(), status.st_mode & 07777) != 0) throwError("replace", path, errno);
}

bool isFolder(const std::string& path) {
    struct stat status;
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

// Opened without waiting: a pipe would keep the caller until somebody writes into it.
std::optional<std::string> readWholeFile(const std::string& path) {
    Descriptor file(retrying([&] { return ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC); }));
    if (!file.isOpen() && errno == ENOENT) return std::nullopt;
    struct stat status;
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0) throwError("read", path, errno);
    if (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) throwNoPlainFile("read", path);
    std::string bytes;
    // The size is only a hint: files of /proc tell 0, others may grow meanwhile.
    std::size_t room = static_cast<std::size_t>(status.st_size) + 1;
    for (std::size_t filled = 0;;) {
        bytes.resize(filled + std::max(room, kReadAtOnce));
        const ssize_t got =
            retrying([&] { return ::read(file.get(), bytes.data() + filled, bytes.size() - filled); });
        if (got < 0) throwError("read", path, errno);
        filled += static_cast<std::size_t>(got);
        if (got == 0) {
            bytes.resize(filled);
            return bytes;
        }
        room = 0;
    }
}

struct FileReplacement::State {
    State(const std::string& path, Owner owner)
        : target(endOfLinks(path)),
          folder(folderOf(target)),
          temporary(folder, owner == Owner::user ? kUsersFile : kOwnFile) {}

    std::string target;
    std::string folder;
    TemporaryFile temporary;
};

FileReplacement::FileReplacement(const std::string& path, Owner owner)
    : state_(std::make_unique<State>(path, owner)) {
    const std::string& target = state_->target;
    inheritOwnership(target, state_->temporary.file());
    const bool mayWrite = ::access(target.c_str(), W_OK) == 0 || errno == ENOENT;
    if (owner == Owner::user && !mayWrite) throwError("replace", target, errno);
}

FileReplacement::~FileReplacement() = default;

void FileReplacement::write(std::string_view bytes) {
    writeAll(state_->temporary.file(), bytes, state_->target);
}

void FileReplacement::commit() {
    sync(state_->temporary.file(), state_->target);
    state_->temporary.takePlaceOf(state_->target);
    syncFolder(state_->folder);
}

void replaceFile(const std::string& path, std::string_view bytes) {
    FileReplacement file(path);
    file.write(bytes);
    file.commit();
}

void putInPlace(const std::string& from, const std::string& to) {
    sync(openOrThrow(from, O_RDONLY, "write"), from);
    renameFile(from, to);
    syncFolder(folderOf(to));
}

void setModificationDate(const std::string& path, const Timestamp& date) {
    const std::array<timespec, 2> times = {timespec{0, UTIME_OMIT},
                                           timespec{static_cast<time_t>(date.seconds), date.nanoseconds}};
    if (::utimensat(AT_FDCWD, path.c_str(), times.data(), 0) != 0) throwError("change", path, errno);
}

void appendToFile(const std::string& path, std::string_view bytes) {
    writeAll(openOrThrow(path, O_WRONLY | O_APPEND | O_CREAT, "write"), bytes, path);
}

void makeFolder(const std::string& path) {
    if (isFolder(path) || ::mkdir(path.c_str(), kOwnFolder) == 0) return;
    int number = errno;
    const std::string above(path::parent(path));
    if (number == ENOENT && !above.empty() && above != path) {
        makeFolder(above);
        number = ::mkdir(path.c_str(), kOwnFolder) == 0 ? 0 : errno;
    }
    // Another process may have made it meanwhile.
    if (number != 0 && !isFolder(path)) throwError("make folder", path, number);
}

void removeFile(const std::string& path) {
    if (::unlink(path.c_str()) != 0 && errno != ENOENT) throwError("remove", path, errno);
}

void renameFile(const std::string& from, const std::string& to) {
    if (::rename(from.c_str(), to.c_str()) != 0) throwError("rename", from, errno);
}

bool renameToFreeName(const std::string& from, const std::string& to) {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return true;
    if (errno == EEXIST) return false;
    if (errno != EINVAL) throwError("rename", from, errno);
    // This file system does not know the flag.
    struct stat status;
    if (::lstat(to.c_str(), &status) == 0) return false;
    renameFile(from, to);
    return true;
}

std::string setAside(const std::string& path) {
    for (int number = 1;; ++number) {
        const std::string name = path + ".damaged-" + std::to_string(number);
        if (renameToFreeName(path, name)) return name;
    }
}

// flock belongs to the open file, so two of these exclude each other within one process too. The file stays
// behind: removing it would let a third process lock another file of the same name.
FileLock::FileLock(const std::string& path) {
    const std::string name = path + ".lock";
    const std::string_view folder = path::parent(name);
    if (!folder.empty()) makeFolder(std::string(folder));
    Descriptor file = openOrThrow(name, O_RDWR | O_CREAT, "lock");
    if (retrying([&] { return ::flock(file.get(), LOCK_EX); }) != 0) throwError("lock", name, errno);
    descriptor_ = file.release();
}

// Closing alone would leave the lock to a child process that was started meanwhile and has a copy of the
// descriptor.
FileLock::~FileLock() {
    ::flock(descriptor_, LOCK_UN);
    ::close(descriptor_);
}

}  // namespace kestrix
