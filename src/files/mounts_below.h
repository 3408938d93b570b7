// What lies mounted below the start of a walk.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "files/disks.h"

namespace kestrix {

struct MountBelow {
    bool enter = false;  // whether the walk goes in
    DiskKey diskKey;
};
using MountsBelow = std::unordered_map<std::string, MountBelow>;

// The mounts below `start`. A walk enters local file systems; it stays out of pseudo and network ones, of
// `otherTargets` (they are walked on their own), and of bind mounts that show a folder they lie in
// themselves. Any thread.
MountsBelow mountsBelow(std::string_view start, const std::vector<std::string>& otherTargets,
                        const DiskInfoManager& disks);

}  // namespace kestrix
