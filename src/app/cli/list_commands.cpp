// The small lists that the settings keep.
#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <nlohmann/json.hpp>

#include "app/cli/chosen_files.h"
#include "app/cli/commands.h"
#include "app/cli/display_text.h"
#include "base/calendar.h"
#include "base/error.h"
#include "base/path.h"
#include "files/ignore_items.h"
#include "platform/system_info.h"

namespace kestrix::cli {
namespace {

using Json = nlohmann::ordered_json;

// Lists show one item a line, whatever an item holds.
std::string onOneLine(std::string_view bytes) {
    std::string text;
    appendSafely(text, bytes);
    return text;
}

std::string dateAndTime(std::int64_t secondsSince1970) {
    const LocalTime time = localTime(secondsSince1970);
    return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}", time.year, time.month, time.day, time.hour,
                       time.minute);
}

// A list prints its items, as lines or as one JSON array; an empty one is "nothing found".
int printList(const Arguments& arguments, CommandContext& context, const std::vector<std::string>& lines,
              const Json& items) {
    if (arguments.has("json")) {
        context.output.append(items.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
    } else {
        for (const std::string& line : lines) {
            context.output.append(line);
            context.output.append('\n');
        }
    }
    return lines.empty() ? kExitNothing : kExitFound;
}

std::string absolute(std::string_view typed) {
    if (typed.empty()) throw UsageError("an empty path names nothing");
    return absolutePath(typed);
}

int listHistory(const Arguments& arguments, CommandContext& context) {
    std::vector<std::string> lines;
    Json items = Json::array();
    for (const HistoryItem& item : context.application.history().items()) {
        const auto when = static_cast<std::int64_t>(item.performedDate);
        lines.push_back(
            fmt::format("{:>4}  {}  {}", lines.size() + 1, dateAndTime(when), onOneLine(item.queryString)));
        items.push_back({{"line", item.queryString}, {"performedDate", when}});
    }
    return printList(arguments, context, lines, items);
}

int removeFromHistory(std::string_view typed, HistoryController& history) {
    std::size_t number = 0;
    const auto read = std::from_chars(typed.data(), typed.data() + typed.size(), number);
    const auto items = history.items();
    if (read.ec != std::errc() || read.ptr != typed.data() + typed.size() || number < 1 ||
        number > items.size()) {
        throw UsageError("there is no line " + inQuotes(typed) +
                         " in the history; kestrix history lists them");
    }
    return history.remove(items[number - 1].id) ? kExitFound : kExitNothing;
}

int listFavourites(const Arguments& arguments, CommandContext& context) {
    std::vector<std::string> lines;
    Json items = Json::array();
    for (const auto& [name, folder] : context.application.favoriteFolders().sortedPairs()) {
        lines.push_back(onOneLine(name) + "\t" + onOneLine(folder));
        items.push_back({{"name", name}, {"path", folder}});
    }
    return printList(arguments, context, lines, items);
}

int renameFavourite(const std::string& oldName, const std::string& newName, FavoriteFolders& favourites) {
    const auto pairs = favourites.keyFolderPairs();
    const auto found = pairs.find(oldName);
    if (found == pairs.end()) {
        throw UsageError("there is no favourite " + inQuotes(oldName) + "; kestrix favourites lists them");
    }
    return favourites.change(oldName, newName, found->second) ? kExitFound : kExitNothing;
}

int listRecents(const Arguments& arguments, CommandContext& context) {
    auto recents = context.application.recentItems().items();
    std::stable_sort(recents.begin(), recents.end(),
                     [](const RecentItem& a, const RecentItem& b) { return a.lastSeen > b.lastSeen; });
    std::vector<std::string> lines;
    Json items = Json::array();
    for (const RecentItem& item : recents) {
        lines.push_back(onOneLine(item.path));
        items.push_back({{"path", item.path}, {"lastSeen", item.lastSeen}});
    }
    return printList(arguments, context, lines, items);
}

int addRecent(std::string_view typed, Application& application) {
    const std::string item = absolute(typed);
    if (resolvedPath(item).empty()) throw UsageError("there is no " + inQuotes(typed) + "; name what exists");
    application.noteLaunch();
    application.recentItems().addPopularItem({item}, true);
    const auto items = application.recentItems().items();
    if (std::any_of(items.begin(), items.end(), [&](const RecentItem& one) { return one.path == item; })) {
        return kExitFound;
    }
    complain(inQuotes(item) +
             " is not kept: hidden items, roots of disks and names that are no UTF-8 are no recent items");
    return kExitNothing;
}

int listIgnored(const Arguments& arguments, CommandContext& context) {
    const IgnoreItems ignored(context.application.preferences());
    std::vector<std::string> lines;
    Json items = Json::array();
    const auto add = [&](const char* kind, const std::vector<IgnoreItem>& list) {
        for (const IgnoreItem& item : list) {
            lines.push_back(std::string(kind) + "\t" + onOneLine(item.text));
            items.push_back({{"type", kind}, {"text", item.text}});
        }
    };
    add("folder", ignored.pathComponents());
    add("extension", ignored.pathExtensions());
    return printList(arguments, context, lines, items);
}

// A leading dot is what people write before an extension.
int removeIgnored(std::string_view typed, IgnoreItems& ignored) {
    std::vector<Uuid> gone;
    for (const IgnoreItem& item : ignored.pathComponents()) {
        if (item.text == typed || item.text == path::withoutTrailingSlash(typed)) gone.push_back(item.id);
    }
    const std::string_view extension = typed.starts_with('.') ? typed.substr(1) : typed;
    for (const IgnoreItem& item : ignored.pathExtensions()) {
        if (item.text == extension) gone.push_back(item.id);
    }
    for (const Uuid& id : gone)
        ignored.remove(id);
    if (gone.empty()) {
        complain(inQuotes(typed) + " is not ignored; kestrix ignore lists what is");
        return kExitNothing;
    }
    ignored.save();
    return kExitFound;
}

// Searches compare with what stands behind the last dot of a name, so nothing else would ever be kept out.
void demandExtension(std::string_view typed) {
    const std::string_view bare = typed.starts_with('.') ? typed.substr(1) : typed;
    if (bare.empty() || bare.find_first_of("./* ") != bare.npos)
        throw UsageError(inQuotes(typed) +
                         " is no extension; give what stands behind the last dot, such as pdf");
}

// The favourites of a first launch are there before the list is shown or changed. Settings that cannot be
// written can still be read.
void noteLaunchIfPossible(Application& application) {
    try {
        application.noteLaunch();
    } catch (const Error&) {
        LogFunc("The settings cannot be written");
    }
}

}  // namespace

int runHistory(const Arguments& arguments, CommandContext& context) {
    HistoryController& history = context.application.history();
    if (arguments.action->name == "list") return listHistory(arguments, context);
    if (arguments.action->name == "remove") return removeFromHistory(arguments.words.front(), history);
    history.clear();
    return kExitFound;
}

int runFavourites(const Arguments& arguments, CommandContext& context) {
    FavoriteFolders& favourites = context.application.favoriteFolders();
    const std::string_view action = arguments.action->name;
    if (action == "list") {
        noteLaunchIfPossible(context.application);
        return listFavourites(arguments, context);
    }
    context.application.noteLaunch();
    if (action == "rename") {
        return renameFavourite(std::string(arguments.words[0]), std::string(arguments.words[1]), favourites);
    }
    if (action == "remove") {
        if (favourites.remove(std::string(arguments.words.front()))) return kExitFound;
        complain("there is no favourite " + inQuotes(arguments.words.front()) +
                 "; kestrix favourites lists them");
        return kExitNothing;
    }
    context.output.append(onOneLine(favourites.add(absolute(arguments.words.front()))));
    context.output.append('\n');
    return kExitFound;
}

int runRecents(const Arguments& arguments, CommandContext& context) {
    if (arguments.action->name == "list") return listRecents(arguments, context);
    if (arguments.action->name == "add") return addRecent(arguments.words.front(), context.application);
    context.application.recentItems().clear();
    return kExitFound;
}

int runIgnore(const Arguments& arguments, CommandContext& context) {
    const std::string_view action = arguments.action->name;
    if (action == "list") return listIgnored(arguments, context);
    const std::string_view text = arguments.words.front();
    if (text.empty()) throw UsageError("an empty text ignores nothing");
    IgnoreItems ignored(context.application.preferences());
    if (action == "remove") return removeIgnored(text, ignored);
    demandUtf8(text, "what is ignored");
    if (action == "add-extension") demandExtension(text);
    context.application.noteLaunch();
    if (action == "add-folder") {
        ignored.addFolder(text);
    } else {
        ignored.add(text);
    }
    return kExitFound;
}

int runLog(const Arguments& arguments, CommandContext& context) {
    const Logger& logger = context.application.logger();
    if (arguments.action->name == "path") {
        context.output.append(logger.urls().currentLogURL);
        context.output.append('\n');
        return kExitFound;
    }
    const auto contents = logger.logContents();
    if (!contents) {
        complain("there is no log yet; run a command with --log to write one");
        return kExitNothing;
    }
    context.output.append(*contents);
    return kExitFound;
}

}  // namespace kestrix::cli
