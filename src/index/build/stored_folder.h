// What a catalog holds of one folder, to be compared with what the disk shows.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "index/lmdb/simple_lmdb.h"
#include "index/records.h"

namespace kestrix {

// An unchanged folder mostly lists in the order in which it was stored, so each name is looked for behind the
// last one found; only where that fails are the names sorted. Views look into the snapshot and live as long
// as it does. One thread.
class StoredFolder {
  public:
    // Forgets what was there and reads the children of `id`, leaving out records that do not decode.
    void load(const SimpleLMDB::Snapshot& snapshot, FSItemID id);
    void clear();

    // The child that a file of this name, as the disk has it, was stored as: of several with the name the
    // first, and each once; nullptr if there is none.
    const FSItemView* take(std::string_view nameOnDisk);

  private:
    const FSItemView* takeAt(std::size_t place);
    const FSItemView* takeByName(std::string_view name);

    std::vector<FSItemView> items_;
    std::vector<bool> taken_;
    std::size_t next_ = 0;               // behind the last one taken
    std::vector<std::uint32_t> byName_;  // places in items_, sorted when first needed
};

}  // namespace kestrix
