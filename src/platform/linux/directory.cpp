// The path of every entry of a walk: one getdents64 record, and one statx where attributes are asked for.
//
// A buffer of 64 KiB holds some 1,500 entries. The kernel answers 0 for the end in a call of its own, so the
// read is repeated into what is left of the buffer: a small directory and its end are known from one refill.
#include "platform/directory.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "platform/linux/system_call.h"

namespace kestrix {

namespace {

// One record of getdents64: inode (8 bytes), offset (8), length of the record (2), type (1), name with its
// null. The kernel rounds the length up to 8.
constexpr std::size_t kLengthAt = 16;
constexpr std::size_t kTypeAt = 18;
constexpr std::size_t kNameAt = 19;

// The longest record takes 280 bytes; below this much room another call gains too little.
constexpr std::size_t kWorthAsking = 4096;

constexpr unsigned kAttributeMask =
    STATX_TYPE | STATX_SIZE | STATX_MTIME | STATX_ATIME | STATX_BTIME | STATX_INO;

constexpr std::array<EntryType, 16> kTypes = [] {
    std::array<EntryType, 16> types{};
    types.fill(EntryType::other);
    types[DT_UNKNOWN] = EntryType::unknown;
    types[DT_REG] = EntryType::file;
    types[DT_DIR] = EntryType::directory;
    return types;
}();

// The name ends in the last 8 bytes of its record, since the kernel pads it by less than that: one word tells
// how long it is, whatever its length. In the shortest record (24 bytes) that word begins with length and
// type, which must not be taken for the end.
std::size_t nameLength(const char* record, std::size_t length) {
    std::uint64_t tail = 0;
    std::memcpy(&tail, record + length - sizeof tail, sizeof tail);
    if constexpr (std::endian::native == std::endian::big) tail = __builtin_bswap64(tail);
    if (length == 24) tail |= 0xffffff;
    const std::uint64_t zeros = (tail - 0x0101010101010101u) & ~tail & 0x8080808080808080u;
    return length - sizeof tail + static_cast<std::size_t>(std::countr_zero(zeros)) / 8 - kNameAt;
}

bool isDotOrDotDot(std::string_view name) {
    return name[0] == '.' && (name.size() == 1 || (name.size() == 2 && name[1] == '.'));
}

Timestamp toTimestamp(const statx_timestamp& time) {
    return {time.tv_sec, time.tv_nsec};
}

EntryType toEntryType(unsigned mode) {
    if (S_ISREG(mode)) return EntryType::file;
    return S_ISDIR(mode) ? EntryType::directory : EntryType::other;
}

// A server's answer from a moment ago will do, and an automount is not set off.
int readAttributesAt(int folder, const char* name, int flags, FileAttributes& attributes) {
    struct statx found;  // filled by the kernel; clearing its 256 bytes first would be felt
    const int result = retrying([&] {
        return ::statx(folder, name, flags | AT_STATX_DONT_SYNC | AT_NO_AUTOMOUNT, kAttributeMask, &found);
    });
    if (result != 0) return errno;
    attributes.type = toEntryType(found.stx_mode);
    attributes.size = found.stx_size;
    attributes.modified = toTimestamp(found.stx_mtime);
    attributes.created = (found.stx_mask & STATX_BTIME) != 0 ? toTimestamp(found.stx_btime) : Timestamp{};
    attributes.accessed = toTimestamp(found.stx_atime);
    attributes.device = makedev(found.stx_dev_major, found.stx_dev_minor);
    attributes.inode = found.stx_ino;
    return 0;
}

bool isSymbolicLink(int folder, const char* name) {
    char ignored;
    return ::readlinkat(folder, name, &ignored, 1) >= 0;
}

}  // namespace

int readAttributes(const std::string& path, bool followLink, FileAttributes& attributes) {
    return readAttributesAt(AT_FDCWD, path.c_str(), followLink ? 0 : AT_SYMLINK_NOFOLLOW, attributes);
}

int readAttributes(int descriptor, FileAttributes& attributes) {
    return readAttributesAt(descriptor, "", AT_EMPTY_PATH, attributes);
}

OpenDirectory::OpenDirectory(OpenDirectory&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)) {}

OpenDirectory& OpenDirectory::operator=(OpenDirectory&& other) noexcept {
    if (this != &other) {
        close();
        descriptor_ = std::exchange(other.descriptor_, -1);
    }
    return *this;
}

OpenDirectory::~OpenDirectory() {
    close();
}

int OpenDirectory::open(const std::string& path) {
    const int opened = retrying([&] { return ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
    if (opened < 0) return errno;
    close();
    descriptor_ = opened;
    return 0;
}

int OpenDirectory::openAt(const OpenDirectory& parent, const char* name) {
    const int opened = retrying(
        [&] { return ::openat(parent.descriptor_, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW); });
    if (opened < 0) {
        // With O_DIRECTORY the kernel calls a symbolic link just "no directory".
        const int number = errno;
        return number == ENOTDIR && isSymbolicLink(parent.descriptor_, name) ? ELOOP : number;
    }
    close();
    descriptor_ = opened;
    return 0;
}

void OpenDirectory::close() {
    if (descriptor_ >= 0) ::close(descriptor_);
    descriptor_ = -1;
}

int OpenDirectory::attributesOf(const char* name, FileAttributes& attributes) const {
    return readAttributesAt(descriptor_, name, AT_SYMLINK_NOFOLLOW, attributes);
}

struct alignas(4096) DirectoryReader::Buffer {
    char bytes[64 * 1024];
};

DirectoryReader::DirectoryReader() : buffer_(std::make_unique_for_overwrite<Buffer>()) {}

DirectoryReader::~DirectoryReader() = default;

void DirectoryReader::start(const OpenDirectory& directory) {
    descriptor_ = directory.descriptor();
    error_ = 0;
    offset_ = 0;
    filled_ = 0;
    atEnd_ = false;
}

bool DirectoryReader::next(DirectoryEntry& entry) {
    for (;;) {
        if (offset_ == filled_ && !refill()) return false;
        const char* record = buffer_->bytes + offset_;
        std::uint16_t length = 0;
        std::memcpy(&length, record + kLengthAt, sizeof length);
        offset_ += length;
        entry.name = {record + kNameAt, nameLength(record, length)};
        if (isDotOrDotDot(entry.name)) continue;
        entry.type = kTypes[static_cast<unsigned char>(record[kTypeAt]) & 15u];
        return true;
    }
}

bool DirectoryReader::refill() {
    offset_ = 0;
    filled_ = 0;
    while (!atEnd_ && sizeof buffer_->bytes - filled_ >= kWorthAsking) {
        const long got = retrying([&] {
            return ::syscall(SYS_getdents64, descriptor_, buffer_->bytes + filled_,
                             sizeof buffer_->bytes - filled_);
        });
        if (got < 0) error_ = errno;
        if (got <= 0) {
            atEnd_ = true;
        } else {
            filled_ += static_cast<std::size_t>(got);
        }
    }
    return filled_ > 0;
}

}  // namespace kestrix
