// The queries that the user typed, kept from one run to the next.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/clock.h"
#include "base/notification_center.h"
#include "shell/preferences.h"

namespace kestrix {

struct HistoryItem {
    enum class HistoryType { query = 0, opened = 1 };

    std::string id;  // a UUID's text
    HistoryType type = HistoryType::query;
    std::string queryString;
    std::optional<std::string> url;
    double performedDate = 0;  // seconds since 1970

    bool operator==(const HistoryItem&) const = default;
};

// The list lies in the setting "history" as an array, oldest first, of
//
//     {"id": string, "type": 0 query or 1 opened, "queryString": string, "url": string, empty for none,
//      "performedDate": seconds since 1970}
//
// An entry that lacks a key or has a value of another type is left out when reading, and gone with the next
// change. Nothing is held here: each call reads the settings, each change is made to what is stored at that
// moment, so two processes that add at once both keep theirs.
//
// Governed by the settings "historyEnabled" and "historyMaxCount".
// Threads: any. Failures: reading never fails; changes throw Error when the settings cannot be written.
class HistoryController {
  public:
    // Posted after each change made here.
    static constexpr const char* HistoryChangedNotification = "HistoryChangedNotification";

    // Whether a line holds commands.
    using HoldsCommands = std::function<bool(const std::string& text)>;

    HistoryController(Preferences& preferences, NotificationCenter& notifications,
                      HoldsCommands holdsCommands, Clock& clock = Clock::system());

    // Notes a query, at the end; an equal one that stood before goes. Lines with commands, empty lines and
    // lines that are no valid UTF-8 are not noted. What exceeds the maximum falls out before the new one
    // comes, so the list may be longer than that by one.
    void addQuery(const std::string& text);

    // Oldest first.
    std::vector<HistoryItem> items() const;
    // The texts of the query items, oldest first.
    std::vector<std::string> queries() const;

    // Whether there was such an item.
    bool remove(const std::string& id);
    void clear();

  private:
    void append(const std::string& query);

    Preferences& preferences_;
    NotificationCenter& notifications_;
    HoldsCommands holdsCommands_;
    Clock& clock_;
};

}  // namespace kestrix
