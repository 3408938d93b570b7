#include "files/folder_family.h"

#include <cerrno>
#include <utility>

namespace kestrix {

namespace {

// The longest path that one system call takes, with room for its null byte.
constexpr std::size_t kLongestPath = 4095;

}  // namespace

// Piece by piece, each relative to the last.
int openAnyPath(OpenDirectory& directory, const std::string& folder) {
    if (folder.size() <= kLongestPath) return directory.open(folder);
    std::size_t end = folder.rfind('/', kLongestPath);
    int error = directory.open(folder.substr(0, end));
    while (error == 0 && end < folder.size()) {
        const std::size_t from = end + 1;
        end = folder.size() - from <= kLongestPath ? folder.size() : folder.rfind('/', from + kLongestPath);
        OpenDirectory next;
        error = next.openAt(directory, folder.substr(from, end - from).c_str());
        directory = std::move(next);
    }
    return error;
}

bool countsAsUnreadable(int error) {
    return error != 0 && error != ENOENT && error != ENOTDIR && error != ELOOP;
}

int FolderFamily::open() {
    std::lock_guard hold(opening_);
    return directory.isOpen() ? 0 : openAnyPath(directory, path);
}

bool FolderFamilies::takePlace() {
    if (openFolders_.fetch_add(1) < kOpenFolders) return true;
    --openFolders_;
    return false;
}

std::shared_ptr<FolderFamily> FolderFamilies::make(OpenDirectory directory, const std::string& path,
                                                   const DiskKey& diskKey, const std::string& childNames) {
    const bool staysOpen = takePlace();
    auto family = std::shared_ptr<FolderFamily>(new FolderFamily, [this](FolderFamily* ended) {
        if (ended->holdsPlace_) --openFolders_;
        delete ended;
    });
    family->path = path;
    family->diskKey = diskKey;
    family->childNames = childNames;
    family->holdsPlace_ = staysOpen;
    if (staysOpen) family->directory = std::move(directory);
    return family;
}

}  // namespace kestrix
