// One level for each open folder on the way down; the lowest is the folder that holds what is to be deleted.
// The names of a folder are read before any of them goes: whether a listing goes on properly while entries
// vanish is up to the file system.
#include "platform/tree_removal.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cstdint>
#include <deque>
#include <system_error>

#include "base/path.h"
#include "platform/directory.h"
#include "platform/linux/system_call.h"

namespace kestrix {

namespace {

// Levels further up are closed and opened again by ".." on the way back.
constexpr std::size_t kMostOpen = 64;

// Where an open folder is. Two mounts of one file system differ in `mount` only; the subvolumes of one mount
// differ in `device` only, and are no reason to stop.
struct Place {
    std::uint64_t mount = 0;
    std::array<std::uint32_t, 2> device{};
    std::uint64_t inode = 0;

    bool operator==(const Place&) const = default;
};

struct Level {
    OpenDirectory directory;
    Place place;
    std::string name;   // in the level above; of the lowest one its path
    std::string names;  // what it holds, each with its null
    std::size_t next = 0;
    bool willBeEmpty = true;  // nothing in it has stayed so far
};

int readPlace(const OpenDirectory& directory, Place& place) {
    struct statx found;
    const int result = retrying(
        [&] { return ::statx(directory.descriptor(), "", AT_EMPTY_PATH, STATX_INO | STATX_MNT_ID, &found); });
    if (result != 0) return errno;
    place.device = {found.stx_dev_major, found.stx_dev_minor};
    place.inode = found.stx_ino;
    // A kernel that does not know mounts by number still tells file systems apart.
    const bool knowsMounts = (found.stx_mask & STATX_MNT_ID) != 0;
    place.mount =
        knowsMounts ? found.stx_mnt_id : (std::uint64_t{found.stx_dev_major} << 32 | found.stx_dev_minor);
    return 0;
}

class TreeRemoval {
  public:
    explicit TreeRemoval(const RemovalWatch& watch) : watch_(watch) {}

    RemovalOutcome run(const std::string& path);

  private:
    bool start(const std::string& path);
    void removeNext();
    void enter(const std::string& name, int reasonAgainstUnlink);
    void listNames(Level& level);
    void leave();
    int reopen(Level& level, const Level& below);
    bool unlink(const Level& level, const std::string& name, int flags);
    void noteRemoved();
    void stays(const std::string& path, int number, std::string_view reason = {});
    std::string pathOf(std::string_view name) const;

    const RemovalWatch& watch_;
    std::deque<Level> levels_;
    DirectoryReader reader_;
    bool failed_ = false;
};

RemovalOutcome TreeRemoval::run(const std::string& path) {
    if (start(path)) {
        while (!levels_.empty()) {
            if (levels_.back().next == levels_.back().names.size()) {
                leave();
            } else if (watch_.shouldStop && watch_.shouldStop()) {
                return RemovalOutcome::stopped;
            } else {
                removeNext();
            }
        }
    }
    return failed_ ? RemovalOutcome::failed : RemovalOutcome::removed;
}

bool TreeRemoval::start(const std::string& path) {
    const std::string_view name = path::lastComponent(path);
    if (name.empty() || name == "/" || name == "." || name == "..") {
        stays(path, EBUSY, "name a file or folder by its own name");
        return false;
    }
    const std::string above(path::parent(path));
    Level level;
    level.name = above.empty() ? "." : above;
    level.names = std::string(name) + '\0';
    int number = level.directory.open(level.name);
    if (number == 0) number = readPlace(level.directory, level.place);
    FileAttributes attributes;
    if (number == 0) number = level.directory.attributesOf(level.names.c_str(), attributes);
    if (number != 0) {
        stays(path, number);
        return false;
    }
    levels_.push_back(std::move(level));
    return true;
}

// A folder is told from everything else by the kernel's refusal to unlink it. Some file systems refuse with
// EPERM, which has other meanings too: opening it settles that.
void TreeRemoval::removeNext() {
    Level& level = levels_.back();
    const std::string name = level.names.c_str() + level.next;
    level.next += name.size() + 1;
    if (unlink(level, name, 0)) return noteRemoved();
    const int number = errno;
    if (number == EISDIR || number == EPERM) return enter(name, number);
    stays(pathOf(name), number);
}

void TreeRemoval::enter(const std::string& name, int reasonAgainstUnlink) {
    const Level& above = levels_.back();
    Level level;
    level.name = name;
    const int number = level.directory.openAt(above.directory, name.c_str());
    if (number != 0) {
        // An empty folder can go without being read.
        if (unlink(above, name, AT_REMOVEDIR)) return noteRemoved();
        return stays(pathOf(name), number == ENOTDIR ? reasonAgainstUnlink : number);
    }
    if (const int unknown = readPlace(level.directory, level.place)) return stays(pathOf(name), unknown);
    if (level.place.mount != above.place.mount) {
        return stays(pathOf(name), EBUSY, "another file system is mounted there");
    }
    listNames(level);
    levels_.push_back(std::move(level));
    if (levels_.size() > kMostOpen + 1) levels_[levels_.size() - kMostOpen - 2].directory.close();
}

void TreeRemoval::listNames(Level& level) {
    reader_.start(level.directory);
    for (DirectoryEntry entry; reader_.next(entry);) {
        level.names += entry.name;
        level.names += '\0';
    }
    if (reader_.error() == 0) return;
    stays(pathOf(level.name), reader_.error());
    level.willBeEmpty = false;
}

void TreeRemoval::leave() {
    const Level done = std::move(levels_.back());
    levels_.pop_back();
    if (levels_.empty()) return;
    Level& above = levels_.back();
    if (const int number = reopen(above, done)) {
        stays(pathOf(done.name), number);
        levels_.clear();
    } else if (!done.willBeEmpty) {
        above.willBeEmpty = false;
    } else if (unlink(above, done.name, AT_REMOVEDIR)) {
        noteRemoved();
    } else {
        stays(pathOf(done.name), errno);
    }
}

// Whoever moves the folder elsewhere meanwhile must not make ".." mean that other place.
int TreeRemoval::reopen(Level& level, const Level& below) {
    if (level.directory.isOpen()) return 0;
    if (const int number = level.directory.openAt(below.directory, "..")) return number;
    Place place;
    if (const int number = readPlace(level.directory, place)) return number;
    return place == level.place ? 0 : ESTALE;
}

// What somebody else deleted in the meantime is gone all the same.
bool TreeRemoval::unlink(const Level& level, const std::string& name, int flags) {
    const int descriptor = level.directory.descriptor();
    return retrying([&] { return ::unlinkat(descriptor, name.c_str(), flags); }) == 0 || errno == ENOENT;
}

void TreeRemoval::noteRemoved() {
    if (watch_.removed) watch_.removed();
}

void TreeRemoval::stays(const std::string& path, int number, std::string_view reason) {
    failed_ = true;
    if (!levels_.empty()) levels_.back().willBeEmpty = false;
    if (!watch_.failed) return;
    const std::string words = reason.empty() ? std::generic_category().message(number) : std::string(reason);
    watch_.failed(Error(kPosixDomain, number, "cannot delete " + path + ": " + words));
}

std::string TreeRemoval::pathOf(std::string_view name) const {
    std::string path;
    for (const Level& level : levels_)
        path = path.empty() ? level.name : path::join(path, level.name);
    return path::join(path, name);
}

}  // namespace

RemovalOutcome removeTree(const std::string& path, const RemovalWatch& watch) {
    return TreeRemoval(watch).run(path);
}

}  // namespace kestrix
