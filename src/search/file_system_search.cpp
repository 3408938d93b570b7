#include "search/file_system_search.h"

#include "search/walk.h"
#include "shell/logger.h"

namespace kestrix {

FileSystemSearch::FileSystemSearch(WalkEnvironment environment) : environment_(environment) {}

FileSystemSearch::~FileSystemSearch() = default;

void FileSystemSearch::search(std::shared_ptr<const QueryContainer> query,
                              SearchDataSourceDelegate& handler) {
    if (!query->whereLocation()) return;
    std::shared_ptr<ActivityItem> activity;
    if (environment_.activities) {
        ActivityItem::Options options;
        options.cancelTarget = weak_from_this();
        activity = environment_.activities->begin("Searching File System", "", std::move(options));
    }
    const std::vector<std::string> starts = query->whereLocation()->disksForLocations();
    for (const std::string& start : starts) {
        if (handler.shouldStop() || userCanceled_) break;
        walk(*query, start, starts, handler);
    }
    if (activity) environment_.activities->remove(activity->id());
}

void FileSystemSearch::walk(const QueryContainer& query, const std::string& start,
                            const std::vector<std::string>& allStarts, SearchDataSourceDelegate& handler) {
    if (Logger::shouldLog) LogFunc("Iteration " + start);
    WalkCounters uncounted;
    Walk::Rules rules{EntryRules(query, start, handler.wantsInvisibleItems()),
                      mountsBelow(start, allStarts, environment_.disks), handler.wantsAttributes()};
    Walk walk(std::move(rules), *this, handler, environment_.counters ? *environment_.counters : uncounted,
              userCanceled_);
    walk.run(environment_.disks.keyForDisk(start));
}

}  // namespace kestrix
