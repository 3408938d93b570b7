#include "results/presence.h"

#include <cerrno>

#include "platform/directory.h"

namespace kestrix {

// What cannot be asked about (a folder that may not be entered) is not called missing.
bool hasGone(const std::string& path) {
    FileAttributes attributes;
    const int error = readAttributes(path, false, attributes);
    return error == ENOENT || error == ENOTDIR;
}

Presence presenceOf(const SearchResult& record) {
    if (record.searchResultSuppliedBy != SearchResultSupplier::CompactContentIndex) return Presence::here;
    if (!hasGone(record.path)) return Presence::here;
    return record.strikeThroughDisplayNameIfMissing ? Presence::missing : Presence::offline;
}

}  // namespace kestrix
