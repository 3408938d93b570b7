#include "index/content_index_manager.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <mutex>
#include <set>
#include <utility>

#include "base/lock.h"
#include "base/operation_queue.h"
#include "base/path.h"
#include "base/text.h"
#include "index/build/mirror.h"
#include "index/catalog_list.h"
#include "index/failed_files.h"
#include "index/timed_refreshes.h"
#include "platform/directory.h"
#include "platform/stored_file.h"
#include "shell/guru_meditation.h"
#include "shell/logger.h"

namespace kestrix {

namespace {

constexpr const char* kDomain = "Catalogs";
constexpr int kMostNames = 100;

Error refusal(const std::string& text) {
    return {kDomain, 0, text};
}

bool exists(const std::string& path) {
    FileAttributes attributes;
    return readAttributes(path, true, attributes) == 0;
}

// Why a file is not even to be opened; empty if nothing speaks against it. A missing or empty one would be
// taken for a new catalog.
std::string reasonNotToOpen(const std::string& file) {
    FileAttributes attributes;
    if (readAttributes(file, true, attributes) != 0) return "the file " + file + " is missing";
    if (attributes.type != EntryType::file) return file + " is no file";
    if (attributes.size == 0) return "the file " + file + " is empty";
    return {};
}

bool isInReach(const SavedIndexInfo& info, const std::vector<std::string>& folders) {
    if (!info.targetURL) return false;
    return std::ranges::any_of(folders, [&info](const std::string& folder) {
        return path::isOrIsBelow(*info.targetURL, folder) || path::isOrIsBelow(folder, *info.targetURL);
    });
}

std::string stemOf(const std::string& file) {
    const std::string_view name = path::lastComponent(file);
    return std::string(name.substr(0, name.size() - ContentIndexManager::kExtension.size() - 1));
}

}  // namespace

// What a catalog calls back may come when the manager is about to go, so callbacks hold this weakly.
struct ContentIndexManager::State : std::enable_shared_from_this<State> {
    explicit State(Environment from) : environment(std::move(from)) {}

    void prepare();
    std::vector<Entry>& list();
    void load();
    void makeIndex(Entry& entry);
    std::vector<Entry> pick(const std::function<bool(const Entry&)>& wanted);
    std::vector<std::shared_ptr<ContentIndex>> usable();
    std::shared_ptr<ContentIndex> enter(ContentIndex::Places places, const std::optional<std::string>& name);
    void leave(const std::string& file);
    void demandFreeName(const std::string& name);
    void save();
    void saveOrTell();

    const Environment environment;
    ContentIndexEnvironment forCatalogs{environment.preferences, environment.disks, environment.clock,
                                        environment.activities, environment.failures};
    std::mutex mutex;  // guards the next three; taken before any catalog's own locks
    bool loaded = false;
    std::vector<Entry> entries;
    std::set<std::string> seen;

    std::mutex saving;  // one save at a time; taken before `mutex`
    Locked<Refreshed> refreshed;
    std::shared_ptr<TimedRefreshes> timed;
    OperationQueue refreshes{OperationQueue::kUnlimited, "catalog refreshes"};
};

void ContentIndexManager::State::prepare() {
    forCatalogs.mapSize = environment.mapSize;
    forCatalogs.import = environment.import;
    forCatalogs.catalogsChanged = [weak = weak_from_this(), &queue = environment.mainQueue] {
        queue.post([weak] {
            if (const auto self = weak.lock()) self->saveOrTell();
        });
    };
    forCatalogs.refreshed = [weak = weak_from_this()](const ContentIndex& index,
                                                      const ContentIndex::BuildOutcome& outcome) {
        const auto self = weak.lock();
        const Refreshed tell = self ? self->refreshed.get() : nullptr;
        if (tell) tell(index, outcome);
    };
    timed = std::make_shared<TimedRefreshes>(environment.preferences, environment.clock,
                                             environment.mainQueue, [this] {
                                                 std::lock_guard hold(mutex);
                                                 return usable();
                                             });
}

// With the mutex held, as all of these.
std::vector<ContentIndexManager::Entry>& ContentIndexManager::State::list() {
    if (!loaded) load();
    return entries;
}

// Keeps the catalogs that are made already, by identity.
void ContentIndexManager::State::load() {
    std::vector<Entry> fresh;
    for (SavedIndexInfo& info :
         loadCatalogList(environment.preferences, environment.folder, environment.disks)) {
        const auto known = std::ranges::find(entries, identityOf(info),
                                             [](const Entry& entry) { return identityOf(entry.info); });
        Entry entry{std::move(info), nullptr, {}};
        if (known != entries.end()) entry.index = std::move(known->index);
        if (entry.index) entry.index->takeOver(entry.info);
        fresh.push_back(std::move(entry));
    }
    if (environment.preferences.hasStoredValue("SavedIndexInfo")) {
        for (const Entry& entry : fresh)
            seen.insert(identityOf(entry.info));
    }
    entries = std::move(fresh);
    loaded = true;
}

void ContentIndexManager::State::makeIndex(Entry& entry) {
    if (entry.index || !entry.reason.empty()) return;
    entry.reason = reasonNotToOpen(entry.info.localDBFilePath);
    if (!entry.reason.empty()) return;
    try {
        entry.index = std::make_shared<ContentIndex>(
            ContentIndex::Places{entry.info.localDBFilePath, entry.info.targetURL,
                                 entry.info.remoteDBBookmark},
            forCatalogs, entry.info);
    } catch (const Error& error) {
        entry.reason = error.what();
    }
}

std::vector<ContentIndexManager::Entry> ContentIndexManager::State::pick(
    const std::function<bool(const Entry&)>& wanted) {
    std::vector<Entry> picked;
    for (Entry& entry : list()) {
        if (!wanted(entry)) continue;
        makeIndex(entry);
        picked.push_back(entry);
    }
    return picked;
}

std::vector<std::shared_ptr<ContentIndex>> ContentIndexManager::State::usable() {
    std::vector<std::shared_ptr<ContentIndex>> indexes;
    for (const Entry& entry : pick([](const Entry&) { return true; })) {
        if (entry.index) indexes.push_back(entry.index);
    }
    return indexes;
}

void ContentIndexManager::State::demandFreeName(const std::string& name) {
    if (std::ranges::any_of(list(), [&name](const Entry& entry) { return entry.info.displayName == name; }))
        throw refusal("there is a catalog named \"" + name + "\" already; choose another name");
}

std::shared_ptr<ContentIndex> ContentIndexManager::State::enter(ContentIndex::Places places,
                                                                const std::optional<std::string>& name) {
    const std::string file = places.localDBFile;
    try {
        if (places.remoteDBFile && exists(*places.remoteDBFile))
            copyCatalog(*places.remoteDBFile, file, environment.mapSize);
        const auto index = ContentIndex::newIndex(std::move(places), forCatalogs);
        if (name) index->setDisplayName(*name);
        entries.push_back({index->savedInfo(), index, {}});
        return index;
    } catch (const Error&) {
        removeFile(file);
        throw;
    }
}

// As if it had never been entered: what is in no list would only keep its name from others.
void ContentIndexManager::State::leave(const std::string& file) {
    std::lock_guard hold(mutex);
    std::erase_if(entries, [&file](const Entry& entry) { return entry.info.localDBFilePath == file; });
    removeFile(file);
}

void ContentIndexManager::State::save() {
    std::lock_guard one(saving);
    std::vector<SavedIndexInfo> infos;
    std::set<std::string> known;
    {
        std::lock_guard hold(mutex);
        for (Entry& entry : list()) {
            if (entry.index) entry.info = entry.index->savedInfo();
            infos.push_back(entry.info);
        }
        known = seen;
    }
    saveCatalogList(environment.preferences, infos, known);
    {
        std::lock_guard hold(mutex);
        seen = std::move(known);
    }
    environment.notifications.post(DidChangeNotification);
}

void ContentIndexManager::State::saveOrTell() {
    try {
        save();
    } catch (const Error& error) {
        if (environment.failures) environment.failures->showErrorAlert(error);
    }
}

ContentIndexManager::ContentIndexManager(Environment environment)
    : state_(std::make_shared<State>(std::move(environment))) {
    state_->prepare();
}

ContentIndexManager::~ContentIndexManager() {
    cancelAll();
    state_->refreshes.waitUntilAllOperationsAreFinished();
    state_->timed.reset();
}

std::vector<ContentIndexManager::Entry> ContentIndexManager::entries() const {
    std::lock_guard hold(state_->mutex);
    return state_->pick([](const Entry&) { return true; });
}

std::vector<ContentIndexManager::Entry> ContentIndexManager::cachesForLocations(
    const SearchLocation& location) const {
    std::vector<Entry> caches;
    std::lock_guard hold(state_->mutex);
    for (const auto& offline : location.offlineTargets()) {
        auto found = state_->pick([&offline](const Entry& entry) { return entry.index == offline; });
        std::ranges::move(found, std::back_inserter(caches));
    }
    const std::vector<std::string> folders = location.disksForLocations();
    auto others = state_->pick([&](const Entry& entry) {
        const bool isThere = std::ranges::any_of(caches, [&entry](const Entry& cache) {
            return identityOf(cache.info) == identityOf(entry.info);
        });
        return !isThere && isInReach(entry.info, folders);
    });
    std::ranges::move(others, std::back_inserter(caches));
    return caches;
}

bool ContentIndexManager::holdsTarget(std::string_view path) const {
    std::lock_guard hold(state_->mutex);
    return std::ranges::any_of(state_->list(), [path](const Entry& entry) {
        return entry.info.targetURL && path::isOrIsBelow(path, *entry.info.targetURL);
    });
}

std::shared_ptr<ContentIndex> ContentIndexManager::cacheWithID(const Uuid& id) const {
    std::lock_guard hold(state_->mutex);
    const auto found =
        state_->pick([text = id.text()](const Entry& entry) { return entry.info.uuidString == text; });
    return found.empty() ? nullptr : found.front().index;
}

std::optional<ContentIndexManager::Entry> ContentIndexManager::named(std::string_view name) const {
    using Test = std::function<bool(const Entry&)>;
    const std::vector<Test> tests = {[name](const Entry& entry) { return entry.info.displayName == name; },
                                     [name](const Entry& entry) {
                                         return entry.info.localDBFilePath.ends_with(".kxcache") &&
                                                stemOf(entry.info.localDBFilePath) == name;
                                     },
                                     [name](const Entry& entry) { return entry.info.uuidString == name; }};
    std::lock_guard hold(state_->mutex);
    for (const Test& test : tests) {
        const auto found = state_->pick(test);
        if (found.size() > 1) {
            throw refusal(fmt::format("{} catalogs are named \"{}\"; name one by its identifier",
                                      found.size(), text::displayable(name)));
        }
        if (!found.empty()) return found.front();
    }
    return std::nullopt;
}

ContentIndexManager::Entry ContentIndexManager::ofFile(const std::string& dbfile) const {
    std::lock_guard hold(state_->mutex);
    const auto listed =
        state_->pick([&dbfile](const Entry& entry) { return entry.info.localDBFilePath == dbfile; });
    if (!listed.empty()) return listed.front();
    Entry entry;
    entry.info.localDBFilePath = dbfile;
    entry.isListed = false;
    state_->makeIndex(entry);
    if (!entry.index) return entry;
    entry.info = entry.index->savedInfo();
    entry.info.targetURL = entry.index->documentInfo().suggestedTarget;
    return entry;
}

bool ContentIndexManager::isIndexing(std::string_view diskURL) const {
    std::lock_guard hold(state_->mutex);
    return std::ranges::any_of(state_->list(), [diskURL](const Entry& entry) {
        return entry.index && entry.index->state() == ContentIndexLMDBState::building &&
               entry.info.targetURL && path::isOrIsBelow(*entry.info.targetURL, diskURL);
    });
}

std::string ContentIndexManager::newLocalIndex(std::string_view target, bool testingDoNoIncrement) const {
    const std::string stem =
        path::join(state_->environment.folder, suggestedCatalogName(target, state_->environment.disks));
    std::string file = fmt::format("{}.{}", stem, kExtension);
    if (testingDoNoIncrement) return file;
    std::lock_guard hold(state_->mutex);
    const auto isListed = [this](const std::string& path) {
        return std::ranges::any_of(
            state_->list(), [&path](const Entry& entry) { return entry.info.localDBFilePath == path; });
    };
    for (int number = 1; exists(file) || isListed(file); ++number) {
        if (number == kMostNames) throw refusal("there are too many catalogs like " + stem + " already");
        file = fmt::format("{}-{}.{}", stem, number, kExtension);
    }
    return file;
}

std::shared_ptr<ContentIndex> ContentIndexManager::add(const std::string& target,
                                                       const std::optional<std::string>& name,
                                                       const std::optional<std::string>& remoteDBFile) {
    if (target.find_first_of(":\r\n") != std::string::npos)
        throw refusal("a folder whose path holds a colon or a line break cannot be catalogued");
    makeFolder(state_->environment.folder);
    const std::string file = newLocalIndex(target);
    std::shared_ptr<ContentIndex> index;
    {
        std::lock_guard hold(state_->mutex);
        const auto same = std::ranges::find_if(
            state_->list(), [&target](const Entry& entry) { return entry.info.targetURL == target; });
        if (!name && same != state_->entries.end()) {
            const std::string known = text::displayable(same->info.displayName);
            throw refusal("the catalog \"" + known + "\" describes this folder already; update it with: " +
                          "kestrix catalog update \"" + known + "\", or give a second one a --name");
        }
        if (name) state_->demandFreeName(*name);
        const bool isTaken = std::ranges::any_of(state_->entries, [&](const Entry& entry) {
            return entry.info.displayName == suggestedCatalogName(target, state_->environment.disks);
        });
        index = state_->enter({file, target, remoteDBFile},
                              name || !isTaken ? name : std::optional(stemOf(file)));
    }
    try {
        save();
    } catch (const Error&) {
        state_->leave(file);
        throw;
    }
    return index;
}

std::shared_ptr<ContentIndex> ContentIndexManager::addExistingIndex(const std::string& dbfile) {
    std::shared_ptr<ContentIndex> index;
    {
        std::lock_guard hold(state_->mutex);
        for (const Entry& entry : state_->list()) {
            if (entry.info.localDBFilePath == dbfile)
                throw refusal(dbfile + " is in the list already, as \"" + entry.info.displayName + "\"");
        }
        Entry look;
        look.info.localDBFilePath = dbfile;
        state_->makeIndex(look);
        if (!look.index) throw refusal(look.reason);
        SavedIndexInfo info = look.index->savedInfo();
        info.targetURL = look.index->documentInfo().suggestedTarget;
        state_->demandFreeName(info.displayName);
        index = std::make_shared<ContentIndex>(ContentIndex::Places{dbfile, info.targetURL, std::nullopt},
                                               state_->forCatalogs, info);
        state_->entries.push_back({std::move(info), index, {}});
    }
    save();
    return index;
}

void ContentIndexManager::remove(const Entry& entry) {
    const std::string& file = entry.info.localDBFilePath;
    const bool isOurs = path::parent(file) == state_->environment.folder;
    std::unique_ptr<FileRangesLock> buildersOut;
    if (entry.index && isOurs) {
        buildersOut = SimpleLMDB::keepBuildersOut(file);
        if (!buildersOut)
            throw refusal("the catalog \"" + entry.info.displayName +
                          "\" is being updated; remove it when that has ended");
    }
    if (isOurs) {
        removeFile(file);
        removeFile(FailedFiles::fileOf(file));
    }
    {
        std::lock_guard hold(state_->mutex);
        std::erase_if(state_->list(), [&entry](const Entry& other) {
            return identityOf(other.info) == identityOf(entry.info);
        });
    }
    save();
}

ContentIndexManager::Anew ContentIndexManager::startAnew(const Entry& entry) {
    Anew anew;
    const std::string& file = entry.info.localDBFilePath;
    if (exists(file)) anew.keptAs = setAside(file);
    removeFile(FailedFiles::fileOf(file));
    {
        std::lock_guard hold(state_->mutex);
        anew.index = std::make_shared<ContentIndex>(
            ContentIndex::Places{file, entry.info.targetURL, entry.info.remoteDBBookmark},
            state_->forCatalogs, entry.info);
        anew.index->saveDocumentInfo();
        for (Entry& known : state_->list()) {
            if (identityOf(known.info) == identityOf(entry.info))
                known = {anew.index->savedInfo(), anew.index, {}};
        }
    }
    save();
    return anew;
}

void ContentIndexManager::save() {
    state_->save();
}

void ContentIndexManager::reload() {
    std::vector<std::shared_ptr<ContentIndex>> known;
    {
        std::lock_guard hold(state_->mutex);
        state_->load();
        known = state_->usable();
    }
    for (const auto& index : known) {
        try {
            if (index->state() == ContentIndexLMDBState::none) index->loadDocumentInfo();
        } catch (const Error& error) {
            // Tried again the next time; a refresh tells the user what is wrong.
            if (Logger::shouldLog) LogFunc(std::string("Reload: ") + error.what());
        }
    }
}

void ContentIndexManager::startup() {
    state_->forCatalogs.startRefresh = [weak = std::weak_ptr(state_)](std::function<void()> refresh) {
        if (const auto state = weak.lock()) state->refreshes.add(std::move(refresh));
    };
    state_->timed->start();
}

void ContentIndexManager::startScheduldedRefreshIfNeeded() {
    state_->timed->startScheduldedRefreshIfNeeded();
}

void ContentIndexManager::performNextTimedIndexRefresh() {
    state_->timed->performNext();
}

void ContentIndexManager::scheduleRefreshes() {
    std::vector<std::shared_ptr<ContentIndex>> indexes;
    {
        std::lock_guard hold(state_->mutex);
        indexes = state_->usable();
    }
    for (const auto& index : indexes)
        index->scheduleRefreshIfNeeded();
}

void ContentIndexManager::cancelAll() {
    state_->forCatalogs.buildsEnd = true;
    state_->timed->stop();
    state_->refreshes.cancelAllOperations();
    std::lock_guard hold(state_->mutex);
    for (const Entry& entry : state_->entries) {
        if (entry.index) entry.index->cancelBuild();
    }
}

NotificationCenter::Observation ContentIndexManager::didChangeNotification(
    NotificationCenter::Handler handler) {
    return state_->environment.notifications.observe(DidChangeNotification, std::move(handler));
}

void ContentIndexManager::setRefreshed(Refreshed refreshed) {
    state_->refreshed.set(std::move(refreshed));
}

}  // namespace kestrix
