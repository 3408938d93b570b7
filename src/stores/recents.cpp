#include "stores/recents.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "base/calendar.h"
#include "base/path.h"
#include "base/text.h"

namespace kestrix {

namespace {

using Json = nlohmann::json;

constexpr const char* kItems = "recentSmartItems";
constexpr const char* kLastPurge = "recentSmartLastPurge";
constexpr const char* kIsShown = "sidebarShouldShowPopular";

std::vector<RecentItem> itemsFrom(const Json& stored) {
    std::vector<RecentItem> items;
    if (!stored.is_array()) return items;
    for (const Json& entry : stored) {
        if (!entry.is_object()) continue;
        const auto path = entry.find("path");
        const auto lastSeen = entry.find("lastSeen");
        if (path == entry.end() || !path->is_string()) continue;
        if (lastSeen == entry.end() || !lastSeen->is_number_integer()) continue;
        items.push_back({path->get<std::string>(), lastSeen->get<std::int64_t>()});
    }
    return items;
}

Json storedForm(const std::vector<RecentItem>& items) {
    Json stored = Json::array();
    for (const RecentItem& item : items) {
        stored.push_back({{"path", item.path}, {"lastSeen", item.lastSeen}});
    }
    return stored;
}

void put(std::vector<RecentItem>& items, const RecentItem& item) {
    const auto found = std::find_if(items.begin(), items.end(),
                                    [&](const RecentItem& each) { return each.path == item.path; });
    if (found == items.end()) {
        items.push_back(item);
    } else {
        *found = item;
    }
}

bool erase(std::vector<RecentItem>& items, const std::string& path) {
    return std::erase_if(items, [&](const RecentItem& each) { return each.path == path; }) > 0;
}

void keepNewest(std::vector<RecentItem>& items) {
    std::stable_sort(items.begin(), items.end(),
                     [](const RecentItem& a, const RecentItem& b) { return a.lastSeen > b.lastSeen; });
    if (items.size() > RecentItems::kMaximumCount) items.resize(RecentItems::kMaximumCount);
}

bool isRootOfAVolume(const std::vector<Mount>& mounts, std::string_view path) {
    return path == "/" || std::any_of(mounts.begin(), mounts.end(),
                                      [&](const Mount& mount) { return mount.mountPoint == path; });
}

}  // namespace

RecentItems::RecentItems(Preferences& preferences, NotificationCenter& notifications, MountTable& mounts,
                         Clock& clock)
    : preferences_(preferences), notifications_(notifications), mounts_(mounts), clock_(clock) {}

void RecentItems::startup() {
    wasShown_ = preferences_.boolean(kIsShown);
    observation_ = preferences_.preferencesDidChangeNotification([this] {
        const bool isShown = preferences_.boolean(kIsShown);
        if (std::exchange(wasShown_, isShown) != isShown) notifications_.post(DidChangeNotification);
    });
}

void RecentItems::addPopularItem(const std::vector<std::string>& paths, bool save) {
    const auto noted = worthNoting(paths);
    unsaved_.modify([&](auto& unsaved) {
        for (const RecentItem& item : noted)
            put(unsaved, item);
    });
    if (save) this->save();
    if (!noted.empty()) notifications_.post(DidChangeNotification);
}

std::vector<RecentItem> RecentItems::worthNoting(const std::vector<std::string>& paths) const {
    const auto mounts = mounts_.mounts();
    const std::int64_t now = secondsSince1970(clock_.now());
    std::vector<RecentItem> noted;
    for (const std::string& each : paths) {
        const std::string_view path = path::withoutTrailingSlash(each);
        if (path.empty() || path::lastComponent(path).front() == '.') continue;
        if (isRootOfAVolume(mounts, path) || !text::isValidUtf8(path)) continue;
        noted.push_back({std::string(path), now});
    }
    return noted;
}

// A date of 0 is that of a list never purged: its first day begins with its first save.
bool RecentItems::isPurgeDue() const {
    const std::int64_t last = preferences_.integer(kLastPurge);
    return last != 0 && !sameLocalDay(last, secondsSince1970(clock_.now()));
}

// What is being saved stays among the unsaved until it is written: a failed write loses nothing.
void RecentItems::save() {
    const bool purgeDue = isPurgeDue();
    const auto saving = unsaved_.get();
    preferences_.modify(kItems, [&](Json& stored) {
        auto items = itemsFrom(stored);
        for (const RecentItem& item : saving)
            put(items, item);
        if (purgeDue) keepNewest(items);
        if (stored.is_array() || !items.empty()) stored = storedForm(items);
    });
    unsaved_.modify([&](auto& unsaved) {
        std::erase_if(unsaved, [&](const RecentItem& item) {
            return std::find(saving.begin(), saving.end(), item) != saving.end();
        });
    });
    if (purgeDue || preferences_.integer(kLastPurge) == 0) {
        preferences_.set(kLastPurge, secondsSince1970(clock_.now()));
    }
}

std::vector<RecentItem> RecentItems::items() const {
    const auto stored = preferences_.value(kItems);
    auto items = stored ? itemsFrom(*stored) : std::vector<RecentItem>();
    for (const RecentItem& item : unsaved_.get())
        put(items, item);
    return items;
}

bool RecentItems::remove(const std::string& path) {
    bool removed = unsaved_.modify([&](auto& unsaved) { return erase(unsaved, path); });
    preferences_.modify(kItems, [&](Json& stored) {
        auto items = itemsFrom(stored);
        if (!erase(items, path)) return;
        stored = storedForm(items);
        removed = true;
    });
    if (removed) notifications_.post(DidChangeNotification);
    return removed;
}

void RecentItems::clear() {
    unsaved_.set({});
    preferences_.unset(kItems);
    notifications_.post(DidChangeNotification);
}

RecentLocations::RecentLocations(Preferences& preferences)
    : PreferencesArray(
          preferences, "recentLocations",
          static_cast<std::size_t>(std::max<std::int64_t>(0, preferences.integer("recentItemsMaxCount")))) {}

}  // namespace kestrix
