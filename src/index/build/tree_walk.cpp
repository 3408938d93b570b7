#include "index/build/tree_walk.h"

#include <condition_variable>
#include <list>
#include <mutex>

#include "base/operation_queue.h"
#include "base/path.h"
#include "files/folder_family.h"
#include "files/mounts_below.h"

namespace kestrix {

namespace {

constexpr int kWorkers = 2;

// Entries that may lie listed ahead. Workers rest above it, and begin again at half of it, so that nobody is
// woken for a single folder: a sleep and a wake cost as much as listing a small one.
constexpr std::size_t kMostAhead = 65'536;
// The taker is not woken for less than this, unless there is no more to come or it has waited for long.
constexpr std::size_t kWorthWaking = 4096;
constexpr Seconds kLongestWait{0.05};

// How many entries of one large folder are read between two looks at whether the walk was stopped.
constexpr std::size_t kEntriesBetweenStopTests = 1024;

// Names that end a line or a part of a stored path.
bool isLeftOut(std::string_view name) {
    return name.find_first_of(":\r\n") != std::string_view::npos;
}

// Of another system's folder on this disk only what lies directly in it is listed: its thousands of parts are
// of no use to anyone here.
bool isForeignSystem(std::string_view name) {
    return name == "Windows" || name == "Windows.old";
}

// A folder on its way from being found to being taken.
struct Node {
    std::shared_ptr<FolderFamily> family;  // what it lies in; none: a start
    const char* name = nullptr;            // in the family's names; for a start its path
    const MountsBelow* mounts = nullptr;
    bool claimed = false;                    // a worker is at it
    std::unique_ptr<ListedFolder> listed;    // when it is done
    std::list<Node*>::iterator placeToList;  // while it is not
    std::list<Node>::iterator place;         // its own, in the order of taking
};

// One worker's share: its buffer and scratch strings.
class Lister {
  public:
    Lister(FolderFamilies& families, const Clock& clock, const std::atomic<bool>& stop)
        : families_(families), clock_(clock), stop_(stop) {}

    // The children of `node` go to `children` in the order in which they are taken.
    std::unique_ptr<ListedFolder> list(const Node& node, std::list<Node>& children) {
        auto folder = std::make_unique<ListedFolder>();
        folder->listedAt = clock_.now();
        OpenDirectory directory;
        folder->path = node.family ? path::join(node.family->path, node.name) : std::string(node.name);
        folder->errorNumber = open(node, *folder, directory);
        if (folder->errorNumber == 0 && directory.isOpen()) {
            childNames_.clear();
            names_.clear();
            files_.clear();
            nameEnds_.clear();
            readEntries(directory, *folder, node.family && isForeignSystem(node.name));
            nameFiles(*folder);
            if (!childNames_.empty()) makeFamily(std::move(directory), *folder, node, children);
        }
        return folder;
    }

  private:
    static int open(const Node& node, ListedFolder& folder, OpenDirectory& directory) {
        if (!node.family) {
            if (const int error = openAnyPath(directory, folder.path)) return error;
            return directory.attributesOf(".", folder.attributes);
        }
        if (const int error = node.family->open()) return error;
        const OpenDirectory& parent = node.family->directory;
        if (!isToBeEntered(node, folder.path)) return parent.attributesOf(node.name, folder.attributes);
        // An open folder tells about itself without being looked up by name again.
        if (const int error = directory.openAt(parent, node.name)) {
            parent.attributesOf(node.name, folder.attributes);
            return error;
        }
        return directory.attributesOf(".", folder.attributes);
    }

    static bool isToBeEntered(const Node& node, const std::string& path) {
        if (std::string_view(node.name) == "Backups.backupdb") return false;
        if (node.mounts->empty()) return true;
        const auto mount = node.mounts->find(path);
        return mount == node.mounts->end() || mount->second.enter;
    }

    void readEntries(const OpenDirectory& directory, ListedFolder& folder, bool filesOnly) {
        DirectoryEntry entry;
        std::size_t count = 0;
        reader_.start(directory);
        while (reader_.next(entry)) {
            if (++count % kEntriesBetweenStopTests == 0 && stop_) return;
            if (entry.type == EntryType::other || isLeftOut(entry.name)) continue;
            if (entry.type != EntryType::directory) {
                takeFile(directory, entry);
            }
            if (entry.type == EntryType::directory && !filesOnly) {
                childNames_.append(entry.name).push_back('\0');
            }
        }
        folder.errorNumber = reader_.error();
    }

    // An entry whose file system tells no type learns it here.
    void takeFile(const OpenDirectory& directory, DirectoryEntry& entry) {
        FileAttributes attributes;
        if (directory.attributesOf(entry.name.data(), attributes) != 0) return;
        entry.type = attributes.type;
        if (entry.type != EntryType::file) return;
        files_.push_back({{}, attributes.size, attributes.modified, attributes.created});
        names_.append(entry.name);
        nameEnds_.push_back(names_.size());
    }

    // What was gathered in buffers that serve every folder is handed over in two pieces of the right size.
    void nameFiles(ListedFolder& folder) {
        folder.names = names_;
        folder.files = files_;
        std::size_t begin = 0;
        for (std::size_t i = 0; i < folder.files.size(); ++i) {
            folder.files[i].name = std::string_view(folder.names).substr(begin, nameEnds_[i] - begin);
            begin = nameEnds_[i];
        }
    }

    void makeFamily(OpenDirectory directory, ListedFolder& folder, const Node& node,
                    std::list<Node>& children) {
        auto family = families_.make(std::move(directory), folder.path, {}, childNames_);
        const std::string_view names = family->childNames;
        for (std::size_t at = 0; at < names.size();) {
            const std::string_view name(names.data() + at);
            folder.folders.push_back(name);
            Node& child = children.emplace_front();
            child.family = family;
            child.name = name.data();
            child.mounts = node.mounts;
            child.place = children.begin();
            at += name.size() + 1;
        }
        folder.family = std::move(family);
    }

    FolderFamilies& families_;
    const Clock& clock_;
    const std::atomic<bool>& stop_;
    DirectoryReader reader_;
    std::string childNames_;
    std::string names_;
    std::vector<ListedFile> files_;
    std::vector<std::size_t> nameEnds_;
};

}  // namespace

// Everything below `mutex` is guarded by it, but what hangs on a claimed node belongs to its worker.
struct TreeWalk::State {
    State(const std::vector<std::string>& startPaths, const DiskInfoManager& disks, Clock& time,
          const std::atomic<bool>& stopWish)
        : starts(startPaths), clock(time), stop(stopWish) {
        for (const std::string& start : starts) {
            mounts.push_back(std::make_unique<MountsBelow>(mountsBelow(start, starts, disks)));
            Node& node = order.emplace_front();
            node.name = start.c_str();
            node.mounts = mounts.back().get();
            node.place = order.begin();
            node.placeToList = toList.insert(toList.begin(), &node);
        }
    }

    const std::vector<std::string> starts;
    std::vector<std::unique_ptr<MountsBelow>> mounts;
    Clock& clock;
    const std::atomic<bool>& stop;
    FolderFamilies families;

    std::mutex mutex;
    std::condition_variable forWorkers;
    std::condition_variable forTaker;
    std::list<Node> order;    // as they will be taken
    std::list<Node*> toList;  // those of them not listed yet; at most one a worker is claimed
    std::size_t ahead = 0;    // entries listed and not taken
    int resting = 0;          // workers
    bool takerWaits = false;
    bool ended = false;

    std::unique_ptr<OperationQueue> workers;  // last: it ends first

    void work();
    Node* claim();
    bool isWorthTaking() const;
    void finish(Node& node, std::unique_ptr<ListedFolder> listed, std::list<Node> children);
    std::unique_ptr<ListedFolder> take();
};

// The folder to list next; nullptr when there are none left. Above the bound only the one that the taker
// waits for is listed.
Node* TreeWalk::State::claim() {
    std::unique_lock hold(mutex);
    for (;;) {
        if (ended || stop || toList.empty()) return nullptr;
        auto first = toList.begin();
        while (first != toList.end() && (*first)->claimed) {
            ++first;
        }
        if (first != toList.end() && (ahead < kMostAhead || *first == &order.front())) {
            (*first)->claimed = true;
            return *first;
        }
        ++resting;
        forWorkers.wait(hold);
        --resting;
    }
}

void TreeWalk::State::work() {
    Lister lister(families, clock, stop);
    while (Node* node = claim()) {
        std::list<Node> children;
        auto listed = lister.list(*node, children);
        finish(*node, std::move(listed), std::move(children));
    }
    std::lock_guard hold(mutex);
    if (takerWaits) forTaker.notify_one();
}

bool TreeWalk::State::isWorthTaking() const {
    if (order.empty() || stop) return true;
    return order.front().listed && (ahead >= kWorthWaking || toList.empty());
}

void TreeWalk::State::finish(Node& node, std::unique_ptr<ListedFolder> listed, std::list<Node> children) {
    std::list<Node*> more;
    for (Node& child : children)
        child.placeToList = more.insert(more.end(), &child);
    std::lock_guard hold(mutex);
    ahead += listed->files.size() + 1;
    node.listed = std::move(listed);
    toList.splice(node.placeToList, more);
    toList.erase(node.placeToList);
    order.splice(std::next(node.place), children);
    if (resting > 0) forWorkers.notify_all();
    if (takerWaits && isWorthTaking()) forTaker.notify_one();
}

std::unique_ptr<ListedFolder> TreeWalk::State::take() {
    std::unique_ptr<ListedFolder> taken = std::move(order.front().listed);
    order.pop_front();
    const std::size_t before = ahead;
    ahead -= taken->files.size() + 1;
    if (resting > 0 && before >= kMostAhead / 2 && ahead < kMostAhead / 2) forWorkers.notify_all();
    return taken;
}

TreeWalk::TreeWalk(const std::vector<std::string>& starts, const DiskInfoManager& disks, Clock& clock,
                   const std::atomic<bool>& stop)
    : state_(std::make_unique<State>(starts, disks, clock, stop)) {
    state_->workers = std::make_unique<OperationQueue>(kWorkers, "catalog walk");
    for (int i = 0; i < kWorkers; ++i)
        state_->workers->add([state = state_.get()] { state->work(); });
}

TreeWalk::~TreeWalk() {
    {
        std::lock_guard hold(state_->mutex);
        state_->ended = true;
        state_->forWorkers.notify_all();
    }
    state_->workers->waitUntilAllOperationsAreFinished();
}

std::unique_ptr<ListedFolder> TreeWalk::next() {
    std::unique_lock hold(state_->mutex);
    while (!state_->order.empty() && !state_->stop) {
        state_->takerWaits = true;
        const SteadyTime until = later(state_->clock.steadyNow(), kLongestWait);
        state_->clock.waitUntil(hold, state_->forTaker, until, [this] { return state_->isWorthTaking(); });
        state_->takerWaits = false;
        if (!state_->order.empty() && state_->order.front().listed && !state_->stop) return state_->take();
    }
    return nullptr;
}

std::unique_ptr<ListedFolder> TreeWalk::nextIfListed() {
    std::lock_guard hold(state_->mutex);
    if (state_->order.empty() || !state_->order.front().listed || state_->stop) return nullptr;
    return state_->take();
}

}  // namespace kestrix
