#include <nlohmann/json.hpp>

#include "app/cli/commands.h"
#include "app/cli/display_text.h"

namespace kestrix::cli {
namespace {

using Json = nlohmann::json;

std::string asJson(const Json& value) {
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// Texts stand as they are, so that scripts need no unquoting.
std::string bare(const Json& value) {
    return value.is_string() ? value.get<std::string>() : asJson(value);
}

// A text that would break the line or its columns is shown as JSON.
std::string bareOnOneLine(const Json& value) {
    const std::string text = bare(value);
    const bool breaks = text.find_first_of("\n\t\r") != text.npos;
    return breaks ? asJson(value) : text;
}

// What is no JSON value is text; so is null, which would mean "no value".
Json valueOf(std::string_view typed, bool forceText) {
    if (forceText) return std::string(typed);
    Json value = Json::parse(typed, nullptr, false);
    return value.is_discarded() || value.is_null() ? Json(std::string(typed)) : value;
}

int listSettings(Preferences& preferences, OutputWriter& output, bool json) {
    Json all = Json::object();
    for (const std::string& key : preferences.keys()) {
        const auto value = preferences.value(key);
        if (!value) continue;
        if (json) {
            all[key] = *value;
            continue;
        }
        output.append(bareOnOneLine(key));
        output.append('=');
        output.append(bareOnOneLine(*value));
        output.append(preferences.hasStoredValue(key) ? "\tstored\n" : "\n");
    }
    if (json) output.append(all.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
    return kExitFound;
}

int getSetting(Preferences& preferences, OutputWriter& output, const std::string& key, bool json) {
    const auto value = preferences.value(key);
    if (!value) {
        complain("there is no setting " + inQuotes(key) + "; kestrix settings list shows what there is");
        return kExitNothing;
    }
    output.append(json ? asJson(*value) : bare(*value));
    output.append('\n');
    return kExitFound;
}

}  // namespace

int runSettings(const Arguments& arguments, CommandContext& context) {
    Preferences& preferences = context.application.preferences();
    const std::string_view action = arguments.action->name;
    if (action == "list") return listSettings(preferences, context.output, arguments.has("json"));
    const std::string key(arguments.words.front());
    if (key.empty()) throw UsageError("a setting needs a name; kestrix settings list shows what there is");
    if (action == "get") return getSetting(preferences, context.output, key, arguments.has("json"));
    context.application.noteLaunch();
    demandUtf8(key, "the name of a setting");
    if (action == "unset") return preferences.unset(key) ? kExitFound : kExitNothing;
    demandUtf8(arguments.words[1], "a setting");
    preferences.set(key, valueOf(arguments.words[1], arguments.has("string")));
    return kExitFound;
}

}  // namespace kestrix::cli
