#include "search/path_judge.h"

#include <algorithm>

#include "base/crc64.h"
#include "files/fs_utilities.h"
#include "platform/system_rules.h"

namespace kestrix {

namespace {

// Without a branch in the loop, so that the compiler makes vectors of it: paths have many slashes, and a
// search for two of them would stop at each.
bool holdsEmptyComponent(std::string_view folder) {
    unsigned char found = 0;
    for (std::size_t i = 1; i < folder.size(); ++i)
        found |=
            static_cast<unsigned char>(folder[i - 1] == '/') & static_cast<unsigned char>(folder[i] == '/');
    return found != 0;
}

}  // namespace

PathJudge::PathJudge(const QueryContainer& query)
    : query_(query),
      everywhere_(!query.whereLocation() || !query.querySearchArguments().checkPathForResults),
      systemFolders_(systemFolders()) {}

std::int64_t PathJudge::key(std::string_view path) {
    // The checksum has no final step, so it goes on from that of the folder.
    const auto name = nameInFolder(path);
    if (!name) return crc64(path);
    if (!folderCrc_) folderCrc_ = crc64_ecma182(0, folder_.data(), folder_.size());
    return static_cast<std::int64_t>(crc64_ecma182(*folderCrc_, name->data(), name->size()));
}

const std::vector<std::string>& PathJudge::expansionsOf(std::string_view path) {
    expansions_.clear();
    if (query_.searchWords().empty()) return expansions_;
    if (nameInFolder(path)) {
        if (expanded_) return expansions_;
        expanded_ = true;
    }
    expansions_ = query_.expandedFolderPaths(path);
    return expansions_;
}

bool PathJudge::isInQueryLocation(std::string_view path) {
    if (everywhere_) return true;
    if (nameInFolder(path)) {
        // A location is told by prefixes, so it holds whatever lies in a folder that it holds. The other way
        // round says nothing: a target may begin below this folder, and an application may be let in from
        // anywhere.
        if (!inLocation_) inLocation_ = query_.whereLocation()->pathIsInLocation(folder_);
        if (*inLocation_) return true;
    }
    return query_.pathIsInQueryLocation(path);
}

bool PathJudge::isLeftOut(std::string_view path) {
    const auto name = nameInFolder(path);
    if (!name) return isLeftOutAlone(path);
    if (!children_) {
        // A child with the plainest of names is left out exactly if its folder says so.
        children_ = holdsSpecialChild()             ? Children::eachAlone
                    : isLeftOutAlone(folder_ + "x") ? Children::allLeftOut
                                                    : Children::byName;
    }
    switch (*children_) {
        case Children::allLeftOut:
            return true;
        case Children::byName:
            return FSUtilities::isInvisibleOrInsidePackage(*name);
        case Children::eachAlone:
            break;
    }
    return isLeftOutAlone(path);
}

// The name of a path in a folder, after making sure that the folder is the one remembered. Nothing for a path
// that has to be judged whole.
std::optional<std::string_view> PathJudge::nameInFolder(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string_view::npos || slash + 1 == path.size()) return std::nullopt;
    const std::string_view folder = path.substr(0, slash + 1);
    if (folder != folder_) rememberFolder(folder);
    if (!plain_) return std::nullopt;
    return path.substr(slash + 1);
}

void PathJudge::rememberFolder(std::string_view folder) {
    folder_ = folder;
    plain_ = folder.front() == '/' && !holdsEmptyComponent(folder);
    folderCrc_.reset();
    expanded_ = false;
    inLocation_.reset();
    children_.reset();
}

// Whether a child of the folder is a system folder or a place that the user named: those differ from their
// neighbours.
bool PathJudge::holdsSpecialChild() const {
    const auto isChild = [this](std::string_view path) {
        return path.starts_with(folder_) && path.find('/', folder_.size()) == std::string_view::npos;
    };
    if (std::ranges::any_of(systemFolders_, isChild)) return true;
    if (!query_.whereLocation()) return false;
    return std::ranges::any_of(query_.whereLocation()->allTargets(),
                               [&](const SearchTarget& target) { return isChild(target.folder()); });
}

bool PathJudge::isLeftOutAlone(std::string_view path) const {
    const auto& location = query_.whereLocation();
    const std::string_view start = location ? location->startOf(path) : std::string_view();
    return FSUtilities::isInsideOSDirectory(path, start) ||
           FSUtilities::isInvisibleOrInsidePackage(path, start);
}

}  // namespace kestrix
