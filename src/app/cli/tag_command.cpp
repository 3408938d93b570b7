// The tags of one file or folder.
#include <algorithm>
#include <nlohmann/json.hpp>

#include "app/cli/commands.h"
#include "app/cli/display_text.h"
#include "base/error.h"
#include "platform/system_info.h"

namespace kestrix::cli {
namespace {

using Tags = std::vector<std::string>;

std::string existing(std::string_view typed) {
    std::string path = resolvedPath(std::string(typed));
    if (path.empty()) throw UsageError("there is no " + inQuotes(typed) + "; name a file or folder");
    return path;
}

int listTags(const Arguments& arguments, CommandContext& context, const Tags& tags) {
    using Json = nlohmann::ordered_json;
    if (arguments.has("json")) {
        context.output.append(Json(tags).dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
    } else {
        std::string text;
        for (const std::string& tag : tags) {
            appendSafely(text, tag);
            text += '\n';
        }
        context.output.append(text);
    }
    return tags.empty() ? kExitNothing : kExitFound;
}

bool holds(const Tags& tags, std::string_view tag) {
    return std::find(tags.begin(), tags.end(), tag) != tags.end();
}

Tags joined(Tags tags, const Tags& added) {
    for (const std::string& tag : added) {
        if (!holds(tags, tag)) tags.push_back(tag);
    }
    return tags;
}

// Tags that are met are offered while a line is typed. A list of them that cannot be kept is no reason to
// fail: the file has its tags.
void keepKnown(Application& application) {
    try {
        application.noteLaunch();
        application.tags().save();
    } catch (const Error& error) {
        complain(std::string("the tags are not kept for completions: ") + error.what());
    }
}

}  // namespace

int runTag(const Arguments& arguments, CommandContext& context) {
    LabelTagManager& manager = context.application.tags();
    const std::string path = existing(arguments.words.front());
    const Tags given(arguments.words.begin() + 1, arguments.words.end());
    const Tags before = manager.labels(path);
    const std::string_view action = arguments.action->name;
    if (action == "list") return listTags(arguments, context, before);
    Tags after = action == "add" ? joined(before, given) : given;
    if (action == "remove") {
        after = before;
        std::erase_if(after, [&given](const std::string& tag) { return holds(given, tag); });
        if (after == before) {
            complain(inQuotes(arguments.words.front()) + " has no such tag; kestrix tag list shows its tags");
            return kExitNothing;
        }
    }
    manager.setLabels(path, after);
    keepKnown(context.application);
    return kExitFound;
}

}  // namespace kestrix::cli
