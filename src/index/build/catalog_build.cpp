#include "index/build/catalog_build.h"

#include <fmt/format.h>

#include <system_error>

#include "base/path.h"
#include "shell/logger.h"

namespace kestrix {

namespace {

// Folders looked at under one reader's lock. One lock a folder would cost as much as comparing a small one;
// more would gain nothing.
constexpr int kFoldersPerLook = 64;

// With words a group is bounded by the words that are gathered. A flush rewrites each container that it adds
// to, so it must not come often; but what is not written yet is read again after a crash.
constexpr GroupWriter::Bounds kGroupWithWords{.longest = Seconds(60)};

[[noreturn]] void refuse(const std::string& why) {
    throw Error("Catalog", 0, why);
}

// A catalog of it would stay empty: every path in it would be left out.
void checkName(const std::string& start) {
    if (start.find_first_of(":\r\n") != std::string::npos)
        refuse(start + " cannot be catalogued: its path holds a colon or a line break");
}

}  // namespace

// Keeps the catalog's state while the build runs.
class CatalogBuild::Running {
  public:
    explicit Running(ContentIndex& index) : index_(index) {
        auto state = index_.state_.load();
        do {
            if (state == ContentIndexLMDBState::building)
                refuse("the catalog \"" + index_.displayName() + "\" is being updated already");
        } while (!index_.state_.compare_exchange_weak(state, ContentIndexLMDBState::building));
        // In this order: who ends all builds says so first and cancels each of them then.
        index_.shouldCancel_ = false;
        if (index_.environment_.buildsEnd) index_.shouldCancel_ = true;
    }
    ~Running() { index_.state_ = ContentIndexLMDBState::none; }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

  private:
    ContentIndex& index_;
};

// Keeps other processes from building in the file.
class CatalogBuild::BuilderLock {
  public:
    explicit BuilderLock(ContentIndex& index) : db_(index.db()) {
        if (!db_.beginBuilding())
            refuse("the catalog \"" + index.displayName() + "\" is being updated by another process");
    }
    ~BuilderLock() { db_.endBuilding(); }
    BuilderLock(const BuilderLock&) = delete;
    BuilderLock& operator=(const BuilderLock&) = delete;

  private:
    SimpleLMDB& db_;
};

CatalogBuild::CatalogBuild(ContentIndex& index, Options options) : index_(index), options_(options) {}

ContentIndex::BuildOutcome CatalogBuild::run(const std::vector<std::string>& items, bool alwaysMirror,
                                             ContentIndexMode indexMode) {
    mode_ = indexMode;
    LogFunc("Build: " + index_.displayName());
    {
        const Running running(index_);
        {
            const ContentIndex::Session session(index_);
            const BuilderLock lock(index_);
            prepare();
            try {
                walk(items);
                finish();
            } catch (const Error& error) {
                fail(error);
            }
            if (words_) outcome_.failedDocuments = words_->newFailures();
            words_.reset();
            progress_.reset();
        }
        mirror(alwaysMirror);
    }
    if (index_.environment_.catalogsChanged) index_.environment_.catalogsChanged();
    LogFunc("Built: " + index_.displayName());
    return outcome_;
}

void CatalogBuild::prepare() {
    const ContentIndexEnvironment& environment = index_.environment_;
    const DocumentInfo before = index_.documentInfo();
    lookedAt_ = before.lastUpdated;
    progress_ =
        std::make_unique<BuildProgress>(environment.activities, environment.clock, index_.displayName(),
                                        before.numberOfFSItems, [index = index_.weak_from_this()] {
                                            if (const auto held = index.lock()) held->cancelBuild();
                                        });
    const auto target = index_.targetURL();
    const DiskKey disk = target ? environment.disks.keyForDisk(*target) : DiskKey();
    const bool knowsFilesByName = before.lastIndexMode == ContentIndexMode::off && !before.isDirty &&
                                  index_.db().get("", childrenKey(kNoParent));
    lacksWords_ = knowsFilesByName && mode_ != ContentIndexMode::off;
    const auto begin = [&](DocumentInfo& info) {
        info.lastIndexMode = mode_;
        info.lastUpdated = secondsSince2001(environment.clock.now());
        info.isDirty = lacksWords_;
        if (!disk.isNone()) info.diskKey = std::string(disk.text());
    };
    if (before.isDirty) {
        index_.startAnew(begin);
    } else {
        index_.changeDocumentInfo(begin);
    }
}

void CatalogBuild::walk(const std::vector<std::string>& items) {
    const std::string target = index_.targetURL().value_or("/");
    for (const std::string& item : items) {
        checkName(item);
        if (!path::isOrIsBelow(item, target)) refuse(fmt::format("{} does not lie in {}", item, target));
    }
    const bool hasWords = index_.environment_.import && mode_ != ContentIndexMode::off;
    writer_ = std::make_unique<GroupWriter>(
        index_.db(), index_.environment_.clock,
        options_.group.value_or(hasWords ? kGroupWithWords : GroupWriter::Bounds()));
    if (hasWords) prepareWords();
    const bool wantsAllFiles = mode_ == ContentIndexMode::ocrAndTextDocuments || lacksWords_;
    TreeUpdate::Rules rules{.notesDead = mode_ != ContentIndexMode::off,
                            .wantsNewFiles = hasWords,
                            .wantsAllFiles = hasWords && wantsAllFiles,
                            .lookedAt = lookedAt_};
    if (failed_) rules.wantedAgain = failed_->toReadAgain();
    update_ = std::make_unique<TreeUpdate>(*writer_, std::move(rules), index_.shouldCancel_);
    TreeWalk walk(items, index_.environment_.disks, index_.environment_.clock, index_.shouldCancel_);
    for (auto folder = walk.next(); folder; folder = walk.next()) {
        if (update_->expectsStart()) startAt(*folder);
        takeBatch(walk, folder);
        if (words_) words_->read(update_->takeFilesToRead());
        if (writer_->isDue() || (words_ && words_->isFull())) flush();
        progress_->seen(update_->files());
    }
    flush();
    lookAgain();
    progress_->tell(update_->files());
    for (const auto& [start, attributes] : startsSeen_)
        checkStillThere(start, attributes);
}

void CatalogBuild::takeBatch(TreeWalk& walk, std::unique_ptr<ListedFolder>& folder) {
    const int most = words_ ? 1 : kFoldersPerLook;
    index_.db().read([&](const SimpleLMDB::Snapshot& snapshot) {
        for (int taken = 1; folder; ++taken) {
            update_->take(*folder, snapshot);
            const bool goesOn = taken < most && !writer_->isDue() && !update_->expectsStart();
            folder = goesOn ? walk.nextIfListed() : nullptr;
        }
    });
}

// Starts may lie in each other, so each begins with all in the file that went before.
void CatalogBuild::startAt(const ListedFolder& folder) {
    flush();
    if (folder.errorNumber != 0)
        throw Error(kPosixDomain, folder.errorNumber,
                    fmt::format("cannot read {}: {}", folder.path,
                                std::generic_category().message(folder.errorNumber)));
    startsSeen_.emplace_back(folder.path, folder.attributes);
    update_->setStart(placeOf(folder.path));
}

// Makes the folders above that the catalog does not know; nobody has looked at them, so they carry no dates.
TreeUpdate::Place CatalogBuild::placeOf(const std::string& path) {
    const std::string target = index_.targetURL().value_or("/");
    const auto names = path::components(std::string_view(path).substr(target.size()));
    TreeUpdate::Place place{.isTarget = names.empty()};
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (i > 0) place.parent = place.stored;
        const auto children = index_.loadFolderContents(place.parent);
        const auto found = children->find(std::string(storedName(names[i])));
        place.stored = kNoParent;
        if (found != children->end()) {
            place.stored = found->second.fsid;
            place.storedType = found->second.type;
            place.storedModified = found->second.modificationDate;
        }
        const bool isLast = i + 1 == names.size();
        if (!isLast && (place.stored == kNoParent || place.storedType == FSItemType::file))
            place.stored = makeParent(place.parent, std::string(names[i]), place.stored);
    }
    return place;
}

FSItemID CatalogBuild::makeParent(FSItemID parent, const std::string& name, FSItemID replaced) {
    if (replaced != kNoParent)
        writer_->remove({.fsid = replaced, .parentID = parent}, mode_ != ContentIndexMode::off);
    const FSItemID id = writer_->nextID();
    writer_->add({.fsid = id,
                  .parentID = parent,
                  .type = FSItemType::directory,
                  .name = name,
                  .version = 1,
                  .size = 0});
    return id;
}

// The description keeps when this was, which is what the next build must know (tree_update.h).
void CatalogBuild::lookAgain() {
    lookedAt_ = secondsSince2001(index_.environment_.clock.now());
    update_->lookAgain();
    if (words_) words_->read(update_->takeFilesToRead());
    flush();
}

// A disk that is taken away in the middle looks like many folders that have gone.
void CatalogBuild::checkStillThere(const std::string& start, const FileAttributes& before) const {
    FileAttributes now;
    const int error = index_.shouldCancel_ ? 0 : readAttributes(start, true, now);
    if (error != 0)
        throw Error(
            kPosixDomain, error,
            fmt::format("{} went away while it was read: {}", start, std::generic_category().message(error)));
    if (!index_.shouldCancel_ && (now.device != before.device || now.inode != before.inode))
        refuse(start + " was exchanged while it was read");
}

void CatalogBuild::prepareWords() {
    failed_.emplace(FailedFiles::fileOf(index_.localDBFile()));
    words_ =
        std::make_unique<WordIndexer>(*index_.environment_.import, index_.db(), *writer_, *failed_,
                                      mode_ == ContentIndexMode::ocrAndTextDocuments, index_.shouldCancel_);
}

void CatalogBuild::flush() {
    if (words_) {
        words_->flush();
    } else {
        writer_->flush();
    }
    index_.folderContentsCache_.set({});
}

void CatalogBuild::finish() {
    outcome_.canceled = index_.shouldCancel_;
    if (outcome_.canceled) return;
    if (failed_) {
        failed_->forgetGone();
        failed_->save();
    }
    index_.changeDocumentInfo([&](DocumentInfo& info) {
        info.lastUpdated = lookedAt_;
        info.numberOfFSItems = update_->files();
        info.isDirty = false;
    });
}

// What the build leaves goes to the other copy; after a cancel the last good state comes back from there.
void CatalogBuild::mirror(bool alwaysMirror) {
    if (update_) {
        outcome_.files = update_->files();
        outcome_.unreadableFolders = update_->unreadableFolders();
    }
    if (writer_) outcome_.written = writer_->itemsAdded();
    const auto remote = index_.remoteDBFile();
    if (!outcome_.canceled) {
        index_.mirrorIfNeeded(alwaysMirror);
    } else if (remote) {
        index_.takeMirror(*remote);
        keepWish();
    }
}

// The copy that came back may hold less than this build was to add, which nobody would ask for again.
void CatalogBuild::keepWish() {
    const DocumentInfo taken = index_.documentInfo();
    if (taken.lastIndexMode >= mode_) return;
    try {
        index_.changeDocumentInfo([&](DocumentInfo& info) {
            info.isDirty = info.lastIndexMode == ContentIndexMode::off;
            info.lastIndexMode = mode_;
        });
    } catch (const Error& error) {
        fail(error);
    }
}

void CatalogBuild::fail(const Error& error) {
    outcome_.fault = error.what();
    LogFunc("Build: " + *outcome_.fault);
    index_.tell(error);
}

ContentIndex::BuildOutcome ContentIndex::build(const std::vector<std::string>& items, bool alwaysMirror,
                                               ContentIndexMode indexMode) {
    return CatalogBuild(*this, {}).run(items, alwaysMirror, indexMode);
}

}  // namespace kestrix
