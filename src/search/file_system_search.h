// The source that looks at the disks themselves.
//
// Two threads share one queue of folders to read, breadth first, so that what lies near the top of a disk is
// found first. A queue entry is a family: one folder and the names of those of its children that are folders.
// The children are opened relative to it. A family's own folder is kept open while few are (it was open when
// its children were found) and opened again by path otherwise, once for the whole family; so the walk needs
// few descriptors however wide a tree is, and paths longer than the system's limit are walked as well.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "files/disks.h"
#include "search/search_data_source.h"
#include "shell/activity.h"

namespace kestrix {

// Counted while a walk runs, for front ends that show or sum them up. Threads: any.
struct WalkCounters {
    std::atomic<std::int64_t> entries = 0;      // everything listed
    std::atomic<std::int64_t> directories = 0;  // directories discovered
    std::atomic<std::int64_t> unreadable = 0;   // directories that could not be opened or read to the end
};

// What a walk needs of the application; all of it outlives the walk.
struct WalkEnvironment {
    const DiskInfoManager& disks;
    ActivityController* activities = nullptr;  // none: the walk does not show up in the list of jobs
    WalkCounters* counters = nullptr;
};

class FileSystemSearch : public SearchDataSource,
                         public ActivityItemCancelProtocol,
                         public std::enable_shared_from_this<FileSystemSearch> {
  public:
    // Fixed, whatever the number of processors: more threads were measured to gain nothing on a disk and to
    // slow down everything beside them.
    static constexpr int kThreads = 2;

    explicit FileSystemSearch(WalkEnvironment environment);
    ~FileSystemSearch() override;

    std::string debugDescription() const override { return "FileSystemSearch"; }
    SearchResultSupplier type() const override { return SearchResultSupplier::fileSystem; }
    void search(std::shared_ptr<const QueryContainer> query, SearchDataSourceDelegate& handler) override;
    void searchShouldStop() override { userCanceled_ = true; }
    void cancel(ActivityItem&) override { userCanceled_ = true; }

  private:
    void walk(const QueryContainer& query, const std::string& start,
              const std::vector<std::string>& allStarts, SearchDataSourceDelegate& handler);

    WalkEnvironment environment_;
    std::atomic<bool> userCanceled_ = false;
};

}  // namespace kestrix
