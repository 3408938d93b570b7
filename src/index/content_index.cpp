#include "index/content_index.h"

#include <algorithm>
#include <cassert>

#include "base/path.h"
#include "base/text.h"
#include "base/text_dates.h"
#include "platform/directory.h"

namespace kestrix {

namespace {

constexpr std::size_t kCachedFolders = 64;

// No sound catalog is deeper; parents of a damaged one may run in a circle.
constexpr int kDeepest = 100'000;

// Leaves room below the 255 bytes of a file name for a number and the extension.
constexpr std::size_t kLongestName = 200;

Uuid idOf(const std::optional<SavedIndexInfo>& info) {
    const auto known = info && info->uuidString ? Uuid::parse(*info->uuidString) : std::nullopt;
    return known ? *known : Uuid::make();
}

std::string nameWithoutExtension(std::string_view path) {
    const std::string_view name = path::lastComponent(path);
    const std::size_t extension = path::extension(path).size();
    return std::string(name.substr(0, name.size() - (extension ? extension + 1 : 0)));
}

std::optional<std::string> tidied(std::optional<std::string> folder) {
    if (folder) folder->resize(path::withoutTrailingSlash(*folder).size());
    return folder;
}

// "name/below" becomes "/target/name/below".
std::string below(const std::optional<std::string>& target, std::string_view relative) {
    return path::join(target ? *target : "/", relative);
}

}  // namespace

std::string suggestedCatalogName(std::string_view target, const DiskInfoManager& disks) {
    target = path::withoutTrailingSlash(target);
    const std::string disk = disks.diskPathFromFullPath(target);
    const auto mount = disks.mountOf(disk);
    const std::string diskName = mount ? disks.volumeName(*mount) : std::string();
    std::string name(target == "/" ? diskName : path::lastComponent(target));
    if (disk != "/" && disk != target && !diskName.empty()) name += " on " + diskName;
    if (name.empty()) name = "Catalog";
    std::replace(name.begin(), name.end(), '/', '-');
    name = text::displayable(name);
    std::size_t end = std::min(name.size(), kLongestName);
    while (end < name.size() && end > 0 && (static_cast<unsigned char>(name[end]) & 0xC0) == 0x80)
        --end;
    name.resize(end);
    return name;
}

ContentIndex::ContentIndex(Places places, const ContentIndexEnvironment& environment,
                           const std::optional<SavedIndexInfo>& moreInfo)
    : environment_(environment),
      id_(idOf(moreInfo)),
      localDBFile_(std::move(places.localDBFile)),
      targetURL_(tidied(std::move(places.targetURL))),
      remoteDBFile_(std::move(places.remoteDBFile)) {
    if (moreInfo) takeOver(*moreInfo);
    if (displayName_.get().empty()) {
        const auto target = targetURL_.get();
        displayName_.set(target ? suggestedCatalogName(*target, environment_.disks)
                                : nameWithoutExtension(remoteDBFile_.get().value_or(localDBFile_)));
    }
    loadDocumentInfo();
}

std::shared_ptr<ContentIndex> ContentIndex::newIndex(Places places,
                                                     const ContentIndexEnvironment& environment) {
    auto index = std::make_shared<ContentIndex>(std::move(places), environment);
    index->saveDocumentInfo();
    return index;
}

ContentIndex::~ContentIndex() = default;

SavedIndexInfo ContentIndex::savedInfo() const {
    SavedIndexInfo info;
    info.displayName = displayName();
    info.localDBFilePath = localDBFile_;
    info.updatesEvery = updatesEvery_;
    info.indexMode = documentInfo().lastIndexMode;
    info.targetURL = targetURL();
    info.targetBookmark = info.targetURL;
    info.remoteDBBookmark = remoteDBFile();
    info.uuidString = id_.text();
    return info;
}

void ContentIndex::takeOver(const SavedIndexInfo& info) {
    if (!info.displayName.empty()) displayName_.set(info.displayName);
    updatesEvery_ = info.updatesEvery;
}

// An empty mount point is a folder like any other, so the disk's key has to agree as well.
bool ContentIndex::isTargetMounted() const {
    const auto target = targetURL();
    FileAttributes attributes;
    if (!target || readAttributes(*target, true, attributes) != 0) return false;
    const auto key = documentInfo().diskKey;
    return !key || environment_.disks.keyForDisk(*target).text() == *key;
}

std::uint64_t ContentIndex::cacheSizeOnDisk() const {
    FileAttributes attributes;
    return readAttributes(localDBFile_, true, attributes) == 0 ? attributes.size : 0;
}

std::string ContentIndex::displayCacheInfoForLocationMenu() const {
    const double updated = documentInfo().lastUpdated;
    if (updated == DocumentInfo::kDistantPast) return "Not cached yet";
    std::string shown = "Cached ";
    text::ShortDates().appendShortDateAndTime(shown,
                                              static_cast<std::int64_t>(updated) + kSecondsFrom1970To2001);
    return shown;
}

// The folders' lock is never taken under openLock_: reading a folder takes the two the other way round.
void ContentIndex::open() {
    folderContentsCache_.set({});
    std::lock_guard hold(openLock_);
    if (openCount_ == 0) {
        SimpleLMDB::Options options;
        options.mapSize = environment_.mapSize;
        auto db = std::make_unique<SimpleLMDB>();
        db->open(localDBFile_, options);
        db_ = std::move(db);
    }
    ++openCount_;
}

void ContentIndex::close() {
    folderContentsCache_.set({});
    std::lock_guard hold(openLock_);
    assert(openCount_ > 0);
    if (--openCount_ == 0) db_.reset();
}

SimpleLMDB& ContentIndex::db() const {
    std::lock_guard hold(openLock_);
    assert(db_);
    return *db_;
}

std::string ContentIndex::jsonAfter(const Change& change) {
    return documentInfo_.modify([&](DocumentInfo& info) {
        change(info);
        info.suggestedTarget = targetURL();
        return toJson(info);
    });
}

void ContentIndex::changeDocumentInfo(const Change& change) {
    std::lock_guard hold(loadOrSave_);
    const Session session(*this);
    const std::string json = jsonAfter(change);
    const SimpleLMDB::Write write{kDocumentInfoKey, json};
    db().write({&write, 1});
}

void ContentIndex::startAnew(const Change& change) {
    std::lock_guard hold(loadOrSave_);
    const Session session(*this);
    const std::string json = jsonAfter(change);
    const SimpleLMDB::Write write{kDocumentInfoKey, json};
    db().startAnew({&write, 1});
}

void ContentIndex::saveDocumentInfo() {
    changeDocumentInfo([](DocumentInfo&) {});
}

void ContentIndex::loadDocumentInfo() {
    std::lock_guard hold(loadOrSave_);
    const Session session(*this);
    if (const auto json = db().get("", kDocumentInfoKey)) documentInfo_.set(documentInfoFromJson(*json));
}

std::optional<std::string> ContentIndex::pathFor(FSItemID id) const {
    {
        std::lock_guard hold(openLock_);
        if (!db_) return std::nullopt;
    }
    std::vector<std::string> names;  // from the item upwards
    db().read([&](const SimpleLMDB::Snapshot& snapshot) {
        for (int depth = 0; depth < kDeepest; ++depth) {
            const auto record = snapshot.get(itemKey(id));
            const auto item = record ? decodeFSItem(*record) : std::nullopt;
            if (!item) return;
            names.emplace_back(item->name);
            id = item->parentID;
        }
    });
    std::string relative;
    for (auto name = names.rbegin(); name != names.rend(); ++name)
        relative.append(relative.empty() ? "" : "/").append(*name);
    return below(targetURL(), relative);
}

std::optional<FSItemID> ContentIndex::findID(std::string_view path) {
    const std::string target = targetURL().value_or("/");
    if (!path::isOrIsBelow(path, target)) return std::nullopt;
    FSItemID id = kNoParent;
    for (const std::string_view name : path::components(path.substr(target.size()))) {
        const auto folder = loadFolderContents(id);
        const auto found = folder->find(std::string(name));
        if (found == folder->end()) return std::nullopt;
        id = found->second.fsid;
    }
    return id;
}

// A full cache serves the current call and forgets what it read, so that a walk over a large tree does not
// push out the folders near its top.
std::shared_ptr<const ContentIndex::Folder> ContentIndex::loadFolderContents(FSItemID id) {
    return folderContentsCache_.modify([&](std::vector<CachedFolder>& cache) {
        const auto known = std::ranges::find(cache, id, &CachedFolder::first);
        if (known != cache.end()) {
            std::swap(*known, cache.front());
            return cache.front().second;
        }
        auto folder = readFolder(id);
        if (cache.size() < kCachedFolders) cache.emplace_back(id, folder);
        return folder;
    });
}

std::shared_ptr<const ContentIndex::Folder> ContentIndex::readFolder(FSItemID id) const {
    auto folder = std::make_shared<Folder>();
    db().read([&](const SimpleLMDB::Snapshot& snapshot) {
        for (const FSItemID child : unpackChildList(snapshot.get(childrenKey(id)).value_or(""))) {
            const auto record = snapshot.get(itemKey(child));
            const auto item = record ? decodeFSItem(*record) : std::nullopt;
            if (item) folder->try_emplace(std::string(item->name), *item);
        }
    });
    return folder;
}

std::vector<FSItemID> ContentIndex::loadChildIds(FSItemID id) const {
    return unpackChildList(db().get("", childrenKey(id)).value_or(""));
}

std::vector<FSItemID> ContentIndex::loadDeadIds() const {
    return unpackDeadList(db().get("", kDeadKey).value_or(""));
}

}  // namespace kestrix
