#include "search/known_directories_search.h"

#include <optional>
#include <utility>

#include "base/path.h"
#include "files/directory_iterator.h"
#include "files/fs_utilities.h"
#include "language/commands/folder_commands.h"

namespace kestrix {

namespace {

std::optional<std::string> folderOf(const QueryContainer& query) {
    const auto command = query.commandOfType<KnownDirectoriesCommand>();
    if (!command || !command->directory() || command->directory()->empty()) return std::nullopt;
    return std::string(path::withoutTrailingSlash(*command->directory()));
}

bool isLeftOut(const FSItemAndAttrs& item, const std::string& folder, bool wantsInvisibleItems) {
    if (FSUtilities::isInvisibleName(item.name)) return true;
    if (wantsInvisibleItems) return false;
    return FSUtilities::isInsideOSDirectory(item.fullPath, folder) ||
           FSUtilities::isInvisibleOrInsidePackage(item.fullPath, folder);
}

SearchResult recordOf(FSItemAndAttrs&& item) {
    SearchResult result(SearchResultSupplier::KnownDirectoriesSearch, DiskKey(""), std::move(item.fullPath),
                        item.isDirectory, item.isDirectory ? 0 : item.fileSize, item.modifyTime.seconds,
                        item.createTime.seconds, item.accessTime.seconds, false, false);
    result.ignoreSearchLocation = true;
    return result;
}

}  // namespace

std::vector<std::string> KnownDirectoriesSearch::dataSourceLocations(const QueryContainer& query) const {
    if (auto folder = folderOf(query)) return {std::move(*folder)};
    return {};
}

void KnownDirectoriesSearch::search(std::shared_ptr<const QueryContainer> query,
                                    SearchDataSourceDelegate& handler) {
    const auto folder = folderOf(*query);
    if (!folder || stopped_ || handler.shouldStop()) return;
    auto listing = DirectoryIterator().contentsOfDirectoryAtPath(*folder);
    if (listing.errorNumber != 0) handler.searchErrorOccured(listing.errorNumber, *folder);
    handler.searchDataSourceProgress(static_cast<std::int64_t>(listing.items.size()));
    std::vector<SearchResult> results;
    results.reserve(listing.items.size());
    for (FSItemAndAttrs& item : listing.items) {
        if (!isLeftOut(item, *folder, handler.wantsInvisibleItems()))
            results.push_back(recordOf(std::move(item)));
    }
    if (!results.empty() && !stopped_) handler.searchResults(std::move(results), *this);
}

}  // namespace kestrix
