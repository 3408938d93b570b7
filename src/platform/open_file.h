// A file that is open for reading.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/descriptor.h"
#include "platform/directory.h"

namespace kestrix {

// Any file, opened by its path with symbolic links followed. Opening never waits, not even for the other end
// of a pipe; whether it is a regular file the caller asks of its attributes. Threads: what is const, any.
class OpenFile {
  public:
    // Throws Error (POSIX).
    explicit OpenFile(std::string path);

    const std::string& path() const { return path_; }
    // As they were when it was opened.
    const FileAttributes& attributes() const { return attributes_; }
    bool isRegular() const { return attributes_.type == EntryType::file; }
    int descriptor() const { return descriptor_.get(); }

    // Up to `capacity` bytes from an offset on; 0 at the end. Throws Error (POSIX).
    std::size_t readAt(std::uint64_t offset, char* into, std::size_t capacity) const;

  private:
    std::string path_;
    Descriptor descriptor_;
    FileAttributes attributes_;
};

// Up to `capacity` bytes of what is open, from an offset on, whatever its own offset; 0 at the end, -1 when
// it cannot be read there.
std::ptrdiff_t readOpenAt(int descriptor, std::uint64_t offset, char* into, std::size_t capacity);

// How many bytes that has, or nothing if it cannot be told. Unlike readAttributes, this is allowed to a
// process that may look at no file by name. Leaves its own offset at the end.
std::optional<std::uint64_t> sizeOfOpen(int descriptor);

// Memory for bytes to be read into. Growing drops what it holds, and new memory is not cleared, which costs
// as much as reading.
class ByteBuffer {
  public:
    char* data() { return bytes_.get(); }
    const char* data() const { return bytes_.get(); }
    std::size_t capacity() const { return capacity_; }

    // At least this much; gives memory back if it holds more than `most` without need. May throw bad_alloc,
    // and has no memory then.
    void reserve(std::size_t size, std::size_t most);
    void clear();

  private:
    std::unique_ptr<char[]> bytes_;
    std::size_t capacity_ = 0;
};

}  // namespace kestrix
