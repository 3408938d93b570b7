#include "search/walk.h"

#include <chrono>
#include <cstring>

#include "base/operation_queue.h"

namespace kestrix {

namespace {

// Results gather for this long, or up to this many, before they are handed over: one hand-over wakes the
// merge, which costs more than judging a result. The first one after a silence is never held up.
constexpr auto kHandOverInterval = std::chrono::milliseconds(5);
constexpr std::size_t kHandOverCount = 256;

// How many entries of one large folder are read between two looks at whether the walk was stopped.
constexpr std::size_t kEntriesBetweenStopTests = 1024;

}  // namespace

void FolderQueue::add(std::shared_ptr<FolderFamily> family) {
    bool wake = false;
    {
        std::lock_guard hold(mutex_);
        families_.push_back(std::move(family));
        wake = waiting_ > 0;
    }
    if (wake) changed_.notify_one();
}

bool FolderQueue::takeNow(Slice& slice) {
    if (stopped_ || families_.empty()) return false;
    const std::string& names = families_.front()->childNames;
    std::size_t end = offset_;
    for (std::size_t count = 0; count < kNamesPerSlice && end < names.size(); ++count) {
        end += std::strlen(names.data() + end) + 1;
    }
    slice.family = families_.front();
    slice.names = std::string_view(names).substr(offset_, end - offset_);
    offset_ = end;
    if (offset_ >= names.size()) {
        families_.pop_front();
        offset_ = 0;
    }
    ++working_;
    return true;
}

void FolderQueue::finished() {
    std::lock_guard hold(mutex_);
    --working_;
    if (working_ == 0 && families_.empty()) changed_.notify_all();
}

void FolderQueue::stop() {
    std::lock_guard hold(mutex_);
    stopped_ = true;
    changed_.notify_all();
}

// One thread's share: its buffer, its scratch strings and the results it has not handed over yet.
class Walk::Worker {
  public:
    explicit Worker(Walk& walk) : walk_(walk), rules_(walk.rules_) {}

    void work() {
        FolderQueue::Slice slice;
        while (walk_.queue_.take(slice, [this] { handOver(); })) {
            readSlice(slice);
            slice.family.reset();
            walk_.queue_.finished();
            if (walk_.stopped()) walk_.queue_.stop();
        }
        handOver();
    }

    void readStart(DiskKey diskKey) {
        OpenDirectory directory;
        folder_ = rules_.entries.start();
        if (const int error = openAnyPath(directory, folder_)) return reportUnreadable(error);
        list(std::move(directory), diskKey);
        handOver();
    }

  private:
    void readSlice(FolderQueue::Slice& slice) {
        FolderFamily& family = *slice.family;
        if (const int error = family.open()) {
            folder_ = family.path;
            return reportUnreadable(error);
        }
        for (std::size_t at = 0; at < slice.names.size() && !walk_.stopped();) {
            const char* name = slice.names.data() + at;
            const std::size_t length = std::strlen(name);
            readChild(family, name, length);
            handOverIfDue();
            at += length + 1;
        }
    }

    void readChild(FolderFamily& family, const char* name, std::size_t length) {
        setFolder(family.path, {name, length});
        DiskKey diskKey = family.diskKey;
        if (!rules_.mounts.empty()) {
            const auto mount = rules_.mounts.find(folder_);
            if (mount != rules_.mounts.end()) {
                if (!mount->second.enter) return;
                diskKey = mount->second.diskKey;
            }
        }
        OpenDirectory directory;
        if (const int error = directory.openAt(family.directory, name)) return reportUnreadable(error);
        list(std::move(directory), diskKey);
    }

    // Reads the open folder at `folder_`: what matches becomes a result, folders in it become a family.
    void list(OpenDirectory directory, DiskKey diskKey) {
        childNames_.clear();
        std::int64_t entries = 0;
        std::int64_t folders = 0;
        const bool goesDeeper = rules_.entries.entersChildrenOf(folder_);
        DirectoryEntry entry;
        reader_.start(directory);
        while (reader_.next(entry)) {
            if (++entries % kEntriesBetweenStopTests == 0 && walk_.stopped()) return;
            if (entry.type == EntryType::unknown) entry.type = askType(directory, entry.name.data());
            if (entry.type == EntryType::other || entry.type == EntryType::unknown) continue;
            const bool isFolder = entry.type == EntryType::directory;
            if (rules_.entries.takesName(entry.name)) addResult(directory, entry.name, isFolder, diskKey);
            if (found_.size() >= kHandOverCount) handOver();
            if (isFolder && ++folders && goesDeeper && rules_.entries.enters(folder_, entry.name)) {
                childNames_.append(entry.name).push_back('\0');
            }
        }
        walk_.counters_.entries += entries;
        report(folders);
        if (countsAsUnreadable(reader_.error())) reportUnreadable(reader_.error());
        if (!childNames_.empty()) addFamily(std::move(directory), diskKey);
    }

    static EntryType askType(const OpenDirectory& directory, const char* name) {
        FileAttributes attributes;
        return directory.attributesOf(name, attributes) == 0 ? attributes.type : EntryType::unknown;
    }

    // A path is built only for what passes all that can be told without one.
    void addResult(const OpenDirectory& directory, std::string_view name, bool isFolder, DiskKey diskKey) {
        FileAttributes attributes;
        const bool known = rules_.attributes && directory.attributesOf(name.data(), attributes) == 0;
        if (isFolder) attributes.size = 0;
        if (known && rules_.entries.isRuledOut(attributes.size, attributes.modified.seconds,
                                               attributes.created.seconds)) {
            return;
        }
        SearchResult& result = found_.emplace_back();
        result.searchResultSuppliedBy = SearchResultSupplier::fileSystem;
        result.diskKey = diskKey;
        result.isDirectory = isFolder;
        result.path.reserve(folder_.size() + 1 + name.size());
        result.path.append(folder_);
        if (result.path.back() != '/') result.path.push_back('/');
        result.path.append(name);
        result.size = attributes.size;
        result.modDate = attributes.modified.seconds;
        result.creationDate = attributes.created.seconds;
        result.lastAccessDate = attributes.accessed.seconds;
    }

    void addFamily(OpenDirectory directory, DiskKey diskKey) {
        walk_.queue_.add(walk_.families_.make(std::move(directory), folder_, diskKey, childNames_));
    }

    void report(std::int64_t newFolders) {
        if (newFolders == 0) return;
        const std::int64_t total = walk_.counters_.directories += newFolders;
        walk_.handler_.searchDataSourceProgress(walk_.source_, total, rules_.entries.start());
    }

    void reportUnreadable(int error) {
        if (!countsAsUnreadable(error)) return;
        ++walk_.counters_.unreadable;
        walk_.handler_.searchErrorOccured(error, folder_);
    }

    void handOverIfDue() {
        if (found_.empty()) return;
        if (found_.size() >= kHandOverCount ||
            std::chrono::steady_clock::now() - lastHandOver_ >= kHandOverInterval) {
            handOver();
        }
    }

    void handOver() {
        if (found_.empty()) return;
        walk_.handler_.searchResults(std::move(found_), walk_.source_);
        found_ = {};
        lastHandOver_ = std::chrono::steady_clock::now();
    }

    void setFolder(const std::string& parent, std::string_view name) {
        folder_.assign(parent);
        if (folder_.back() != '/') folder_.push_back('/');
        folder_.append(name);
    }

    Walk& walk_;
    const Rules& rules_;
    DirectoryReader reader_;
    std::string folder_;      // the folder being read
    std::string childNames_;  // of its child folders
    std::vector<SearchResult> found_;
    std::chrono::steady_clock::time_point lastHandOver_;
};

Walk::Walk(Rules rules, const SearchDataSource& source, SearchDataSourceDelegate& handler,
           WalkCounters& counters, const std::atomic<bool>& canceled)
    : rules_(std::move(rules)),
      source_(source),
      handler_(handler),
      counters_(counters),
      canceled_(canceled) {}

void Walk::run(DiskKey diskKey) {
    Worker(*this).readStart(diskKey);
    OperationQueue threads(FileSystemSearch::kThreads, "walk");
    for (int i = 0; i < FileSystemSearch::kThreads; ++i) {
        threads.add([this] { Worker(*this).work(); });
    }
    threads.waitUntilAllOperationsAreFinished();
}

}  // namespace kestrix
