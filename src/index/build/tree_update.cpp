#include "index/build/tree_update.h"

#include <unordered_set>

#include "base/path.h"
#include "files/folder_family.h"
#include "shell/logger.h"

namespace kestrix {

namespace {

// A file system may keep no finer dates than this.
constexpr double kCoarsestDate = 2.0;
// Where it does, a change is dated by the kernel's clock, which ticks 250 times a second or more often. Not
// longer: a script that makes files and a catalog of them at once is ten milliseconds ahead of the look, and
// its next update must find nothing to do. (From Linux 6.13 on a file that was looked at is dated exactly.)
constexpr double kTick = 0.005;

double secondsSince2001(const Timestamp& date) {
    return static_cast<double>(date.seconds - kSecondsFrom1970To2001) + date.nanoseconds * 1e-9;
}

// How much earlier than it happened a change may be dated.
double slackOf(const Timestamp& date) {
    return date.nanoseconds == 0 ? kCoarsestDate : kTick;
}

}  // namespace

TreeUpdate::TreeUpdate(GroupWriter& writer, Rules rules, const std::atomic<bool>& stop)
    : writer_(writer), rules_(std::move(rules)), stop_(stop) {}

void TreeUpdate::take(const ListedFolder& folder, const SimpleLMDB::Snapshot& snapshot) {
    const Place place = places_.back();
    places_.pop_back();
    if (countsAsUnreadable(folder.errorNumber)) {
        ++unreadable_;
        if (Logger::shouldLog) LogFunc("Cannot read " + folder.path);
    }
    if (!place.isTarget && folder.attributes.type != EntryType::directory) return;
    const FSItemID id = place.isTarget ? kNoParent : enter(place, folder, snapshot);
    if (place.isTarget || id == place.stored) {
        stored_.load(snapshot, id);
    } else {
        stored_.clear();
    }
    for (const ListedFile& file : folder.files) {
        if (stop_) return;
        takeFile(file, id, folder, snapshot);
    }
    placeFolders(folder, id);
}

// The folder's own item: made, or brought up to date. Dates of folders are kept current although no search
// compares files by them: a folder's item must not depend on how old the catalog is.
FSItemID TreeUpdate::enter(const Place& place, const ListedFolder& folder,
                           const SimpleLMDB::Snapshot& snapshot) {
    FSItemView item{.fsid = place.stored,
                    .parentID = place.parent,
                    .type = FSItemType::directory,
                    .creationDate = creationDateToInt32(folder.attributes.created),
                    .modificationDate = dateToInt32(folder.attributes.modified),
                    .name = path::lastComponent(folder.path),
                    .version = 1,
                    .size = 0};
    if (place.stored != kNoParent && place.storedType == FSItemType::directory) {
        if (place.storedModified != item.modificationDate) writer_.update(item);
        return place.stored;
    }
    if (place.stored != kNoParent) {
        remove({.fsid = place.stored, .parentID = place.parent, .type = place.storedType}, snapshot);
    }
    item.fsid = writer_.nextID();
    writer_.add(item);
    return item.fsid;
}

void TreeUpdate::takeFile(const ListedFile& file, FSItemID parent, const ListedFolder& folder,
                          const SimpleLMDB::Snapshot& snapshot) {
    ++files_;
    const FSItemView* stored = stored_.take(file.name);
    const bool wasFile = stored && stored->type == FSItemType::file;
    if (stored && !wasFile) remove(*stored, snapshot);
    const bool isNew = !wasFile || !isUnchanged(file, *stored, folder.listedAt);
    const FSItemView item = isNew ? newItem(file, parent) : *stored;
    if (isNew && wasFile) {
        writer_.replace(*stored, item, rules_.notesDead);
    } else if (isNew) {
        writer_.add(item);
    }
    const bool isWanted = rules_.wantsAllFiles || (rules_.wantsNewFiles && isNew);
    const bool isYoung = secondsSince2001(file.modified) >= secondsSince2001(folder.listedAt) - kCoarsestDate;
    if (!isWanted && !isYoung && rules_.wantedAgain.empty()) return;
    std::string path = path::join(folder.path, file.name);
    if (isYoung) {
        YoungFile& young = young_[path] = {item, file.modified};
        young.item.name = {};
    }
    if (isWanted || rules_.wantedAgain.contains(path))
        filesToRead_.push_back({item.fsid, std::move(path), file.size});
}

// A date that lies ahead is nobody's change, and must not cost a reading at each build.
bool TreeUpdate::isUnchanged(const ListedFile& file, const FSItemView& stored, WallTime listedAt) const {
    if (differsFromStored(file.modified, stored.modificationDate)) return false;
    const double date = secondsSince2001(file.modified);
    const bool isDoubtful = date >= rules_.lookedAt - slackOf(file.modified) &&
                            date <= secondsSince2001(listedAt) + kCoarsestDate;
    // Without words the size is all that a change can have left untrue.
    return !isDoubtful || (!rules_.wantsNewFiles && stored.size == static_cast<std::int64_t>(file.size));
}

FSItemView TreeUpdate::newItem(const ListedFile& file, FSItemID parent) {
    return {.fsid = writer_.nextID(),
            .parentID = parent,
            .type = FSItemType::file,
            .creationDate = creationDateToInt32(file.created),
            .modificationDate = dateToInt32(file.modified),
            .name = file.name,
            .version = 1,
            .size = static_cast<std::int64_t>(file.size)};
}

// A change that the stored date shows waits for the next build; else a log would be read again at each end.
void TreeUpdate::lookAgain() {
    for (const auto& [path, young] : std::exchange(young_, {})) {
        if (stop_) return;
        FileAttributes now;
        if (readAttributes(path, false, now) != 0 || now.type != EntryType::file) continue;
        const bool isSame =
            now.modified == young.modified && static_cast<std::int64_t>(now.size) == young.item.size;
        if (isSame || differsFromStored(now.modified, young.item.modificationDate)) continue;
        const ListedFile file{path::lastComponent(path), now.size, now.modified, now.created};
        const FSItemView item = newItem(file, young.item.parentID);
        writer_.replace(young.item, item, rules_.notesDead);
        if (rules_.wantsNewFiles) filesToRead_.push_back({item.fsid, path, now.size});
    }
}

// Folders were stored in the order in which the walk took them, the last one first.
void TreeUpdate::placeFolders(const ListedFolder& folder, FSItemID parent) {
    std::size_t place = places_.size() + folder.folders.size();
    places_.resize(place);
    for (auto name = folder.folders.rbegin(); name != folder.folders.rend(); ++name) {
        const FSItemView* stored = stored_.take(*name);
        places_[--place] = stored ? Place{parent, false, stored->fsid, stored->type, stored->modificationDate}
                                  : Place{.parent = parent};
    }
}

// A damaged catalog may hold circles.
void TreeUpdate::remove(FSItemView item, const SimpleLMDB::Snapshot& snapshot) {
    std::vector<FSItemView> going = {item};
    std::unordered_set<FSItemID> known;
    while (!going.empty()) {
        item = going.back();
        going.pop_back();
        if (!known.insert(item.fsid).second) continue;
        writer_.remove(item, rules_.notesDead);
        if (item.type != FSItemType::directory) continue;
        for (const FSItemID child : unpackChildList(snapshot.get(childrenKey(item.fsid)).value_or(""))) {
            const auto record = snapshot.get(itemKey(child));
            const auto stored = record ? decodeFSItem(*record) : std::nullopt;
            going.push_back(
                {.fsid = child, .parentID = item.fsid, .type = stored ? stored->type : FSItemType::file});
        }
    }
}

}  // namespace kestrix
