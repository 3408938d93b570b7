// The table of mounted file systems.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kestrix {

// One line of /proc/self/mountinfo (proc(5)), with its octal escapes resolved.
struct Mount {
    std::string mountPoint;
    std::string root;        // which folder of the file system is mounted here; "/" unless it is a bind mount
    std::string fileSystem;  // "ext4"
    std::string device;      // "/dev/sda1", "server:/share", or any word for file systems without one
    std::uint64_t deviceId = 0;

    bool operator==(const Mount&) const = default;
};

// Kernel interfaces that look like file systems: proc, sysfs, cgroup, devpts, tracefs ... Never disks, never
// walked.
bool isPseudoFileSystem(std::string_view fileSystem);
// nfs, cifs, smb3, sshfs, 9p, ceph, glusterfs ...
bool isNetworkFileSystem(std::string_view fileSystem);

// Reads the text of a mountinfo file. Lines that do not follow the format are left out. Where several mounts
// share a mount point the last, which covers the others, is kept.
std::vector<Mount> parseMountInfo(std::string_view text);

// Where the table comes from; tests give one of their own.
class MountTable {
  public:
    virtual ~MountTable() = default;

    // The mounts of now. Any thread.
    virtual std::vector<Mount> mounts() const = 0;

    // Calls `changed` on a thread of the table's own after each mount or unmount, until the returned handle
    // is gone.
    [[nodiscard]] virtual std::shared_ptr<void> watch(std::function<void()> changed) = 0;

    // The table of this process.
    static MountTable& system();
};

struct VolumeFacts {
    std::string label;           // empty: none
    std::uint64_t capacity = 0;  // bytes; 0: not known
};

// The label (from /dev/disk/by-label) and size (statvfs) of a mount. Any thread; does not wait for a network
// server longer than the kernel does.
VolumeFacts volumeFacts(const Mount& mount);

}  // namespace kestrix
