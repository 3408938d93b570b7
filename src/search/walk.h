// The walk of one folder tree by two threads. Internal to FileSystemSearch.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "files/folder_family.h"
#include "files/mounts_below.h"
#include "search/entry_rules.h"
#include "search/file_system_search.h"

namespace kestrix {

// The folders still to be read, in the order in which they were found. Threads: any number of takers, each of
// which adds what it finds before it takes again.
class FolderQueue {
  public:
    // Some children of one family.
    struct Slice {
        std::shared_ptr<FolderFamily> family;
        std::string_view names;  // into family->childNames
    };

    void add(std::shared_ptr<FolderFamily> family);

    // The next slice; waits while other takers are still at work that may bring new families. False when none
    // is left and nobody is at work, or after stop. `beforeWaiting` runs, without the lock, before a wait.
    template <typename BeforeWaiting>
    bool take(Slice& slice, BeforeWaiting beforeWaiting);

    // The taker that got the slice is done with it.
    void finished();

    // Every take from now on answers false.
    void stop();

  private:
    bool takeNow(Slice& slice);

    // So that one folder with very many children is shared out, and small ones cost one lock each.
    static constexpr std::size_t kNamesPerSlice = 16;

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::shared_ptr<FolderFamily>> families_;
    std::size_t offset_ = 0;  // into the first family's names
    int working_ = 0;
    int waiting_ = 0;
    bool stopped_ = false;
};

// Walks one start folder. Lives for one walk.
class Walk {
  public:
    struct Rules {
        EntryRules entries;
        MountsBelow mounts;
        bool attributes = true;  // read size and dates of what matched
    };

    Walk(Rules rules, const SearchDataSource& source, SearchDataSourceDelegate& handler,
         WalkCounters& counters, const std::atomic<bool>& canceled);

    // Returns when all is read or the walk was stopped. The start counts as an ordinary folder whatever it
    // is.
    void run(DiskKey diskKey);

  private:
    class Worker;

    bool stopped() const { return canceled_ || handler_.shouldStop(); }

    Rules rules_;
    const SearchDataSource& source_;
    SearchDataSourceDelegate& handler_;
    WalkCounters& counters_;
    const std::atomic<bool>& canceled_;
    FolderFamilies families_;
    FolderQueue queue_;
};

template <typename BeforeWaiting>
bool FolderQueue::take(Slice& slice, BeforeWaiting beforeWaiting) {
    {
        std::lock_guard hold(mutex_);
        if (takeNow(slice)) return true;
        if (stopped_ || working_ == 0) return false;
    }
    beforeWaiting();
    std::unique_lock hold(mutex_);
    ++waiting_;
    changed_.wait(hold, [&] { return stopped_ || working_ == 0 || !families_.empty(); });
    --waiting_;
    return takeNow(slice);
}

}  // namespace kestrix
