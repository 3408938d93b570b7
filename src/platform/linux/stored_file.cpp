#include "platform/stored_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstdio>

#include "base/path.h"
#include "platform/linux/system_call.h"

namespace kestrix {

namespace {

constexpr mode_t kOwnFile = 0600;
constexpr mode_t kOwnFolder = 0700;
constexpr std::size_t kReadAtOnce = std::size_t{16} * 1024;
constexpr int kMostLinks = 40;  // as many as the kernel itself follows

Descriptor openOrThrow(const std::string& path, int flags, std::string_view action) {
    Descriptor file(retrying([&] { return ::open(path.c_str(), flags | O_CLOEXEC, kOwnFile); }));
    if (!file.isOpen()) throwError(action, path, errno);
    return file;
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

// A file beside the one to be replaced, removed again unless it took that one's place.
class TemporaryFile {
  public:
    explicit TemporaryFile(const std::string& folder) : path_(path::join(folder, ".kestrix-XXXXXX")) {
        file_ = Descriptor(::mkostemp(path_.data(), O_CLOEXEC));
        if (!file_.isOpen()) throwError("write into", folder, errno);
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        if (!path_.empty()) ::unlink(path_.c_str());
    }

    const Descriptor& file() const { return file_; }

    void takePlaceOf(const std::string& target) {
        if (::rename(path_.c_str(), target.c_str()) != 0) throwError("replace", target, errno);
        path_.clear();
    }

  private:
    std::string path_;
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
    if (!S_ISREG(status.st_mode)) throwError("replace", path, EINVAL);
    [[maybe_unused]] const int mayFail = ::fchown(successor.get(), status.st_uid, status.st_gid);
    if (::fchmod(successor.get(), status.st_mode & 07777) != 0) throwError("replace", path, errno);
}

bool isFolder(const std::string& path) {
    struct stat status;
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// Whether it was renamed; false if there is something at `to`.
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

}  // namespace

std::optional<std::string> readWholeFile(const std::string& path) {
    Descriptor file(retrying([&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC); }));
    if (!file.isOpen() && errno == ENOENT) return std::nullopt;
    if (!file.isOpen()) throwError("read", path, errno);
    struct stat status;
    std::string bytes;
    // The size is only a hint: files of /proc tell 0, others may grow meanwhile.
    std::size_t room = ::fstat(file.get(), &status) == 0 ? static_cast<std::size_t>(status.st_size) + 1 : 1;
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

void replaceFile(const std::string& path, std::string_view bytes) {
    const std::string target = endOfLinks(path);
    const std::string folder = folderOf(target);
    TemporaryFile temporary(folder);
    inheritOwnership(target, temporary.file());
    writeAll(temporary.file(), bytes, target);
    sync(temporary.file(), target);
    temporary.takePlaceOf(target);
    // A folder that may be written but not read cannot be synced; the file is in place all the same.
    const Descriptor opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened.isOpen()) sync(opened, folder);
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
