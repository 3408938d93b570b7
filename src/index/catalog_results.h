// How an item of a catalog is handed to a search.
#pragma once

#include <string>

#include "files/search_result.h"
#include "index/records.h"

namespace kestrix {

// Bytes as a listing on the disk tells them: none for a folder; -1 stands for not known.
inline std::uint64_t sizeOf(const FSItemView& item) {
    return item.type == FSItemType::directory || item.size < 0 ? 0 : static_cast<std::uint64_t>(item.size);
}

// `folder`: the path of the folder that holds it. `isMounted`: the catalog's disk is there, so a missing file
// proves itself missing.
inline SearchResult fsItemToSearchResult(const FSItemView& item, const std::string& folder, bool isMounted) {
    SearchResult result;
    result.searchResultSuppliedBy = SearchResultSupplier::CompactContentIndex;
    result.path.reserve(folder.size() + 1 + item.name.size());
    result.path.append(folder);
    if (result.path.back() != '/') result.path.push_back('/');
    result.path.append(item.name);
    result.isDirectory = item.type == FSItemType::directory;
    result.size = sizeOf(item);
    result.modDate = modDateOf(item);
    result.creationDate = creationDateOf(item);
    result.strikeThroughDisplayNameIfMissing = isMounted;
    return result;
}

}  // namespace kestrix
