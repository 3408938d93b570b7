// Gathers what a build has to write and puts it into the catalog in groups.
//
// A group holds items, child lists and the identifier counter of many files and goes out as one transaction
// in key order, so that the disk is synced once per group and a reader sees a whole catalog at every commit:
// an item never without its parent, a child list never without its items. A group is due at so many items,
// or some time after it began.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "base/clock.h"
#include "index/lmdb/simple_lmdb.h"
#include "index/records.h"

namespace kestrix {

// One thread: the build's. Failures: LMDBError; what the failed group held is lost, what went before stays.
class GroupWriter {
  public:
    struct Bounds {
        std::size_t mostItems = 100'000;
        Seconds longest{1.0};
    };

    // Reads the identifier counter; throws Error if it is damaged.
    GroupWriter(SimpleLMDB& db, Clock& clock, Bounds bounds);

    // A new identifier; throws Error when all 31 bits are used up.
    FSItemID nextID();

    // Adds an item to the group and to its parent's children.
    void add(const FSItemView& item);
    // Replaces the record of an item that keeps its identifier and parent.
    void update(const FSItemView& item);
    // Takes an item out, and out of its parent's children, with its own list of children if it has one. With
    // `dead`, its identifier is noted for the word index. The item must lie in the file, not in the group.
    void remove(const FSItemView& item, bool dead);

    bool isDue() const;
    // Writes the group and begins another. `more` goes into the same transaction; its keys stand behind those
    // of items and dead identifiers.
    void flush(std::span<const SimpleLMDB::Write> more = {});
    // Writes `more` before the group, with the identifier counter: no identifier that it speaks of is given
    // again, also if the group is lost.
    void writeAhead(std::span<const SimpleLMDB::Write> more);
    // Both for a file that changed: `item` takes the place of `old` in the same folder.
    void replace(const FSItemView& old, const FSItemView& item, bool dead);
    // Takes new files out of the group, as if they had not been met: what one was to replace stays.
    void leaveOut(const std::unordered_set<FSItemID>& files);
    // Removed documents: those of the file and those of the group.
    std::vector<FSItemID> deadDocuments() const;

    // Since the beginning, over all groups.
    std::int64_t itemsAdded() const { return itemsAdded_; }

  private:
    struct Children {
        std::vector<FSItemID> added;  // ascending
        std::vector<FSItemID> removed;
    };
    struct Record {
        FSItemID id;
        std::uint32_t length;  // 0: the item goes
        std::size_t offset;    // into records_
    };
    class Writes;

    bool isEmpty() const { return items_.empty() && !countedUp_; }
    void begin();
    void note(const FSItemView& item);
    std::string counter() const;
    void gather(Writes& writes);
    void gatherChildren(Writes& writes, const SimpleLMDB::Snapshot& snapshot);
    std::vector<FSItemID> takeUpNeighbours(const SimpleLMDB::Snapshot& snapshot);
    std::vector<FSItemID> childrenAfter(const Children& changes, std::string_view stored) const;
    std::string deadListAfter() const;
    void clear();

    SimpleLMDB& db_;
    Clock& clock_;
    const Bounds bounds_;
    FSItemID lastID_ = 0;
    FSItemID lastIDBefore_ = 0;  // when the group began
    bool countedUp_ = false;
    std::string records_;
    std::vector<Record> items_;
    std::unordered_map<FSItemID, Children> children_;
    std::vector<FSItemID> goneFolders_;  // their lists of children go too
    std::vector<FSItemID> dead_;
    std::unordered_map<FSItemID, FSItemID> replaced_;  // new ones, and what they replace
    SteadyTime began_;
    std::int64_t itemsAdded_ = 0;
};

}  // namespace kestrix
