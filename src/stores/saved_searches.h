// The queries that the user named and keeps.
#pragma once

#include <functional>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "base/notification_center.h"
#include "shell/preferences.h"

namespace kestrix {

struct SavedSearchItem {
    std::string id;  // a UUID's text
    std::string displayName;
    std::string queryString;
    bool searchHiddenLocations = false;
    std::string location;  // the name of a preset ("home"), or an absolute path
    bool dirty = false;    // changed by its window since it was read; never stored

    bool operator==(const SavedSearchItem&) const = default;
};

// They lie in the setting "savedSearches" as an array of
//
//     {"id": string, "userName": string, "queryString": string, "searchHidden": bool, "location": string}
//
// An entry without "id" gets a new one each time it is read, until it is written; one that lacks another key
// or has a value of another type is left out when reading, and gone with the next change. Nothing is held
// here: each call reads the settings, each change is made to what is stored at that moment, so two processes
// that save at once both keep theirs.
// Threads: any. Failures: reading never fails; changes throw Error, with nothing changed then, when the
// settings cannot be written or cannot hold what is given.
class SavedSearches {
  public:
    // Posted after each change made here.
    static constexpr const char* DidChangeNotification = "SavedSearches.DidChange";

    using Contents = std::map<std::string, SavedSearchItem>;  // by id

    SavedSearches(Preferences& preferences, NotificationCenter& notifications);

    Contents load() const;
    // Hands `change` what is stored and stores what it leaves there.
    void save(const std::function<void(Contents& contents)>& change);

    // In the order in which a menu shows them: by name, as people read them.
    std::vector<SavedSearchItem> menuItems() const;
    std::optional<SavedSearchItem> named(const std::string& displayName) const;

    // Adds the item under a new id. Throws Error if the name is in use, or name or line are empty.
    void saveAs(SavedSearchItem item);
    // Each finds its item by its name and tells whether there is one. A new name that is another item's
    // throws Error.
    bool changeQuery(const std::string& displayName, const std::string& queryString);
    bool rename(const std::string& displayName, const std::string& newName);
    bool remove(const std::string& displayName);

    // The name, or if an item has it the name with the first free one of "-1", "-2" ... behind it.
    std::string makeUniqueName(const std::string& fromName) const;

    // Calls `call` on the main queue after each change, for as long as what is returned lives.
    [[nodiscard]] static NotificationCenter::Observation didChange(NotificationCenter& notifications,
                                                                   NotificationCenter::Handler call);

  private:
    bool changeNamed(const std::string& displayName,
                     const std::function<void(Contents& contents, Contents::iterator item)>& change);

    Preferences& preferences_;
    NotificationCenter& notifications_;
};

}  // namespace kestrix
