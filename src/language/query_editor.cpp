#include "language/query_editor.h"

#include <algorithm>

#include "base/text.h"

namespace kestrix {
namespace {

// The commands that the clauses behind the colon made, but for those that `edited` is to replace. Commands
// made from the words before the colon stay out: these words are kept as they are.
Commands otherClauses(const QueryContainer& query, const Command& edited) {
    Commands kept;
    for (const auto& command : query.commandsFoundInQuery()) {
        if (!command->commandConsumedParts.empty() && !edited.isTemplateEqualTo(*command))
            kept.push_back(command);
    }
    return kept;
}

std::string lineOf(const std::string& words, const std::string& clauses) {
    if (clauses.empty()) return words;
    return (words.empty() ? ": " : words + " : ") + clauses;
}

}  // namespace

std::string QueryEditor::preCommandsQueryPortion() const {
    return std::string(text::trimmed(std::string_view(query_).substr(0, query_.find(':'))));
}

std::string QueryEditor::commandsString(const Commands& commands, const Command* example) const {
    std::string joined;
    for (const auto& command : commands) {
        if (!joined.empty()) joined += ' ';
        joined += command.get() == example ? command->commandExample() : command->commandToString();
    }
    return joined;
}

std::string QueryEditor::insert(const std::shared_ptr<Command>& command, bool useExample) const {
    Commands commands = otherClauses(QueryContainer(query_, std::nullopt, false, environment_), *command);
    commands.push_back(command);
    return lineOf(preCommandsQueryPortion(), commandsString(commands, useExample ? command.get() : nullptr));
}

std::string QueryEditor::remove(const std::shared_ptr<Command>& command) const {
    const QueryContainer query(query_, std::nullopt, false, environment_);
    return lineOf(preCommandsQueryPortion(), commandsString(otherClauses(query, *command), nullptr));
}

}  // namespace kestrix
