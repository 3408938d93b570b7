// Lists one directory with the attributes of its entries.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/directory.h"

namespace kestrix {

// One entry of a directory. What the file system does not tell stays at zero.
struct FSItemAndAttrs {
    std::string fullPath;  // the directory's path, "/", the name
    std::string name;
    bool isDirectory = false;
    std::uint64_t fileSize = 0;
    Timestamp modifyTime;
    Timestamp createTime;
    Timestamp accessTime;
    std::optional<std::uint64_t> fileSystem;  // the device's number
    std::optional<std::uint64_t> object;      // the file's number within the file system

    std::int64_t size() const { return static_cast<std::int64_t>(fileSize); }
};

// Reads whole directories. Symbolic links, sockets, devices and pipes are left out, never followed; order as
// the file system gives it. The walk of a disk does not come through here: it reads attributes only of
// entries that matched. Threads: one caller at a time; keeps a buffer of 64 KiB and no open file.
class DirectoryIterator {
  public:
    struct Listing {
        int errorNumber = 0;  // of a read that failed half-way; the items read so far are there
        std::vector<FSItemAndAttrs> items;
    };

    // A directory that cannot be opened counts as empty and is logged. The empty path yields nothing.
    // `hasCanceled` is not consulted: a directory is always read to its end.
    Listing contentsOfDirectoryAtPath(const std::string& path,
                                      const std::function<bool()>& hasCanceled = nullptr);

  private:
    DirectoryReader reader_;
};

}  // namespace kestrix
