// Reading directories and the attributes of what they hold, as fast as the kernel gives them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace kestrix {

enum class EntryType : std::uint8_t { unknown, file, directory, other };

struct Timestamp {
    std::int64_t seconds = 0;  // since 1970; 0 with nanoseconds 0: not known
    std::uint32_t nanoseconds = 0;

    bool operator==(const Timestamp&) const = default;
};

struct FileAttributes {
    EntryType type = EntryType::unknown;
    std::uint64_t size = 0;  // bytes
    Timestamp modified;
    Timestamp created;  // not known on file systems that do not keep it
    Timestamp accessed;
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
};

// The attributes of a path. A symbolic link at its end is followed only if asked. Returns 0 or an errno, with
// `attributes` untouched. Any thread.
int readAttributes(const std::string& path, bool followLink, FileAttributes& attributes);

// Those of what is open, whatever has become of its name.
int readAttributes(int descriptor, FileAttributes& attributes);

// One open directory; closes itself. Movable, not copyable. Threads: what is const may be called by several
// at once.
class OpenDirectory {
  public:
    OpenDirectory() = default;
    OpenDirectory(OpenDirectory&& other) noexcept;
    OpenDirectory& operator=(OpenDirectory&& other) noexcept;
    ~OpenDirectory();

    // Opens by path, symbolic links followed. Returns 0 or an errno (ENAMETOOLONG past 4095 bytes). What was
    // open before is closed on success only; the same holds for openAt.
    int open(const std::string& path);
    // Opens a child by its bare, null-terminated name; a symbolic link there is refused with ELOOP.
    int openAt(const OpenDirectory& parent, const char* name);
    void close();

    bool isOpen() const { return descriptor_ >= 0; }
    int descriptor() const { return descriptor_; }

    // As readAttributes, for a child by its bare, null-terminated name; a symbolic link is not followed.
    int attributesOf(const char* name, FileAttributes& attributes) const;

  private:
    int descriptor_ = -1;
};

struct DirectoryEntry {
    std::string_view name;  // null-terminated; valid until the reader's next call
    EntryType type = EntryType::unknown;
};

// Lists one directory after another in large batches, in the kernel's order, without "." and "..".
// Threads: one caller at a time. Holds one page-aligned buffer of 64 KiB (a buffer at an odd offset in its
// page was measured to cost 1.7 times) and no open file.
class DirectoryReader {
  public:
    DirectoryReader();
    ~DirectoryReader();
    DirectoryReader(const DirectoryReader&) = delete;
    DirectoryReader& operator=(const DirectoryReader&) = delete;

    // Begins to list the directory, which must stay open until next has answered false. Each opening can be
    // listed once: going back to its beginning would cost a twentieth of reading a small directory.
    void start(const OpenDirectory& directory);

    // The next entry; false at the end or after an error. An entry whose file system tells no type has
    // `unknown`.
    bool next(DirectoryEntry& entry);

    // 0, or the errno that ended the listing early.
    int error() const { return error_; }

  private:
    bool refill();

    struct Buffer;
    std::unique_ptr<Buffer> buffer_;
    int descriptor_ = -1;
    int error_ = 0;
    std::size_t offset_ = 0;
    std::size_t filled_ = 0;
    bool atEnd_ = true;
};

}  // namespace kestrix
