#include <nlohmann/json.hpp>

#include "app/cli/commands.h"
#include "app/cli/display_text.h"
#include "language/completion.h"

namespace kestrix::cli {

int runComplete(const Arguments& arguments, CommandContext& context) {
    if (arguments.words.empty())
        throw UsageError("complete needs the beginning of a line, such as: kestrix complete 'report : mod'");
    const std::string line = arguments.line();
    const auto continuations =
        continuationsOf(line, context.application.language(), context.application.variableLookups());
    if (arguments.has("json")) {
        auto items = nlohmann::ordered_json::array();
        for (const Continuation& one : continuations)
            items.push_back({{"word", one.word}, {"line", one.line}});
        using Json = nlohmann::ordered_json;
        context.output.append(items.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
    } else {
        std::string text;
        for (const Continuation& one : continuations) {
            appendSafely(text, one.word);
            text += '\n';
        }
        context.output.append(text);
    }
    return continuations.empty() ? kExitNothing : kExitFound;
}

}  // namespace kestrix::cli
