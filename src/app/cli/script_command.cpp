// The user's scripts: which there are, and one run over files.
#include <algorithm>
#include <atomic>
#include <nlohmann/json.hpp>

#include "actions/scripter.h"
#include "app/cli/chosen_files.h"
#include "app/cli/commands.h"
#include "app/cli/display_text.h"
#include "base/error.h"
#include "base/path.h"
#include "platform/directory.h"
#include "platform/interrupts.h"
#include "platform/standard_streams.h"

namespace kestrix::cli {

namespace {

int listScripts(const Arguments& arguments, CommandContext& context, const Scripter& scripter) {
    using Json = nlohmann::ordered_json;
    const auto scripts = scripter.scripts();
    Json items = Json::array();
    std::string text;
    for (const auto& [name, path] : scripts) {
        items.push_back({{"name", name}, {"path", path}});
        appendSafely(text, name);
        text += '\t';
        appendSafely(text, path);
        text += '\n';
    }
    if (arguments.has("json")) text = items.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
    context.output.append(text);
    return scripts.empty() ? kExitNothing : kExitFound;
}

// By the name that the list shows, or by the file's.
std::string scriptNamed(std::string_view typed, const Scripter& scripter) {
    for (const auto& [name, path] : scripter.scripts())
        if (name == typed || path::lastComponent(path) == typed) return path;
    throw UsageError("there is no script " + inQuotes(typed) + "; kestrix script list lists them");
}

std::string existing(std::string_view typed) {
    FileAttributes attributes;
    std::string path = absolutePath(typed);
    if (typed.empty() || readAttributes(path, false, attributes) != 0)
        throw UsageError("there is no " + inQuotes(typed) + "; name a file or folder");
    return path;
}

void complainOfCut(bool wasCut, std::string_view stream) {
    if (wasCut) complain("the script wrote more to its " + std::string(stream) + "; the rest was dropped");
}

// The words behind "--" are the script's own, also those that look like paths.
int runOverFiles(const Arguments& arguments, CommandContext& context, Scripter& scripter) {
    const std::size_t files = arguments.wordsBeforeDashes.value_or(arguments.words.size());
    if (files == 0) throw UsageError("script run needs a script's name; kestrix script list lists them");
    const std::string script = scriptNamed(arguments.words.front(), scripter);
    Scripter::Paths paths, further;
    for (std::size_t i = 1; i < files; ++i)
        paths.push_back(existing(arguments.words[i]));
    for (std::size_t i = files; i < arguments.words.size(); ++i)
        further.emplace_back(arguments.words[i]);

    std::atomic<int> interruptedBy = 0;
    const InterruptWatcher watcher([&](int signal) {
        interruptedBy = signal;
        scripter.stop();
    });
    const auto outcome = scripter.run(script, paths, further);
    if (!outcome) throw UsageError("the script " + inQuotes(script) + " has gone");
    context.output.append(outcome->output);
    context.output.flush();
    writeTo(StandardStream::error, outcome->errors);
    complainOfCut(outcome->outputWasCut, "output");
    complainOfCut(outcome->errorsWereCut, "errors");
    if (interruptedBy != 0) return 128 + interruptedBy;
    if (outcome->exitStatus == 0) return kExitFound;
    complain("the script " + inQuotes(arguments.words.front()) + " ended with status " +
             std::to_string(outcome->exitStatus));
    return kExitFailure;
}

// Messages are one line here.
std::string onOneLine(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

}  // namespace

int runScript(const Arguments& arguments, CommandContext& context) {
    Scripter scripter(context.application.folders().data + "/scripts");
    const std::string_view action = arguments.action->name;
    if (action == "list") return listScripts(arguments, context, scripter);
    if (action == "folder") {
        context.output.append(scripter.openScriptsFolder());
        context.output.append('\n');
        return kExitFound;
    }
    try {
        return runOverFiles(arguments, context, scripter);
    } catch (const Error& failure) {
        complain(onOneLine(failure.what()));
        return kExitFailure;
    }
}

}  // namespace kestrix::cli
