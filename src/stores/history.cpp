#include "stores/history.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <nlohmann/json.hpp>

#include "base/text.h"
#include "base/uuid.h"

namespace kestrix {

namespace {

using Json = nlohmann::json;

constexpr const char* kHistory = "history";

bool hasStoredForm(const Json& entry) {
    const auto is = [&](const char* key, auto check) {
        const auto found = entry.find(key);
        return found != entry.end() && ((*found).*check)();
    };
    return entry.is_object() && is("id", &Json::is_string) && is("type", &Json::is_number_integer) &&
           is("queryString", &Json::is_string) && is("url", &Json::is_string) &&
           // Other writers of JSON print a whole real number without its fraction.
           is("performedDate", &Json::is_number);
}

std::optional<HistoryItem> itemFrom(const Json& entry) {
    if (!hasStoredForm(entry)) return std::nullopt;
    const auto type = entry["type"].get<std::int64_t>();
    if (type != 0 && type != 1) return std::nullopt;

    HistoryItem item;
    item.id = entry["id"];
    item.type = static_cast<HistoryItem::HistoryType>(type);
    item.queryString = entry["queryString"];
    if (!entry["url"].get_ref<const std::string&>().empty()) item.url = entry["url"];
    item.performedDate = entry["performedDate"];
    return item;
}

std::vector<HistoryItem> itemsFrom(const Json& stored) {
    std::vector<HistoryItem> items;
    if (!stored.is_array()) return items;
    for (const Json& entry : stored) {
        if (auto item = itemFrom(entry)) items.push_back(std::move(*item));
    }
    return items;
}

Json storedForm(const std::vector<HistoryItem>& items) {
    Json stored = Json::array();
    for (const HistoryItem& item : items) {
        stored.push_back({{"id", item.id},
                          {"type", static_cast<int>(item.type)},
                          {"queryString", item.queryString},
                          {"url", item.url.value_or("")},
                          {"performedDate", item.performedDate}});
    }
    return stored;
}

void removeOld(std::vector<HistoryItem>& items, std::int64_t maximum) {
    const auto count = static_cast<std::int64_t>(items.size());
    const auto excess = std::max<std::int64_t>(0, count - std::max<std::int64_t>(0, maximum));
    items.erase(items.begin(), items.begin() + excess);
}

}  // namespace

HistoryController::HistoryController(Preferences& preferences, NotificationCenter& notifications,
                                     HoldsCommands holdsCommands, Clock& clock)
    : preferences_(preferences),
      notifications_(notifications),
      holdsCommands_(std::move(holdsCommands)),
      clock_(clock) {}

void HistoryController::addQuery(const std::string& text) {
    if (!preferences_.boolean("historyEnabled")) return;
    const std::string query(text::trimmed(text));
    if (query.empty() || !text::isValidUtf8(query) || holdsCommands_(text)) return;
    append(query);
}

// The oldest go before the new one comes, not after: the list keeps one more than the maximum until the next
// addition.
void HistoryController::append(const std::string& query) {
    const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(clock_.now().time_since_epoch());
    HistoryItem item;
    item.id = Uuid::make().text();
    item.queryString = query;
    item.performedDate = static_cast<double>(milliseconds.count()) / 1000;

    const std::int64_t maximum = preferences_.integer("historyMaxCount");
    preferences_.modify(kHistory, [&](Json& stored) {
        auto items = itemsFrom(stored);
        removeOld(items, maximum);
        std::erase_if(items, [&](const HistoryItem& each) { return each.queryString == query; });
        items.push_back(item);
        stored = storedForm(items);
    });
    notifications_.post(HistoryChangedNotification);
}

std::vector<HistoryItem> HistoryController::items() const {
    const auto stored = preferences_.value(kHistory);
    return stored ? itemsFrom(*stored) : std::vector<HistoryItem>();
}

std::vector<std::string> HistoryController::queries() const {
    std::vector<std::string> queries;
    for (auto& item : items()) {
        if (item.type == HistoryItem::HistoryType::query) queries.push_back(std::move(item.queryString));
    }
    return queries;
}

bool HistoryController::remove(const std::string& id) {
    bool removed = false;
    preferences_.modify(kHistory, [&](Json& stored) {
        auto items = itemsFrom(stored);
        removed = std::erase_if(items, [&](const HistoryItem& each) { return each.id == id; }) > 0;
        if (removed) stored = storedForm(items);
    });
    if (removed) notifications_.post(HistoryChangedNotification);
    return removed;
}

void HistoryController::clear() {
    if (preferences_.unset(kHistory)) notifications_.post(HistoryChangedNotification);
}

}  // namespace kestrix
