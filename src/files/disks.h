// The mounted disks, their names and keys.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/lock.h"
#include "base/main_queue.h"
#include "files/search_result.h"
#include "platform/mounts.h"

namespace kestrix {

struct DiskInfo {
    std::string url;  // the mount point
    bool isMacFS = false;
    bool isBackup = false;  // never for a network disk: those are a group of their own
    bool isLocal = true;
    bool isSystemDisk = false;  // holds the running system: "/"
    Mount mount;
};

// Whether the mount is a disk to a user: not a pseudo file system, not mounted in a system folder, not a
// single file.
bool isBrowsable(const Mount& mount);

// The table of disks. It is read when first asked for. Until didChange has been called it then stays as it is
// for the life of the manager: a short search wants one answer, not a watch. Afterwards it is read again
// after each mount or unmount. Labels, capacities and backup markers are looked up only for the disks asked
// about. Threads: any; the closures given to didChange run on the main queue. The table and the queue outlive
// this.
class DiskInfoManager {
  public:
    DiskInfoManager(MountTable& mounts, MainQueue& mainQueue);
    ~DiskInfoManager();

    // Browsable disks: local ones first, then by name.
    std::vector<DiskInfo> volumes() const;
    std::optional<DiskInfo> info(std::string_view forDisk) const;

    // Every mount, pseudo file systems included, for the walk.
    std::vector<Mount> mounts() const;

    // The mount that holds a path.
    std::optional<Mount> mountOf(std::string_view path) const;

    // Whether the path is the mount point of a disk.
    bool isDiskURL(std::string_view path) const;
    // The mount point of the disk that holds the path; "/" when nothing else does.
    std::string diskPathFromFullPath(std::string_view path) const;

    // Label, else the mount point's last component, else the device's name.
    std::string volumeName(const Mount& mount) const;

    // Name, blank, capacity in bytes, blank, format ("data 499963174912 ext4") of the volume that holds the
    // path. It survives remounting elsewhere. Empty if there is no such volume.
    DiskKey keyForDisk(std::string_view path) const;
    DiskKey keyForMount(const Mount& mount) const;

    // Calls back after each change of the table, for the life of the manager. Starts the watch on the mount
    // table.
    void didChange(std::function<void()> call);

  private:
    class State;
    std::shared_ptr<State> state_;
};

}  // namespace kestrix
