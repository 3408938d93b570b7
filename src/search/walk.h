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
#include <unordered_map>
#include <vector>

#include "language/commands/simple_commands.h"
#include "platform/directory.h"
#include "search/file_system_search.h"

namespace kestrix {

// What lies mounted below the start of a walk, and whether the walk goes in.
struct MountBelow {
    bool enter = false;
    DiskKey diskKey;
};
using MountsBelow = std::unordered_map<std::string, MountBelow>;

// The mounts below `start`. A walk enters local file systems; it stays out of pseudo and network ones, of
// `otherTargets` (they are walked on their own), and of bind mounts that show a folder they lie in
// themselves.
MountsBelow mountsBelow(std::string_view start, const std::vector<std::string>& otherTargets,
                        const DiskInfoManager& disks);

// A folder that has been listed, with the names of its child folders that are still to be read.
struct FolderFamily {
    std::string path;
    DiskKey diskKey;
    std::string childNames;  // each with its null byte

    // Kept open from the listing while few families are; otherwise opened again when the first child is read.
    OpenDirectory directory;
    std::mutex opening;
    bool holdsOpenSlot = false;
};

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

    // Whether one more family may stay open.
    bool takeOpenSlot();
    void giveOpenSlotBack();

  private:
    bool takeNow(Slice& slice);

    // So that one folder with very many children is shared out, and small ones cost one lock each.
    static constexpr std::size_t kNamesPerSlice = 16;
    // Open folders at a time. Well below the usual limit of 1,024 open files a process, and enough that in
    // most trees no folder is opened twice.
    static constexpr int kOpenFolders = 256;

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::shared_ptr<FolderFamily>> families_;
    std::size_t offset_ = 0;  // into the first family's names
    int working_ = 0;
    int waiting_ = 0;
    bool stopped_ = false;
    std::atomic<int> openFolders_ = 0;
};

// Walks one start folder. Lives for one walk.
class Walk {
  public:
    struct Rules {
        const QueryContainer& query;
        std::string start;
        MountsBelow mounts;
        bool invisibleItems = false;  // enter hidden folders, system folders and packages
        bool attributes = true;       // read size and dates of what matched
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
    const std::shared_ptr<const MaxDepth> maxDepth_;  // or nullptr
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
