// Advisory locks on single bytes of one file, so that one file can carry several locks.
//
// They belong to the open file, not to the process (F_OFD_SETLK in fcntl(2)): two objects of one process
// exclude each other too, and closing the file elsewhere in the process takes none of them away. A byte may
// lie behind the file's end.
#pragma once

#include <cstdint>
#include <string>

namespace kestrix {

// Threads: any, but one object stands for one holder: its users among the threads sort themselves out.
class FileRangesLock {
  public:
    enum class Mode { shared, exclusive };
    enum class Access {
        existing,        // for reading alone
        createIfMissing  // for reading and writing; a new file has the mode 0755 less the umask
    };

    // Throws Error (POSIX) if the file cannot be opened.
    FileRangesLock(const std::string& path, Access access);
    ~FileRangesLock();  // gives all locks back
    FileRangesLock(const FileRangesLock&) = delete;
    FileRangesLock& operator=(const FileRangesLock&) = delete;

    // Waits until the byte is free. A file opened for reading takes shared locks alone. On a file system that
    // knows no locks a shared lock is taken for granted; an exclusive one throws. Throws Error (POSIX).
    void lock(std::uint64_t byte, Mode mode) const;
    // Takes the byte for itself; false if someone else holds it. Throws Error (POSIX).
    bool tryLock(std::uint64_t byte) const;
    void unlock(std::uint64_t byte) const;

    // The size of the file in bytes. Throws Error (POSIX).
    std::uint64_t fileSize() const;

  private:
    std::string path_;
    int descriptor_ = -1;
};

}  // namespace kestrix
