#include "search/walk.h"

#include <cerrno>
#include <chrono>
#include <cstring>

#include "base/operation_queue.h"
#include "base/path.h"
#include "files/fs_utilities.h"

namespace kestrix {

namespace {

// Results gather for this long, or up to this many, before they are handed over: one hand-over wakes the
// merge, which costs more than judging a result. The first one after a silence is never held up.
constexpr auto kHandOverInterval = std::chrono::milliseconds(5);
constexpr std::size_t kHandOverCount = 256;

// How many entries of one large folder are read between two looks at whether the walk was stopped.
constexpr std::size_t kEntriesBetweenStopTests = 1024;

// A range that ends "now" was worked out when the line was read, and moves on while the search runs: the end
// of a range of dates rules a file out only from this many seconds on.
constexpr std::int64_t kRangeAge = 86'400;

// The longest path that one system call takes, with room for its null byte.
constexpr std::size_t kLongestPath = 4095;

// Opens a folder whose path may be longer than the system takes at once: piece by piece, each relative to the
// last.
int openAnyPath(OpenDirectory& directory, const std::string& folder) {
    if (folder.size() <= kLongestPath) return directory.open(folder);
    std::size_t end = folder.rfind('/', kLongestPath);
    int error = directory.open(folder.substr(0, end));
    while (error == 0 && end < folder.size()) {
        const std::size_t from = end + 1;
        end = folder.size() - from <= kLongestPath ? folder.size() : folder.rfind('/', from + kLongestPath);
        OpenDirectory next;
        error = next.openAt(directory, folder.substr(from, end - from).c_str());
        directory = std::move(next);
    }
    return error;
}

// A folder that went away while the walk was on its way to it is no failure: it was not there to be read.
bool countsAsUnreadable(int error) {
    return error != 0 && error != ENOENT && error != ENOTDIR && error != ELOOP;
}

// Whether a bind mount shows a folder that it lies in itself, so that going in would show the same things
// again.
bool showsItsOwnParent(const Mount& mount, const std::vector<Mount>& all) {
    const Mount* parent = nullptr;
    for (const Mount& other : all) {
        if (other.mountPoint == mount.mountPoint || !path::isOrIsBelow(mount.mountPoint, other.mountPoint))
            continue;
        if (!parent || other.mountPoint.size() > parent->mountPoint.size()) parent = &other;
    }
    if (!parent || parent->deviceId != mount.deviceId) return false;
    std::string_view below = mount.mountPoint;
    below.remove_prefix(parent->mountPoint == "/" ? 1 : parent->mountPoint.size() + 1);
    return path::isOrIsBelow(path::join(parent->root, below), mount.root);
}

}  // namespace

MountsBelow mountsBelow(std::string_view start, const std::vector<std::string>& otherTargets,
                        const DiskInfoManager& disks) {
    MountsBelow below;
    const std::vector<Mount> all = disks.mounts();
    for (const Mount& mount : all) {
        if (mount.mountPoint == start || !path::isOrIsBelow(mount.mountPoint, start)) continue;
        bool enter = !isPseudoFileSystem(mount.fileSystem) && !isNetworkFileSystem(mount.fileSystem) &&
                     !showsItsOwnParent(mount, all);
        for (const std::string& target : otherTargets) {
            enter = enter && target != mount.mountPoint;
        }
        below[mount.mountPoint] = {enter, enter ? disks.keyForMount(mount) : DiskKey()};
    }
    return below;
}

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

bool FolderQueue::takeOpenSlot() {
    if (openFolders_.fetch_add(1) < kOpenFolders) return true;
    --openFolders_;
    return false;
}

void FolderQueue::giveOpenSlotBack() {
    --openFolders_;
}

// One thread's share: its buffer, its scratch strings and the results it has not handed over yet.
class Walk::Worker {
  public:
    explicit Worker(Walk& walk)
        : walk_(walk), rules_(walk.rules_), takesEverything_(walk.rules_.query.isORCommandSearch()) {}

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
        folder_ = rules_.start;
        if (const int error = openAnyPath(directory, folder_)) return reportUnreadable(error);
        list(std::move(directory), diskKey);
        handOver();
    }

  private:
    void readSlice(FolderQueue::Slice& slice) {
        FolderFamily& family = *slice.family;
        if (const int error = openFamily(family)) {
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

    int openFamily(FolderFamily& family) {
        std::lock_guard hold(family.opening);
        return family.directory.isOpen() ? 0 : openAnyPath(family.directory, family.path);
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
        const bool goesDeeper = childrenAreToBeEntered();
        DirectoryEntry entry;
        reader_.start(directory);
        while (reader_.next(entry)) {
            if (++entries % kEntriesBetweenStopTests == 0 && walk_.stopped()) return;
            if (entry.type == EntryType::unknown) entry.type = askType(directory, entry.name.data());
            if (entry.type == EntryType::other || entry.type == EntryType::unknown) continue;
            const bool isFolder = entry.type == EntryType::directory;
            if (matches(entry.name)) addResult(directory, entry.name, isFolder, diskKey);
            if (found_.size() >= kHandOverCount) handOver();
            if (isFolder && ++folders && goesDeeper && isToBeEntered(entry.name)) {
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

    bool matches(std::string_view name) const {
        return takesEverything_ || rules_.query.fsItemNameStringIncludesWordsFromQuery(name);
    }

    // A path is built only for what passes all that can be told without one.
    void addResult(const OpenDirectory& directory, std::string_view name, bool isFolder, DiskKey diskKey) {
        FileAttributes attributes;
        const bool known = rules_.attributes && directory.attributesOf(name.data(), attributes) == 0;
        if (isFolder) attributes.size = 0;
        if (known && !takesEverything_ && isRuledOut(attributes)) return;
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

    // The commands of the line are the judges; this only spares them what they are sure to turn down.
    bool isRuledOut(const FileAttributes& attributes) const {
        const QuerySearchArguments& wanted = rules_.query.querySearchArguments();
        const auto isOutside = [](const std::optional<NumberRange>& range, std::int64_t date) {
            if (!range) return false;
            return date < range->lowerBound ||
                   (date >= range->upperBound && date - range->upperBound >= kRangeAge);
        };
        return (wanted.fileSize && !wanted.fileSize->contains(static_cast<std::int64_t>(attributes.size))) ||
               isOutside(wanted.modificationDate, attributes.modified.seconds) ||
               isOutside(wanted.creationDate, attributes.created.seconds);
    }

    // Whether the folders in `folder_` lie high enough.
    bool childrenAreToBeEntered() const {
        return !walk_.maxDepth_ || walk_.maxDepth_->letsEnterChildrenOf(folder_);
    }

    bool isToBeEntered(std::string_view name) {
        if (name == "Backups.backupdb") return false;
        if (rules_.invisibleItems) return true;
        if (FSUtilities::isClosedFolderName(name)) return false;
        child_.assign(folder_);
        if (child_.back() != '/') child_.push_back('/');
        child_.append(name);
        return !FSUtilities::isInsideOSDirectory(child_, rules_.start);
    }

    void addFamily(OpenDirectory directory, DiskKey diskKey) {
        FolderQueue& queue = walk_.queue_;
        const bool staysOpen = queue.takeOpenSlot();
        auto family = std::shared_ptr<FolderFamily>(new FolderFamily, [&queue](FolderFamily* ended) {
            if (ended->holdsOpenSlot) queue.giveOpenSlotBack();
            delete ended;
        });
        family->path = folder_;
        family->diskKey = diskKey;
        family->childNames = childNames_;
        family->holdsOpenSlot = staysOpen;
        if (staysOpen) family->directory = std::move(directory);
        queue.add(std::move(family));
    }

    void report(std::int64_t newFolders) {
        if (newFolders == 0) return;
        const std::int64_t total = walk_.counters_.directories += newFolders;
        walk_.handler_.searchDataSourceProgress(walk_.source_, total, rules_.start);
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
    const bool takesEverything_;  // what does not hold the words may still satisfy the commands
    DirectoryReader reader_;
    std::string folder_;      // the folder being read
    std::string childNames_;  // of its child folders
    std::string child_;       // scratch
    std::vector<SearchResult> found_;
    std::chrono::steady_clock::time_point lastHandOver_;
};

Walk::Walk(Rules rules, const SearchDataSource& source, SearchDataSourceDelegate& handler,
           WalkCounters& counters, const std::atomic<bool>& canceled)
    : rules_(std::move(rules)),
      source_(source),
      handler_(handler),
      counters_(counters),
      canceled_(canceled),
      maxDepth_(rules_.query.commandOfType<MaxDepth>()) {}

void Walk::run(DiskKey diskKey) {
    Worker(*this).readStart(diskKey);
    OperationQueue threads(FileSystemSearch::kThreads, "walk");
    for (int i = 0; i < FileSystemSearch::kThreads; ++i) {
        threads.add([this] { Worker(*this).work(); });
    }
    threads.waitUntilAllOperationsAreFinished();
}

}  // namespace kestrix
