#include "index/build/group_writer.h"

#include <algorithm>
#include <array>
#include <optional>

#include "base/bytes.h"

namespace kestrix {

namespace {

// Fewer new items than this are not worth moving others for.
constexpr FSItemID kWorthARow = 1000;

// Puts identifiers into the order of their keys, which is that of their decimal digits as text: the digits at
// the left of a number of ten, and of two with the same digits and zeros behind them the shorter one first.
std::uint64_t keyOrder(FSItemID id) {
    std::uint64_t digits = id;
    unsigned missing = 0;
    for (; missing < 9 && digits < 1'000'000'000; ++missing) {
        digits *= 10;
    }
    return digits << 4 | (9 - missing);
}

std::vector<FSItemID> sortedUnique(std::vector<FSItemID> ids) {
    std::ranges::sort(ids);
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
    return ids;
}

}  // namespace

// What one transaction is to do, in the order in which it was added.
class GroupWriter::Writes {
  public:
    explicit Writes(std::size_t most) { places_.reserve(most); }

    void put(std::string key, std::string_view value) { places_.push_back({std::move(key), value, true}); }
    void putOwned(std::string key, std::string value) {
        owned_.push_back(std::move(value));
        places_.push_back({std::move(key), {}, true, owned_.size()});
    }
    void remove(std::string key) { places_.push_back({std::move(key), {}, false}); }

    void writeTo(SimpleLMDB& db, std::span<const SimpleLMDB::Write> more) const {
        std::vector<SimpleLMDB::Write> writes;
        writes.reserve(places_.size() + more.size());
        for (const Place& place : places_) {
            const std::string_view value =
                place.owned ? std::string_view(owned_[place.owned - 1]) : place.value;
            writes.push_back({place.key, place.stays ? std::optional(value) : std::nullopt});
        }
        writes.insert(writes.end(), more.begin(), more.end());
        db.write(writes);
    }

  private:
    struct Place {
        std::string key;
        std::string_view value;
        bool stays;
        std::size_t owned = 0;  // its place in owned_, from 1
    };
    std::vector<Place> places_;
    std::vector<std::string> owned_;
};

GroupWriter::GroupWriter(SimpleLMDB& db, Clock& clock, Bounds bounds)
    : db_(db), clock_(clock), bounds_(bounds), began_(clock.steadyNow()) {
    const auto stored = db_.get("", kLastAutoIDKey);
    if (!stored) return;
    std::size_t at = 0;
    const auto last = safeValueAndIncrement<FSItemID>(*stored, at);
    if (!last || at != stored->size())
        throw Error("Catalog", 0, "the catalog's identifier counter is damaged");
    lastID_ = *last;
    lastIDBefore_ = lastID_;
}

FSItemID GroupWriter::nextID() {
    if (lastID_ >= kLastUsableID)
        throw Error("Catalog", 0, "the catalog is full: make a new one, its identifiers are used up");
    begin();
    countedUp_ = true;
    return ++lastID_;
}

// The first change of a group sets its time.
void GroupWriter::begin() {
    if (isEmpty()) began_ = clock_.steadyNow();
}

void GroupWriter::note(const FSItemView& item) {
    begin();
    const std::size_t offset = records_.size();
    appendFSItem(records_, item);
    items_.push_back({item.fsid, static_cast<std::uint32_t>(records_.size() - offset), offset});
}

void GroupWriter::add(const FSItemView& item) {
    note(item);
    children_[item.parentID].added.push_back(item.fsid);
    ++itemsAdded_;
}

void GroupWriter::update(const FSItemView& item) {
    note(item);
}

void GroupWriter::remove(const FSItemView& item, bool dead) {
    begin();
    items_.push_back({item.fsid, 0, 0});
    children_[item.parentID].removed.push_back(item.fsid);
    if (item.type == FSItemType::directory) goneFolders_.push_back(item.fsid);
    if (dead) dead_.push_back(item.fsid);
}

void GroupWriter::replace(const FSItemView& old, const FSItemView& item, bool dead) {
    remove(old, dead);
    add(item);
    replaced_.emplace(item.fsid, old.fsid);
}

bool GroupWriter::isDue() const {
    if (isEmpty()) return false;
    return items_.size() >= bounds_.mostItems || clock_.steadyNow() - began_ >= bounds_.longest;
}

void GroupWriter::flush(std::span<const SimpleLMDB::Write> more) {
    if (isEmpty() && more.empty()) return;
    Writes writes(children_.size() + goneFolders_.size() + items_.size() + 2);
    gather(writes);
    writes.writeTo(db_, more);
    clear();
}

void GroupWriter::writeAhead(std::span<const SimpleLMDB::Write> more) {
    if (more.empty()) return;
    Writes writes(1);
    if (countedUp_) writes.putOwned(std::string(kLastAutoIDKey), counter());
    writes.writeTo(db_, more);
}

void GroupWriter::leaveOut(const std::unordered_set<FSItemID>& files) {
    if (files.empty()) return;
    std::unordered_set<FSItemID> staying;
    for (const auto& [id, old] : replaced_)
        if (files.contains(id)) staying.insert(old);
    const auto isLeftOut = [&files](FSItemID id) { return files.contains(id); };
    const auto stays = [&staying](FSItemID id) { return staying.contains(id); };
    const auto left = std::erase_if(
        items_, [&](const Record& record) { return record.length > 0 && isLeftOut(record.id); });
    itemsAdded_ -= static_cast<std::int64_t>(left);
    std::erase_if(items_, [&](const Record& record) { return record.length == 0 && stays(record.id); });
    for (auto& [parent, changes] : children_) {
        std::erase_if(changes.added, isLeftOut);
        std::erase_if(changes.removed, stays);
    }
    std::erase_if(dead_, stays);
}

std::vector<FSItemID> GroupWriter::deadDocuments() const {
    return unpackDeadList(deadListAfter());
}

std::string GroupWriter::counter() const {
    std::string bytes;
    appendValue(bytes, lastID_);
    return bytes;
}

void GroupWriter::gather(Writes& writes) {
    std::vector<FSItemID> neighbours;
    db_.read([&](const SimpleLMDB::Snapshot& snapshot) {
        gatherChildren(writes, snapshot);
        neighbours = takeUpNeighbours(snapshot);
    });
    for (const FSItemID id : neighbours)
        writes.remove(itemKey(id));
    std::ranges::sort(items_, {}, [](const Record& record) { return keyOrder(record.id); });
    for (const Record& record : items_) {
        if (record.length == 0) {
            writes.remove(itemKey(record.id));
        } else {
            writes.put(itemKey(record.id), std::string_view(records_).substr(record.offset, record.length));
        }
    }
    if (countedUp_) writes.putOwned(std::string(kLastAutoIDKey), counter());
    if (!dead_.empty()) writes.putOwned(std::string(kDeadKey), deadListAfter());
}

// LMDB fills its pages only where keys arrive at a page's end; keys put between others split page after page
// and leave each half empty. New identifiers arrive in a row, but "F12" to "F19" stand between "F119" and
// "F130": so those that stand between the new ones are taken out and put back in the same row. They are a
// ninth as many, and the file of a tree of 400,000 files is smaller by a third.
std::vector<FSItemID> GroupWriter::takeUpNeighbours(const SimpleLMDB::Snapshot& snapshot) {
    std::vector<FSItemID> taken;
    const FSItemID first = lastIDBefore_ + 1;
    if (lastID_ - lastIDBefore_ < kWorthARow) return taken;
    std::vector<FSItemID> changed;
    changed.reserve(items_.size());
    for (const Record& record : items_)
        changed.push_back(record.id);
    std::ranges::sort(changed);
    for (FSItemID unit = 10; lastID_ / unit > 0; unit *= 10) {
        const FSItemID end = std::min(lastID_ / unit + 1, first);
        for (FSItemID id = std::max(first / unit, FSItemID{1}); id < end; ++id) {
            const auto record = snapshot.get(itemKey(id));
            if (!record || std::ranges::binary_search(changed, id)) continue;
            items_.push_back({id, static_cast<std::uint32_t>(record->size()), records_.size()});
            records_.append(*record);
            taken.push_back(id);
        }
        if (unit == 1'000'000'000) break;
    }
    std::ranges::sort(taken, {}, keyOrder);
    return taken;
}

void GroupWriter::gatherChildren(Writes& writes, const SimpleLMDB::Snapshot& snapshot) {
    std::vector<FSItemID> parents = goneFolders_;
    for (const auto& [parent, changes] : children_)
        parents.push_back(parent);
    parents = sortedUnique(std::move(parents));
    std::ranges::sort(parents, {}, keyOrder);
    const std::vector<FSItemID> gone = sortedUnique(goneFolders_);
    for (const FSItemID parent : parents) {
        std::vector<FSItemID> ids;
        if (!std::ranges::binary_search(gone, parent)) {
            const auto stored = snapshot.get(childrenKey(parent));
            ids = childrenAfter(children_.at(parent), stored.value_or(std::string_view()));
        }
        if (ids.empty()) {
            writes.remove(childrenKey(parent));
        } else {
            writes.putOwned(childrenKey(parent), packChildList(ids));
        }
    }
}

std::vector<FSItemID> GroupWriter::childrenAfter(const Children& changes, std::string_view stored) const {
    std::vector<FSItemID> ids = unpackChildList(stored);
    if (!changes.removed.empty()) {
        const std::vector<FSItemID> removed = sortedUnique(changes.removed);
        std::erase_if(ids, [&](FSItemID id) { return std::ranges::binary_search(removed, id); });
    }
    ids.insert(ids.end(), changes.added.begin(), changes.added.end());
    return ids;
}

std::string GroupWriter::deadListAfter() const {
    std::vector<FSItemID> dead = dead_;
    if (const auto stored = db_.get("", kDeadKey)) {
        const std::vector<FSItemID> before = unpackDeadList(*stored);
        dead.insert(dead.end(), before.begin(), before.end());
    }
    return packDeadList(sortedUnique(std::move(dead)));
}

void GroupWriter::clear() {
    lastIDBefore_ = lastID_;
    countedUp_ = false;
    records_.clear();
    items_.clear();
    children_.clear();
    goneFolders_.clear();
    dead_.clear();
    replaced_.clear();
}

}  // namespace kestrix
