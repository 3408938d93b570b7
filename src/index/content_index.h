// One catalog: its file, what it describes, and the look-ups in it. How it is filled stands in build/.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/clock.h"
#include "base/lock.h"
#include "base/uuid.h"
#include "files/disks.h"
#include "files/search_location.h"
#include "index/lmdb/simple_lmdb.h"
#include "index/records.h"
#include "index/saved_index_info.h"

namespace kestrix {

class ActivityController;
class GuruMeditation;
class ImportTextToolsXPC;
class Preferences;

enum class ContentIndexLMDBState { none, waitingToBuild, building };

class ContentIndex;

// How a build ended.
struct BuildOutcome {
    bool canceled = false;
    std::int64_t files = 0;    // seen
    std::int64_t written = 0;  // items new or changed
    std::int64_t unreadableFolders = 0;
    std::int64_t failedDocuments = 0;    // whose words could not be read, told for the first time
    std::optional<std::string> fault{};  // what ended it early
};

// What catalogs need of the application. All of it outlives every catalog.
struct ContentIndexEnvironment {
    Preferences& preferences;
    DiskInfoManager& disks;
    Clock& clock;
    ActivityController* activities = nullptr;  // none: builds tell nobody how far they are
    GuruMeditation* failures = nullptr;        // none: failures of background work go to the log alone
    // Starts a refresh of its own accord, in the background; a front end that ends before a refresh could,
    // leaves it empty, and none is started.
    std::function<void(std::function<void()> refresh)> startRefresh{};
    // After each build or a mirrored file taken in: the manager saves its list and tells its observers.
    std::function<void()> catalogsChanged{};
    // After each refresh, on the thread that ran it.
    std::function<void(const ContentIndex&, const BuildOutcome&)> refreshed{};
    std::size_t mapSize = SimpleLMDB::Options().mapSize;
    ImportTextToolsXPC* import = nullptr;  // none: no words are indexed, whatever the mode
    // Once true, every build ends at once, also one that was asked for before and has not begun yet.
    std::atomic<bool> buildsEnd = false;
};

// Threads: every operation may be called from any thread, and a search may run while a build does; one build
// at a time, guarded by state(). The file is open only between open and close, which nest, so it can be
// copied when nothing runs. Made by the manager and held by shared_ptr, since searches and builds keep it
// alive while they run.
class ContentIndex : public CacheVC_IndexInterface, public std::enable_shared_from_this<ContentIndex> {
  public:
    struct Places {
        std::string localDBFile;
        std::optional<std::string> targetURL;     // a path
        std::optional<std::string> remoteDBFile;  // the mirror
    };

    // Reads DocumentInfo, which makes an empty file if there is none. Throws LMDBError or Error for a file
    // that is damaged, no catalog, or written by something newer.
    ContentIndex(Places places, const ContentIndexEnvironment& environment,
                 const std::optional<SavedIndexInfo>& moreInfo = std::nullopt);
    // A new catalog, with its DocumentInfo saved.
    static std::shared_ptr<ContentIndex> newIndex(Places places, const ContentIndexEnvironment& environment);
    ~ContentIndex() override;

    const Uuid& id() const { return id_; }
    std::string displayName() const override { return displayName_.get(); }
    void setDisplayName(std::string name) { displayName_.set(std::move(name)); }
    std::optional<std::string> targetURL() const override { return targetURL_.get(); }
    const std::string& localDBFile() const { return localDBFile_; }
    std::optional<std::string> remoteDBFile() const { return remoteDBFile_.get(); }
    DocumentInfo documentInfo() const { return documentInfo_.get(); }
    CachingUpdatesTag updatesEvery() const {
        return cachingUpdatesTagOf(updatesEvery_).value_or(CachingUpdatesTag::defaultTiming);
    }
    void setUpdatesEvery(CachingUpdatesTag tag) { updatesEvery_ = static_cast<std::int64_t>(tag); }
    ContentIndexLMDBState state() const { return state_; }
    SavedIndexInfo savedInfo() const;
    // What another process has changed in the list.
    void takeOver(const SavedIndexInfo& info);

    // The target is there, and on the disk it was catalogued from.
    bool isTargetMounted() const;
    // Bytes; 0 if the file is not there.
    std::uint64_t cacheSizeOnDisk() const;
    // "Cached " and the date of the last build.
    std::string displayCacheInfoForLocationMenu() const;

    // Each open is paired with one close. open throws LMDBError or Error, and then wants no close.
    void open();
    void close();
    class Session;  // opens for its own life

    void saveDocumentInfo();
    void loadDocumentInfo();

    // The file, while it is open.
    SimpleLMDB& db() const;

    // The path of an identifier: the target's, "/" and the names on the way down from it. A missing record on
    // the way ends it early. Nothing if the file is not open.
    std::optional<std::string> pathFor(FSItemID id) const;
    // The identifier of a path below the target; 0 for the target itself; nothing if it is not in the
    // catalog. Throws LMDBError.
    std::optional<FSItemID> findID(std::string_view path);
    using Folder = std::map<std::string, FSItem>;
    // The children by name, of two with one name the one with the smaller identifier. The first 64 folders
    // that are read are remembered until the file is opened or closed; throws LMDBError.
    std::shared_ptr<const Folder> loadFolderContents(FSItemID id);
    std::vector<FSItemID> loadChildIds(FSItemID id) const;
    std::vector<FSItemID> loadDeadIds() const;

    // Updates the catalog from the target; returns when it is done. A first build and an update are the same
    // walk. Throws Error where the file cannot be opened or another process builds in it; faults on the way
    // are told to `failures` and end the build with what was written. Build threads only;
    // build/catalog_build.cpp.
    using BuildOutcome = kestrix::BuildOutcome;
    BuildOutcome build(const std::vector<std::string>& items, bool alwaysMirror, ContentIndexMode indexMode);
    void cancelBuild() { shouldCancel_ = true; }

    // True when a refresh is running or was started, because the catalog is older than its interval.
    bool scheduleRefreshIfNeeded();
    // A build of the target if it is mounted and the catalog was not removed, and then the manager's next
    // one. Failures are told, not thrown.
    BuildOutcome refresh(bool userInitiated);
    // Queued by the manager: meanwhile no other refresh is started.
    void setShouldDoATimedRefresh(bool should);

    // Whole-file: the newer of the two copies replaces the other, written beside it, synced and renamed. A
    // remote copy changed in the last 120 seconds is left alone unless `alwaysSync`, and a local one that is
    // being built is not copied. True if something was copied. Failures are told, not thrown.
    bool mirrorIfNeeded(bool alwaysSync);

  private:
    friend class CatalogBuild;

    // Both change DocumentInfo and save it, and nobody loads it in between; the second one leaves nothing
    // else in the file.
    using Change = std::function<void(DocumentInfo&)>;
    void changeDocumentInfo(const Change& change);
    void startAnew(const Change& change);
    std::string jsonAfter(const Change& change);
    std::optional<CachingUpdatesTag> intervalTag() const;
    bool isDue(CachingUpdatesTag tag);
    // Brings the remote copy back over the local one, whatever their dates; with no remote copy there the
    // local one stays. Failures are told.
    void takeMirror(const std::string& remote);
    bool copyMirror(const std::string& from, const std::string& to);
    void tell(const Error& error) const;

    const ContentIndexEnvironment& environment_;
    const Uuid id_;
    const std::string localDBFile_;
    Locked<std::string> displayName_;
    Locked<std::optional<std::string>> targetURL_;
    Locked<std::optional<std::string>> remoteDBFile_;
    Locked<DocumentInfo> documentInfo_;
    std::mutex loadOrSave_;                       // one at a time; taken before openLock_ and the database's
    std::atomic<std::int64_t> updatesEvery_ = 0;  // raw, as the list has it
    std::atomic<ContentIndexLMDBState> state_ = ContentIndexLMDBState::none;
    std::atomic<bool> shouldCancel_ = false;
    std::atomic<bool> hasBeenUpdated_ = false;

    mutable std::mutex openLock_;  // guards the next two
    int openCount_ = 0;
    std::unique_ptr<SimpleLMDB> db_;

    using CachedFolder = std::pair<FSItemID, std::shared_ptr<const Folder>>;
    std::shared_ptr<const Folder> readFolder(FSItemID id) const;
    Locked<std::vector<CachedFolder>> folderContentsCache_;  // its lock is taken before the database's
};

class ContentIndex::Session {
  public:
    explicit Session(ContentIndex& index) : index_(index) { index_.open(); }
    ~Session() { index_.close(); }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

  private:
    ContentIndex& index_;
};

// What a catalog of this target is called where the user gives no name: the target's last component and, for
// a folder on a disk other than "/", " on " and the disk's name. Fit for a file name: no slash, at most 200
// bytes.
std::string suggestedCatalogName(std::string_view target, const DiskInfoManager& disks);

}  // namespace kestrix
