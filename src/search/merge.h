// The merge of one search: takes what the sources found, lets each path through once, and keeps what the
// query wants.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

#include "base/clock.h"
#include "base/key_set.h"
#include "base/lock.h"
#include "base/operation_queue.h"
#include "search/merge_queue.h"
#include "search/path_judge.h"
#include "search/search_data_source.h"

namespace kestrix {

// What a merge works for and with. `feedback` and `clock` outlive it; `deliver` is called by its workers, up
// to three at once.
struct MergeSetup {
    std::shared_ptr<const QueryContainer> query;
    bool searchInsideSystemAndApps = false;
    bool attributes = true;  // records of expanded folders are read from the disk
    SearchDataSourceDelegate& feedback;
    Clock& clock;
    std::function<void(std::vector<SearchResult> survivors)> deliver;
};

// Threads: `run` is called once, on a background thread; what it needs of others goes through the queue.
// Order: items of one slice keep theirs, and an item is delivered in one call with the folders it was
// expanded to; slices overtake one another.
class Merge {
  public:
    static constexpr std::size_t kWidth = 3;

    Merge(MergeQueue& queue, MergeSetup setup);

    // Judges what comes out of the queue until the queue says that it was all. Returns when the last worker
    // has ended.
    void run();

  private:
    struct Work;

    void judgeSlice(MergeSlice slice);
    std::shared_ptr<Work> pickNew(MergeSlice slice);
    void judge(const std::shared_ptr<Work>& work, std::size_t first, std::size_t last);
    void shareOut(const std::shared_ptr<Work>& work, std::size_t first, std::size_t last);
    bool passes(SearchResult& item, PathJudge& paths) const;

    MergeQueue& queue_;
    const MergeSetup setup_;
    const bool canBeSlow_;
    // One set serves for judging and for showing: its keys are made of the paths as they were delivered, so a
    // second look-up under the same key after judging could never reject anything.
    Locked<KeySet> alreadyFiltered_;
    OperationQueue workers_{kWidth, "merge workers"};
};

}  // namespace kestrix
