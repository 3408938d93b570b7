// Any text in place of /proc/self/mountinfo.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <unordered_set>

#include "platform/mounts.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::unordered_set<std::string> points;
    for (const kestrix::Mount& mount : kestrix::parseMountInfo(text)) {
        if (!mount.mountPoint.starts_with('/') || mount.fileSystem.empty()) std::abort();
        if (!points.insert(mount.mountPoint).second) std::abort();
    }
    return 0;
}
