#include "index/build/stored_folder.h"

#include <algorithm>
#include <numeric>

namespace kestrix {

void StoredFolder::load(const SimpleLMDB::Snapshot& snapshot, FSItemID id) {
    clear();
    const auto list = snapshot.get(childrenKey(id));
    if (!list) return;
    for (const FSItemID child : unpackChildList(*list)) {
        const auto record = snapshot.get(itemKey(child));
        auto item = record ? decodeFSItem(*record) : std::nullopt;
        if (!item) continue;
        item->fsid = child;
        item->parentID = id;
        items_.push_back(*item);
    }
    taken_.resize(items_.size());
}

void StoredFolder::clear() {
    items_.clear();
    taken_.clear();
    byName_.clear();
    next_ = 0;
}

const FSItemView* StoredFolder::take(std::string_view nameOnDisk) {
    if (items_.empty()) return nullptr;
    const bool isFree = next_ < items_.size() && !taken_[next_];
    if (isFree && items_[next_].name == nameOnDisk) return takeAt(next_);
    const std::string_view name = storedName(nameOnDisk);
    return isFree && items_[next_].name == name ? takeAt(next_) : takeByName(name);
}

const FSItemView* StoredFolder::takeAt(std::size_t place) {
    taken_[place] = true;
    next_ = place + 1;
    return &items_[place];
}

const FSItemView* StoredFolder::takeByName(std::string_view name) {
    if (byName_.empty()) {
        byName_.resize(items_.size());
        std::iota(byName_.begin(), byName_.end(), 0U);
        std::ranges::stable_sort(byName_, {}, [this](std::uint32_t place) { return items_[place].name; });
    }
    auto found = std::ranges::lower_bound(byName_, name, {},
                                          [this](std::uint32_t place) { return items_[place].name; });
    for (; found != byName_.end() && items_[*found].name == name; ++found) {
        if (!taken_[*found]) return takeAt(*found);
    }
    return nullptr;
}

}  // namespace kestrix
