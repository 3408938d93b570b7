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

bool isOfTheKind(const Json& value, const Json& registered) {
    if (registered.is_number_float()) return value.is_number();
    if (registered.is_number_integer()) return value.is_number_integer();
    return value.type() == registered.type();
}

std::string_view kindOf(const Json& registered) {
    if (registered.is_boolean()) return "true or false";
    if (registered.is_number_integer()) return "a whole number";
    return registered.is_number() ? "a number" : "a text, which --string makes of anything";
}

// A value of another kind would be stored and never heeded.
Json valueFor(const std::string& key, std::string_view typed, bool forceText,
              const Preferences& preferences) {
    Json value = valueOf(typed, forceText);
    const auto registered = preferences.registeredDefault(key);
    if (!registered || isOfTheKind(value, *registered)) return value;
    throw UsageError("the setting " + inQuotes(key) + " is " + std::string(kindOf(*registered)) + ", not " +
                     inQuotes(typed));
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
        complain(inQuotes(key) + " is not set and has no default; kestrix settings list shows what there is");
        return kExitNothing;
    }
    output.append(json ? asJson(*value) : bare(*value));
    output.append('\n');
    return kExitFound;
}

int unsetSetting(Preferences& preferences, const std::string& key) {
    if (preferences.unset(key)) return kExitFound;
    complain("no value is stored for " + inQuotes(key) + "; kestrix settings list marks those that are");
    return kExitNothing;
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
    if (action == "unset") return unsetSetting(preferences, key);
    demandUtf8(arguments.words[1], "a setting");
    preferences.set(key, valueFor(key, arguments.words[1], arguments.has("string"), preferences));
    return kExitFound;
}

}  // namespace kestrix::cli
