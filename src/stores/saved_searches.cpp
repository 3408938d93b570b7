#include "stores/saved_searches.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "base/error.h"
#include "base/text.h"
#include "base/uuid.h"

namespace kestrix {

namespace {

using Json = nlohmann::json;
using Contents = SavedSearches::Contents;

constexpr const char* kSavedSearches = "savedSearches";
constexpr const char* kDomain = "SavedSearches";

std::optional<SavedSearchItem> itemFrom(const Json& entry) {
    if (!entry.is_object()) return std::nullopt;
    const auto text = [&](const char* key) -> std::optional<std::string> {
        const auto found = entry.find(key);
        if (found == entry.end() || !found->is_string()) return std::nullopt;
        return found->get<std::string>();
    };
    const auto name = text("userName"), query = text("queryString"), location = text("location");
    const auto hidden = entry.find("searchHidden");
    if (!name || !query || !location || hidden == entry.end() || !hidden->is_boolean()) return std::nullopt;
    if (entry.contains("id") && !text("id")) return std::nullopt;

    SavedSearchItem item;
    item.id = text("id").value_or(Uuid::make().text());
    item.displayName = *name;
    item.queryString = *query;
    item.searchHiddenLocations = hidden->get<bool>();
    item.location = *location;
    return item;
}

Contents contentsFrom(const Json& stored) {
    Contents contents;
    if (!stored.is_array()) return contents;
    for (const Json& entry : stored) {
        if (auto item = itemFrom(entry)) contents.insert_or_assign(item->id, std::move(*item));
    }
    return contents;
}

Json storedForm(const Contents& contents) {
    Json stored = Json::array();
    for (const auto& [id, item] : contents) {
        stored.push_back({{"id", id},
                          {"userName", item.displayName},
                          {"queryString", item.queryString},
                          {"searchHidden", item.searchHiddenLocations},
                          {"location", item.location}});
    }
    return stored;
}

template <typename Searches>
auto find(Searches& contents, const std::string& displayName) {
    return std::find_if(contents.begin(), contents.end(),
                        [&](const auto& each) { return each.second.displayName == displayName; });
}

void demandStorable(const std::string& text) {
    if (text::isValidUtf8(text)) return;
    throw Error(kDomain, 0, text::displayable(text) + ": a saved search must be valid UTF-8");
}

void demandFreeName(const Contents& contents, const std::string& name) {
    demandStorable(name);
    if (text::trimmed(name).empty()) throw Error(kDomain, 0, "A search needs a name");
    if (find(contents, name) == contents.end()) return;
    throw Error(kDomain, 0, "A search with the name " + name + " already exists. Try another name.");
}

}  // namespace

SavedSearches::SavedSearches(Preferences& preferences, NotificationCenter& notifications)
    : preferences_(preferences), notifications_(notifications) {}

Contents SavedSearches::load() const {
    const auto stored = preferences_.value(kSavedSearches);
    return stored ? contentsFrom(*stored) : Contents();
}

void SavedSearches::save(const std::function<void(Contents&)>& change) {
    preferences_.modify(kSavedSearches, [&](Json& stored) {
        Contents contents = contentsFrom(stored);
        change(contents);
        stored = storedForm(contents);
    });
    notifications_.post(DidChangeNotification);
}

std::vector<SavedSearchItem> SavedSearches::menuItems() const {
    std::vector<SavedSearchItem> items;
    for (auto& [id, item] : load())
        items.push_back(item);
    std::sort(items.begin(), items.end(), [](const SavedSearchItem& a, const SavedSearchItem& b) {
        return text::naturalCompare(a.displayName, b.displayName) < 0;
    });
    return items;
}

std::optional<SavedSearchItem> SavedSearches::named(const std::string& displayName) const {
    const Contents contents = load();
    const auto found = find(contents, displayName);
    return found == contents.end() ? std::nullopt : std::optional(found->second);
}

void SavedSearches::saveAs(SavedSearchItem item) {
    demandStorable(item.queryString);
    demandStorable(item.location);
    if (text::trimmed(item.queryString).empty()) throw Error(kDomain, 0, "There is no line to save");
    item.id = Uuid::make().text();
    save([&](Contents& contents) {
        demandFreeName(contents, item.displayName);
        contents.emplace(item.id, item);
    });
}

// Nothing is written, or announced, where there is no such item.
bool SavedSearches::changeNamed(const std::string& displayName,
                                const std::function<void(Contents&, Contents::iterator)>& change) {
    bool isThere = false;
    preferences_.modify(kSavedSearches, [&](Json& stored) {
        Contents contents = contentsFrom(stored);
        const auto found = find(contents, displayName);
        isThere = found != contents.end();
        if (!isThere) return;
        change(contents, found);
        stored = storedForm(contents);
    });
    if (isThere) notifications_.post(DidChangeNotification);
    return isThere;
}

bool SavedSearches::changeQuery(const std::string& displayName, const std::string& queryString) {
    demandStorable(queryString);
    return changeNamed(displayName,
                       [&](Contents&, Contents::iterator item) { item->second.queryString = queryString; });
}

bool SavedSearches::rename(const std::string& displayName, const std::string& newName) {
    return changeNamed(displayName, [&](Contents& contents, Contents::iterator item) {
        if (newName != displayName) demandFreeName(contents, newName);
        item->second.displayName = newName;
    });
}

bool SavedSearches::remove(const std::string& displayName) {
    return changeNamed(displayName,
                       [](Contents& contents, Contents::iterator item) { contents.erase(item); });
}

std::string SavedSearches::makeUniqueName(const std::string& fromName) const {
    const Contents contents = load();
    std::string name = fromName;
    for (int counter = 1; find(contents, name) != contents.end(); ++counter)
        name = fromName + "-" + std::to_string(counter);
    return name;
}

NotificationCenter::Observation SavedSearches::didChange(NotificationCenter& notifications,
                                                         NotificationCenter::Handler call) {
    return notifications.observe(DidChangeNotification, std::move(call));
}

}  // namespace kestrix
