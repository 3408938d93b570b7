// The folders of one catalog as a search of a location sees them. Internal to the scan of names.
#pragma once

#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "files/search_location.h"
#include "index/lmdb/simple_lmdb.h"
#include "index/records.h"
#include "search/entry_rules.h"

namespace kestrix {

// Answers for a folder's identifier which path it has, and whether a walk of the location would list it: it
// would not look into hidden folders, packages and system folders unless told so, nor too deep, nor outside
// the location. Each folder is looked up once and remembered, up to a bound. One thread.
class CatalogFolders {
  public:
    // `target`: the folder that the catalog describes. The query outlives this.
    CatalogFolders(const QueryContainer& query, const std::string& target, bool invisibleItems);
    ~CatalogFolders();

    // False: no folder of the catalog lies in the location.
    bool isInReach() const { return inReach_; }

    struct Folder {
        std::string path;
        const EntryRules* rules = nullptr;  // of the place that holds it; none: outside the location
        bool listed = false;
    };
    // Valid until the next call. A folder whose record is missing counts as one directly in the target, as
    // pathFor does.
    const Folder& folder(FSItemID id, const SimpleLMDB::Snapshot& snapshot);

  private:
    const Folder& find(FSItemID id, const SimpleLMDB::Snapshot& snapshot);
    Folder childOf(const Folder& parent, std::string_view name) const;
    const EntryRules* placeAt(std::string_view path) const;
    Folder targetFolder(const std::string& target) const;

    std::deque<EntryRules> places_;
    bool inReach_ = false;
    Folder target_;
    std::unordered_map<FSItemID, Folder> known_;
    std::size_t knownBytes_ = 0;
    FSItemID lastID_ = kNoParent;
    const Folder* last_ = nullptr;                            // what was answered for it
    std::vector<std::pair<FSItemID, std::string_view>> way_;  // scratch, views into the snapshot
};

}  // namespace kestrix
