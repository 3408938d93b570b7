#include "platform/open_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <utility>

#include "platform/linux/system_call.h"

namespace kestrix {

OpenFile::OpenFile(std::string path)
    : path_(std::move(path)),
      descriptor_(
          retrying([this] { return ::open(path_.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC); })) {
    if (!descriptor_.isOpen()) throwError("open", path_, errno);
    if (const int error = readAttributes(descriptor_.get(), attributes_); error != 0)
        throwError("read", path_, error);
}

std::size_t OpenFile::readAt(std::uint64_t offset, char* into, std::size_t capacity) const {
    const auto got = readOpenAt(descriptor_.get(), offset, into, capacity);
    if (got < 0) throwError("read", path_, errno);
    return static_cast<std::size_t>(got);
}

std::ptrdiff_t readOpenAt(int descriptor, std::uint64_t offset, char* into, std::size_t capacity) {
    return retrying([&] { return ::pread(descriptor, into, capacity, static_cast<off_t>(offset)); });
}

std::optional<std::uint64_t> sizeOfOpen(int descriptor) {
    // Not fstat: the C library makes it a question by name, with an empty one.
    const off_t size = ::lseek(descriptor, 0, SEEK_END);
    return size < 0 ? std::nullopt : std::optional(static_cast<std::uint64_t>(size));
}

void ByteBuffer::reserve(std::size_t size, std::size_t most) {
    if (capacity_ >= size && (capacity_ <= most || size > most)) return;
    clear();
    bytes_ = std::make_unique_for_overwrite<char[]>(size);
    capacity_ = size;
}

void ByteBuffer::clear() {
    bytes_.reset();
    capacity_ = 0;
}

}  // namespace kestrix
