#include "files/directory_iterator.h"

#include <fmt/format.h>

#include <cerrno>
#include <utility>

#include "base/path.h"
#include "shell/logger.h"

namespace kestrix {

namespace {

// Most directories hold fewer entries than this.
constexpr std::size_t kUsualEntries = 128;

// What stands before the name in a child's path.
std::string prefixOf(std::string_view directory) {
    return directory == "/" ? "/" : std::string(directory) + "/";
}

bool openToRead(const std::string& path, OpenDirectory& directory) {
    const int error = directory.open(path);
    if (error == 0) return true;
    if (Logger::shouldLog) LogFunc(fmt::format("open error: {} {}", path, error));
    return false;
}

// Fills in an entry whose name and type are known from the listing; false if it is none of ours, or has gone
// since. A folder may be listed without its entries being open to statx: they keep what the listing told, and
// count as files if it told no type.
bool describe(const OpenDirectory& directory, const DirectoryEntry& entry, FSItemAndAttrs& item) {
    if (entry.type == EntryType::other) return false;
    FileAttributes attributes;
    const int error = directory.attributesOf(entry.name.data(), attributes);
    if (error == ENOENT || attributes.type == EntryType::other) return false;
    item.isDirectory = (error == 0 ? attributes.type : entry.type) == EntryType::directory;
    if (error != 0) return true;
    item.fileSize = attributes.size;
    item.modifyTime = attributes.modified;
    item.createTime = attributes.created;
    item.accessTime = attributes.accessed;
    item.fileSystem = attributes.device;
    item.object = attributes.inode;
    return true;
}

}  // namespace

DirectoryIterator::Listing DirectoryIterator::contentsOfDirectoryAtPath(const std::string& path,
                                                                        const std::function<bool()>&) {
    Listing listing;
    const std::string directoryPath(path::withoutTrailingSlash(path));
    OpenDirectory directory;
    if (directoryPath.empty() || !openToRead(directoryPath, directory)) return listing;
    const std::string prefix = prefixOf(directoryPath);
    listing.items.reserve(kUsualEntries);
    reader_.start(directory);
    for (DirectoryEntry entry; reader_.next(entry);) {
        FSItemAndAttrs item;
        if (!describe(directory, entry, item)) continue;
        item.name = entry.name;
        item.fullPath.reserve(prefix.size() + entry.name.size());
        item.fullPath.append(prefix).append(entry.name);
        listing.items.push_back(std::move(item));
    }
    listing.errorNumber = reader_.error();
    return listing;
}

}  // namespace kestrix
