// Why a line finds one path, or does not.
#include "search/why.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "app/cli/chosen_files.h"
#include "app/cli/commands.h"
#include "app/cli/display_text.h"
#include "app/cli/find_request.h"
#include "base/path.h"
#include "base/text.h"
#include "platform/system_info.h"

namespace kestrix::cli {

namespace {

// As a search would show it: links on the way are resolved, unless the place that is searched was named with
// them.
std::string pathAsFound(std::string_view typed, const SearchLocation& location) {
    if (typed.empty()) throw UsageError("an empty path names nothing");
    std::string path = absolutePath(typed);
    const auto starts = location.locationURLs();
    const bool isBelow = std::any_of(starts.begin(), starts.end(), [&](const std::string& start) {
        return path::isOrIsBelow(path, start);
    });
    if (isBelow || path == "/") return path;
    const std::string folder = resolvedPath(std::string(path::parent(path)));
    return folder.empty() ? path : path::join(folder, path::lastComponent(path));
}

std::string inWords(const Judgement& judgement) {
    std::string text;
    for (const JudgementStep& step : judgement.steps) {
        text += step.passed ? "yes  " : "no   ";
        appendSafely(text, step.tested);
        if (!step.decides) text += " (one of several ways)";
        if (!step.detail.empty()) text += ": ";
        appendSafely(text, step.detail);
        text += '\n';
    }
    return text + (judgement.isFound() ? "It would be found.\n" : "It would not be found.\n");
}

std::string asJson(const std::string& path, const std::string& line, const Judgement& judgement) {
    using Json = nlohmann::ordered_json;
    Json steps = Json::array();
    for (const JudgementStep& step : judgement.steps)
        steps.push_back({{"tested", step.tested},
                         {"passed", step.passed},
                         {"decides", step.decides},
                         {"detail", step.detail}});
    const Json told = {{"path", path}, {"line", line}, {"found", judgement.isFound()}, {"steps", steps}};
    return told.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace

int runWhy(const Arguments& arguments, CommandContext& context) {
    if (arguments.words.size() < 2)
        throw UsageError("why needs a path and a line, such as: kestrix why ~/report.txt 'report -draft'");
    Application& application = context.application;
    Arguments search = arguments;
    search.words.erase(search.words.begin());
    const FindRequest request = resolveFind(search);
    const SearchLocation location = locationOf(request, application.disks(), application.folders().home);
    const std::string path = pathAsFound(arguments.words.front(), location);
    const auto query = std::make_shared<const QueryContainer>(request.line, location, request.soundex,
                                                              application.queryEnvironment(request.line));
    const bool inside =
        request.insideSystem || application.preferences().boolean("searchInsideSystemAndApps");
    const Judgement judgement = explainJudgement(path, query, {inside, application.disks()});
    context.output.append(arguments.has("json") ? asJson(path, request.line, judgement) : inWords(judgement));
    return judgement.isFound() ? kExitFound : kExitNothing;
}

}  // namespace kestrix::cli
