// The list of all catalogs.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/main_queue.h"
#include "base/notification_center.h"
#include "index/content_index.h"

namespace kestrix {

// Loads the list from the setting "SavedIndexInfo" when it is first asked for, and keeps it there. A
// catalog's file is opened when the catalog is first asked for, so that a search opens those it looks
// through and no others; one that cannot be opened hinders no other. Threads: any, but `startup`, `reload`
// and the timed refreshes belong to the main queue's. Outlives every catalog it made.
class ContentIndexManager {
  public:
    static constexpr const char* DidChangeNotification = "ContentIndexManager.DidChangeNotification";
    static constexpr std::string_view kExtension = "kxcache";

    struct Environment {
        Preferences& preferences;
        DiskInfoManager& disks;
        Clock& clock;
        MainQueue& mainQueue;
        NotificationCenter& notifications;
        ActivityController* activities = nullptr;
        GuruMeditation* failures = nullptr;
        std::string folder;  // where new catalogs are made
        std::size_t mapSize = SimpleLMDB::Options().mapSize;
        ImportTextToolsXPC* import = nullptr;  // none: catalogs hold no words
    };
    explicit ContentIndexManager(Environment environment);
    ~ContentIndexManager();  // asks running refreshes to stop and waits for them
    ContentIndexManager(const ContentIndexManager&) = delete;
    ContentIndexManager& operator=(const ContentIndexManager&) = delete;

    // One catalog of the list: `index`, or the reason why its file cannot be used ("is missing", or what
    // opening it said).
    struct Entry {
        SavedIndexInfo info;
        std::shared_ptr<ContentIndex> index;
        std::string reason{};
        bool isListed = true;
    };
    // In the order of the list; opens the file of each.
    std::vector<Entry> entries() const;

    // The catalogs for a location: its offline targets, then those whose target is, holds or lies in one of
    // its folders.
    std::vector<Entry> cachesForLocations(const SearchLocation& location) const;
    // Whether the list has a catalog whose target is or holds this path. Opens nothing.
    bool holdsTarget(std::string_view path) const;

    std::shared_ptr<ContentIndex> cacheWithID(const Uuid& id) const;
    // By display name, else file name without extension, else identifier. Throws Error if several have the
    // name.
    std::optional<Entry> named(std::string_view name) const;
    // A catalog file that need not be in the list. Nothing is entered.
    Entry ofFile(const std::string& dbfile) const;
    // Whether a catalog of this disk is being built by this process.
    bool isIndexing(std::string_view diskURL) const;

    // A free file name for a new catalog: "Name.kxcache", "Name-1.kxcache" ... Throws Error when a
    // hundred are taken. `testingDoNoIncrement`: the first of them, free or not.
    std::string newLocalIndex(std::string_view target, bool testingDoNoIncrement = false) const;

    // Makes a catalog of the target, enters it in the list and saves the list; nothing is built yet. It
    // begins with what a mirror that is there already knows. Throws Error, also if there is a catalog of this
    // name, or one of this target and no other name is given.
    std::shared_ptr<ContentIndex> add(const std::string& target, const std::optional<std::string>& name,
                                      const std::optional<std::string>& remoteDBFile);
    // Enters an existing catalog file, where it lies. Throws Error if it cannot be read.
    std::shared_ptr<ContentIndex> addExistingIndex(const std::string& dbfile);
    // Takes it out of the list and deletes its file, if it lies in the manager's folder: one that was taken
    // in from elsewhere is its owner's, and may be the mirror of another list. A mirror stays. Throws Error.
    void remove(const Entry& entry);
    // Gives a catalog that cannot be used a new, empty file. `keptAs`: where the old one, if there is one,
    // was moved to. Throws Error.
    struct Anew {
        std::shared_ptr<ContentIndex> index;
        std::optional<std::string> keptAs;
    };
    Anew startAnew(const Entry& entry);

    // Writes the list into the settings. What other processes have added meanwhile is kept, and what they
    // have removed is not entered again. Throws Error.
    void save();
    // Takes over what other processes have changed in the list and in the catalogs since it was loaded. The
    // settings themselves must have been read again.
    void reload();

    // For a process that lives on: from now on due refreshes are started, and the timer of the timed ones
    // runs. Before any search; others leave refreshes to such a process.
    void startup();
    // At the time of day that the settings name: every catalog is to be refreshed, one after the other.
    void startScheduldedRefreshIfNeeded();
    void performNextTimedIndexRefresh();
    // Every catalog whose interval has passed is refreshed.
    void scheduleRefreshes();
    // Asks every build to stop, and starts no other.
    void cancelAll();

    [[nodiscard]] NotificationCenter::Observation didChangeNotification(NotificationCenter::Handler handler);

    // Called after each refresh, on the thread that ran it.
    using Refreshed = std::function<void(const ContentIndex&, const ContentIndex::BuildOutcome&)>;
    void setRefreshed(Refreshed refreshed);

  private:
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace kestrix
