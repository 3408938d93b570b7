// The searches that are kept under a name.
#include <algorithm>
#include <nlohmann/json.hpp>

#include "app/cli/commands.h"
#include "app/cli/display_text.h"
#include "app/cli/find_request.h"
#include "files/search_location.h"

namespace kestrix::cli {

namespace {

std::string nameIn(const Arguments& arguments) {
    return std::string(arguments.words.front());
}

std::string lineIn(const Arguments& arguments) {
    Arguments behindName = arguments;
    behindName.words.erase(behindName.words.begin());
    return behindName.line();
}

int listSaved(const Arguments& arguments, CommandContext& context) {
    using Json = nlohmann::ordered_json;
    Json items = Json::array();
    std::string text;
    for (const SavedSearchItem& item : context.application.savedSearches().menuItems()) {
        items.push_back({{"name", item.displayName},
                         {"line", item.queryString},
                         {"location", item.location},
                         {"searchHidden", item.searchHiddenLocations}});
        for (const std::string* column : {&item.displayName, &item.queryString, &item.location}) {
            appendSafely(text, *column);
            text += column == &item.location ? '\n' : '\t';
        }
    }
    const bool isEmpty = items.empty();
    if (arguments.has("json")) text = items.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
    context.output.append(text);
    return isEmpty ? kExitNothing : kExitFound;
}

std::string locationIn(const Arguments& arguments) {
    const auto places = arguments.values("in");
    const auto preset = arguments.value("where");
    if (places.size() + (preset ? 1 : 0) > 1) {
        throw UsageError("a saved search looks in one place; give one --in or --where");
    }
    if (places.empty()) return std::string(preset.value_or("home"));
    return resolvedFolder(places.front());
}

int addSaved(const Arguments& arguments, SavedSearches& saved) {
    SavedSearchItem item;
    item.displayName = nameIn(arguments);
    item.queryString = lineIn(arguments);
    item.searchHiddenLocations = arguments.has("system");
    item.location = locationIn(arguments);
    saved.saveAs(std::move(item));
    return kExitFound;
}

const OptionSpec* findOption(std::string_view name) {
    const auto options = commandNamed("find")->options;
    return &*std::find_if(options.begin(), options.end(),
                          [&](const OptionSpec& option) { return option.name == name; });
}

// The line as it would have been typed behind find. A window names its preset "in home".
int runItem(const Arguments& arguments, CommandContext& context, const SavedSearchItem& item) {
    Arguments find = arguments;
    find.command = commandNamed("find");
    find.action = nullptr;
    find.words = {item.queryString};
    if (item.searchHiddenLocations) find.options.push_back({findOption("system"), {}});
    if (!arguments.has("in") && !arguments.has("where")) {
        std::string_view location = item.location;
        if (location.starts_with("in ")) location.remove_prefix(3);
        const bool isFolder = location.starts_with('/');
        if (!isFolder && !searchLocationURLSetNamed(location)) {
            throw UsageError("the place " + inQuotes(item.location) + " is not known here; give --in PATH");
        }
        find.options.push_back({findOption(isFolder ? "in" : "where"), location});
    }
    return runFind(find, context);
}

int tellMissing(const std::string& name) {
    complain("there is no saved search " + inQuotes(name) + "; kestrix saved lists them");
    return kExitNothing;
}

}  // namespace

int runSaved(const Arguments& arguments, CommandContext& context) {
    SavedSearches& saved = context.application.savedSearches();
    const std::string_view action = arguments.action->name;
    if (action == "list") return listSaved(arguments, context);
    if (action == "add") return addSaved(arguments, saved);
    const std::string name = nameIn(arguments);
    if (action == "run") {
        const auto item = saved.named(name);
        return item ? runItem(arguments, context, *item) : tellMissing(name);
    }
    const bool isThere = action == "change"   ? saved.changeQuery(name, lineIn(arguments))
                         : action == "rename" ? saved.rename(name, std::string(arguments.words[1]))
                                              : saved.remove(name);
    return isThere ? kExitFound : tellMissing(name);
}

}  // namespace kestrix::cli
