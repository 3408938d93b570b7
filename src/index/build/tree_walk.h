// Lists a folder tree in a fixed order while other threads read ahead.
//
// The order is that of a stack: a folder, then the subtree of its last child folder, and so on. It decides
// which identifier an item gets, so it must not depend on threads. Two workers list the folders nearest to
// the top of the stack ahead of the one that takes them:
//
//     stack (top right)      [a] [b] [c] [d*] [e*]      * listed already
//     next()                                   ^ taken, waits if it is not listed yet; its children go on top
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/clock.h"
#include "files/disks.h"
#include "platform/directory.h"

namespace kestrix {

struct FolderFamily;

struct ListedFile {
    std::string_view name;   // valid as long as its folder
    std::uint64_t size = 0;  // bytes
    Timestamp modified;
    Timestamp created;
};

// One folder and its direct children, without what catalogs leave out: symbolic links, sockets, devices and
// pipes, and names that hold a line break or a colon. Folders that a walk does not enter (mounts of other
// machines, pseudo file systems, folders named Backups.backupdb) come by like any other, and empty.
struct ListedFolder {
    std::string path;
    WallTime listedAt{};                    // when its reading began
    int errorNumber = 0;                    // why it could not be read, or not whole
    FileAttributes attributes;              // the type is unknown if it is not there any more
    std::vector<ListedFile> files;          // in the file system's order; what could not be asked is left out
    std::vector<std::string_view> folders;  // the same order, so the last one comes next
    std::string names;                      // what the files' names look into
    std::shared_ptr<const FolderFamily> family;  // what the folders' names look into
};

// Threads: one taker. Memory is bounded by how much may lie listed ahead, and the largest folder.
class TreeWalk {
  public:
    // `starts` are absolute paths; the last one comes first, as it lies on top of the stack. A start is read
    // whatever it is; one that is a mount point is not entered from another. The walk ends when `stop` turns
    // true.
    TreeWalk(const std::vector<std::string>& starts, const DiskInfoManager& disks, Clock& clock,
             const std::atomic<bool>& stop);
    ~TreeWalk();  // stops the workers
    TreeWalk(const TreeWalk&) = delete;
    TreeWalk& operator=(const TreeWalk&) = delete;

    // The next folder; nullptr at the end.
    std::unique_ptr<ListedFolder> next();
    // The next folder if it lies there listed, nullptr otherwise: never waits.
    std::unique_ptr<ListedFolder> nextIfListed();

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace kestrix
