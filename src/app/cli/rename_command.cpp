// Files renamed one after the other, each to a name that is typed or read.
#include "app/cli/chosen_files.h"
#include "app/cli/commands.h"
#include "app/cli/display_text.h"
#include "base/error.h"
#include "platform/standard_streams.h"

namespace kestrix::cli {

namespace {

void askForName(const RenameVC::Question& question) {
    std::string title = question.title;
    if (!question.position.empty()) title += " (" + question.position + ")";
    ask({title, "New Name: "});
}

void print(const std::string& path, OutputWriter& output) {
    std::string line;
    if (isTerminal(StandardStream::output)) {
        appendSafely(line, path);
    } else {
        line = path;
    }
    output.append(line + "\n");
    output.flush();
}

void tellWhatIsLeft(const std::vector<std::string>& left) {
    if (left.empty()) return;
    complain(std::to_string(left.size()) + " file(s) keep their names, the first is " +
             inQuotes(left.front()));
}

}  // namespace

int runRename(const Arguments& arguments, CommandContext& context) {
    if (arguments.words.empty()) throw UsageError("rename needs a path, such as: kestrix rename draft.txt");
    Application& application = context.application;
    RenameVC& window = application.renameVC();
    const auto observation =
        RenameVC::itemsRenamed(application.notifications(), [&](const std::vector<RenameVC::Renamed>& pairs) {
            for (const auto& pair : pairs)
                print(pair.newPath, context.output);
        });
    ChosenFiles chosen = chosenFiles(arguments.words);
    if (!chosen.missing.empty()) {
        const auto& [typed, reason] = chosen.missing.front();
        complain("cannot rename " + inQuotes(typed) + ": " + reason);
        return kExitFailure;
    }
    window.show(std::move(chosen.files));
    const bool isAsked = isTerminal(StandardStream::input);
    while (const auto question = window.askToRename()) {
        if (isAsked) askForName(*question);
        const auto answer = readAnswer();
        if (!answer) {
            if (isAsked) writeTo(StandardStream::error, "\n");
            tellWhatIsLeft(window.itemsLeft());
            return kExitFailure;
        }
        try {
            window.rename(answer->empty() ? question->name : *answer);
        } catch (const Error& failure) {
            complain(failure.what());
            auto left = window.itemsLeft();
            left.erase(left.begin());
            tellWhatIsLeft(left);
            return kExitFailure;
        }
        application.mainQueue().runPending();
    }
    return kExitFound;
}

}  // namespace kestrix::cli
