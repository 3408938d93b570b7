#include "files/mounts_below.h"

#include "base/path.h"

namespace kestrix {

namespace {

// Whether a bind mount shows a folder that it lies in itself, so that going in would show the same things
// again.
bool showsItsOwnParent(const Mount& mount, const std::vector<Mount>& all) {
    const Mount* parent = nullptr;
    for (const Mount& other : all) {
        if (other.mountPoint == mount.mountPoint || !path::isOrIsBelow(mount.mountPoint, other.mountPoint))
            continue;
        if (!parent || other.mountPoint.size() > parent->mountPoint.size()) parent = &other;
    }
    if (!parent || parent->deviceId != mount.deviceId) return false;
    std::string_view below = mount.mountPoint;
    below.remove_prefix(parent->mountPoint == "/" ? 1 : parent->mountPoint.size() + 1);
    return path::isOrIsBelow(path::join(parent->root, below), mount.root);
}

}  // namespace

MountsBelow mountsBelow(std::string_view start, const std::vector<std::string>& otherTargets,
                        const DiskInfoManager& disks) {
    MountsBelow below;
    const std::vector<Mount> all = disks.mounts();
    for (const Mount& mount : all) {
        if (mount.mountPoint == start || !path::isOrIsBelow(mount.mountPoint, start)) continue;
        bool enter = !isPseudoFileSystem(mount.fileSystem) && !isNetworkFileSystem(mount.fileSystem) &&
                     !showsItsOwnParent(mount, all);
        for (const std::string& target : otherTargets) {
            enter = enter && target != mount.mountPoint;
        }
        below[mount.mountPoint] = {enter, enter ? disks.keyForMount(mount) : DiskKey()};
    }
    return below;
}

}  // namespace kestrix
