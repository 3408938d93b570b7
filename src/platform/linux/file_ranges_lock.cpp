#include "platform/file_ranges_lock.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "platform/linux/system_call.h"

namespace kestrix {

namespace {

constexpr mode_t kNewFile = 0755;

int flagsOf(FileRangesLock::Access access) {
    return access == FileRangesLock::Access::existing ? O_RDONLY : O_RDWR | O_CREAT;
}

int request(int descriptor, int command, short type, std::uint64_t byte) {
    struct flock range {};
    range.l_type = type;
    range.l_whence = SEEK_SET;
    range.l_start = static_cast<off_t>(byte);
    range.l_len = 1;
    return retrying([&] { return ::fcntl(descriptor, command, &range); });
}

bool meansNoLocksHere(int number) {
    return number == ENOLCK || number == EOPNOTSUPP || number == ENOSYS || number == EINVAL;
}

}  // namespace

FileRangesLock::FileRangesLock(const std::string& path, Access access) : path_(path) {
    Descriptor file(
        retrying([&] { return ::open(path.c_str(), flagsOf(access) | O_CLOEXEC | O_NONBLOCK, kNewFile); }));
    if (!file.isOpen()) throwError("open", path, errno);
    descriptor_ = file.release();
}

// Closing alone would leave the locks to a child process that has a copy of the descriptor.
FileRangesLock::~FileRangesLock() {
    struct flock everything {};
    everything.l_type = F_UNLCK;
    everything.l_whence = SEEK_SET;
    ::fcntl(descriptor_, F_OFD_SETLK, &everything);
    ::close(descriptor_);
}

void FileRangesLock::lock(std::uint64_t byte, Mode mode) const {
    const bool shared = mode == Mode::shared;
    if (request(descriptor_, F_OFD_SETLKW, shared ? F_RDLCK : F_WRLCK, byte) == 0) return;
    if (!(shared && meansNoLocksHere(errno))) throwError("lock", path_, errno);
}

bool FileRangesLock::tryLock(std::uint64_t byte) const {
    if (request(descriptor_, F_OFD_SETLK, F_WRLCK, byte) == 0) return true;
    if (errno != EAGAIN && errno != EACCES) throwError("lock", path_, errno);
    return false;
}

void FileRangesLock::unlock(std::uint64_t byte) const {
    request(descriptor_, F_OFD_SETLK, F_UNLCK, byte);
}

std::uint64_t FileRangesLock::fileSize() const {
    struct stat status;
    if (::fstat(descriptor_, &status) != 0) throwError("read", path_, errno);
    return static_cast<std::uint64_t>(status.st_size);
}

}  // namespace kestrix
