#include "index/catalog_folders.h"

#include <algorithm>

#include "base/path.h"

namespace kestrix {

namespace {

// Of paths and their table together. Forgetting everything at once costs a look-up a folder, which is less
// than keeping order among them would.
constexpr std::size_t kMostBytes = 8 << 20;
constexpr std::size_t kBytesPerFolder = 120;

}  // namespace

CatalogFolders::CatalogFolders(const QueryContainer& query, const std::string& target, bool invisibleItems) {
    const auto& location = query.whereLocation();
    for (const SearchTarget& place : location ? location->allTargets() : std::vector<SearchTarget>()) {
        const std::string folder(place.folder().empty() ? "/" : place.folder());
        places_.emplace_back(query, folder, invisibleItems);
        inReach_ = inReach_ || path::isOrIsBelow(folder, target) || path::isOrIsBelow(target, folder);
    }
    target_ = targetFolder(target);
}

CatalogFolders::~CatalogFolders() = default;

// The place of exactly this path.
const EntryRules* CatalogFolders::placeAt(std::string_view path) const {
    const auto found = std::ranges::find(places_, path, &EntryRules::start);
    return found == places_.end() ? nullptr : &*found;
}

// Every component on the way down to the target is judged, since a place may lie above it.
CatalogFolders::Folder CatalogFolders::targetFolder(const std::string& target) const {
    const EntryRules* const root = placeAt("/");
    Folder folder{"/", root, root != nullptr};
    for (const std::string_view name : path::components(target))
        folder = childOf(folder, name);
    return folder;
}

// A folder in several places is judged from the innermost, which lets the most in.
CatalogFolders::Folder CatalogFolders::childOf(const Folder& parent, std::string_view name) const {
    Folder child{path::join(parent.path, name), parent.rules, false};
    if (const EntryRules* const place = placeAt(child.path)) {
        child.rules = place;
        child.listed = true;
    } else {
        child.listed = parent.listed && parent.rules->entersChildrenOf(parent.path) &&
                       parent.rules->enters(parent.path, name);
    }
    return child;
}

// Items come by folder mostly, so the last answer is often the next.
const CatalogFolders::Folder& CatalogFolders::folder(FSItemID id, const SimpleLMDB::Snapshot& snapshot) {
    if (last_ && id == lastID_) return *last_;
    lastID_ = id;
    last_ = &find(id, snapshot);
    return *last_;
}

const CatalogFolders::Folder& CatalogFolders::find(FSItemID id, const SimpleLMDB::Snapshot& snapshot) {
    if (knownBytes_ > kMostBytes) {
        known_.clear();
        knownBytes_ = 0;
    }
    way_.clear();
    const Folder* above = &target_;
    while (id != kNoParent) {
        const auto known = known_.find(id);
        if (known != known_.end()) {
            above = &known->second;
            break;
        }
        const auto record = snapshot.get(itemKey(id));
        const auto item = record ? decodeFSItem(*record) : std::nullopt;
        if (!item) break;
        way_.emplace_back(id, item->name);
        // A folder is older than what lies in it; parents of a damaged catalog may run in a circle.
        if (item->parentID >= id) break;
        id = item->parentID;
    }
    for (auto step = way_.rbegin(); step != way_.rend(); ++step) {
        above = &known_.insert_or_assign(step->first, childOf(*above, step->second)).first->second;
        knownBytes_ += above->path.size() + kBytesPerFolder;
    }
    return *above;
}

}  // namespace kestrix
