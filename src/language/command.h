// What a clause of the command area turns into.
#pragma once

#include <any>
#include <map>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "language/query_search_arguments.h"
#include "language/sentence_component.h"

namespace kestrix {

struct SearchResult;
class QueryContainer;
class SearchDataSource;          // search/
class SearchDataSourceDelegate;  // search/

// Only `exclude` rejects. `skip`: the command could not judge the item; it passes as `accept` does.
enum class CommandApplyResult { exclude, accept, skip };

constexpr CommandApplyResult acceptIf(bool accepted) {
    return accepted ? CommandApplyResult::accept : CommandApplyResult::exclude;
}

// One clause with its meaning. Made by a CommandFactory, or by the query itself from the way its words are
// written. Threads: a command is shared by all copies of its query and immutable in use. One that keeps
// anything about the file it is judging says so with keepsStatePerFile and is then copied for each file.
class Command {
  public:
    virtual ~Command() = default;

    // The words it was made from; set by the parser.
    SentenceComponents commandConsumedParts;

    // The name of the type, for explanations: "MaxDepth".
    virtual std::string_view className() const = 0;
    // The clause as the user could type it.
    virtual std::string commandToString() const = 0;
    // The same with "**" in place of the argument, for menus.
    virtual std::string commandExample() const { return commandToString(); }
    // The command's own fields under their own names, for explanations: a JSON object.
    virtual nlohmann::json explainedFields() const;

    // Judges one result, and may add to it. Called by QueryContainer::searchResultPassesFiltering alone, on
    // several threads at once. Never throws: what cannot be read gives `exclude` or `skip`, as the command
    // says. A command that only marks its query judges nothing.
    virtual CommandApplyResult commandImpApply(SearchResult&, SearchDataSourceDelegate* /*feedback*/,
                                               const QueryContainer&) {
        return CommandApplyResult::accept;
    }
    virtual bool keepsStatePerFile() const { return false; }
    // Its judgement costs the reading of a whole file. Such a command is asked last, and only about results
    // that still can pass.
    virtual bool readsContents() const { return false; }
    // A fresh instance with the same arguments.
    virtual std::shared_ptr<Command> copy() const = 0;

    // A search is about to start; is being stopped. commandStop may come from any thread and must not block.
    virtual void commandsStarting() {}
    virtual void commandStop() {}

    // Added to the words that a name must hold, and to what the results list marks.
    virtual std::vector<std::string> commandImpExtraSearchStrings() const { return {}; }
    virtual std::vector<std::string> commandExtraHighlightStrings() const { return {}; }
    virtual void commandImpQuerySearchArguments(QuerySearchArguments&) const {}
    // The standard sources do not run for a query that holds it.
    virtual bool commandStopsWordBasedSearches() const { return false; }
    // Alone, it is no search.
    virtual bool commandIsOnlyAFilter() const { return false; }
    // Sources that it adds to the search.
    virtual std::vector<std::shared_ptr<SearchDataSource>> suppliedDataSources() const { return {}; }
    // Whether a menu entry for this clause should replace the other one.
    virtual bool isTemplateEqualTo(const Command&) const { return false; }
};

using Commands = std::vector<std::shared_ptr<Command>>;

// The values that a template's variables produced, in template order.
using CommandArguments = std::vector<std::any>;
using CommandFlags = std::map<std::string, std::string>;

// Makes commands of one family from a command name and its values.
class CommandFactory {
  public:
    virtual ~CommandFactory() = default;
    virtual std::vector<std::string> commandNames() const = 0;
    // nullptr for a name it does not know and for values that make no sense as a command.
    virtual std::shared_ptr<Command> create(const std::string& commandName, const CommandArguments& args,
                                            const CommandFlags& flags) const = 0;
    // Exactly, case included.
    bool implementsCommand(std::string_view name) const;
};

}  // namespace kestrix
