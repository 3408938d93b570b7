// What the user used lately: items for the sidebar, and locations for the choice of where to search.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "base/clock.h"
#include "base/lock.h"
#include "base/notification_center.h"
#include "platform/mounts.h"
#include "shell/preferences.h"

namespace kestrix {

struct RecentItem {
    std::string path;
    std::int64_t lastSeen = 0;  // seconds since 1970

    bool operator==(const RecentItem&) const = default;
};

// The list lies in the setting "recentSmartItems" as an array of {"path": string, "lastSeen": whole seconds
// since 1970}; malformed entries are left out when reading. It grows freely during a day: the first save of
// another day keeps the newest 20 and notes the date under "recentSmartLastPurge", in whole seconds too.
//
// Changes are made to what is stored at that moment, so two processes that add at once both keep theirs.
// Threads: any. Failures: reading never fails; changes throw Error when the settings cannot be written.
class RecentItems {
  public:
    // Posted after each change made here, and when the user shows or hides the list.
    static constexpr const char* DidChangeNotification = "RecentItems.DidChange";
    static constexpr std::size_t kMaximumCount = 20;

    RecentItems(Preferences& preferences, NotificationCenter& notifications,
                MountTable& mounts = MountTable::system(), Clock& clock = Clock::system());
    RecentItems(const RecentItems&) = delete;
    RecentItems& operator=(const RecentItems&) = delete;

    // Observes the setting that shows the list. On the main queue, once.
    void startup();

    // Notes the paths as seen now; one that is there already keeps its place. Left out are "/", hidden names,
    // roots of volumes, and paths that are no valid UTF-8, which the settings cannot hold. Without `save` the
    // notes are kept in memory until the next call with it.
    void addPopularItem(const std::vector<std::string>& paths, bool save);

    // In order of their first coming, or newest first after a purge.
    std::vector<RecentItem> items() const;

    // Whether there was such an item.
    bool remove(const std::string& path);
    void clear();

  private:
    std::vector<RecentItem> worthNoting(const std::vector<std::string>& paths) const;
    bool isPurgeDue() const;
    void save();

    Preferences& preferences_;
    NotificationCenter& notifications_;
    MountTable& mounts_;
    Clock& clock_;
    Locked<std::vector<RecentItem>> unsaved_;
    bool wasShown_ = false;  // main queue
    NotificationCenter::Observation observation_;
};

// The locations that the user chose, oldest first, up to "recentItemsMaxCount", in the setting
// "recentLocations".
class RecentLocations : public PreferencesArray {
  public:
    explicit RecentLocations(Preferences& preferences);
};

}  // namespace kestrix
