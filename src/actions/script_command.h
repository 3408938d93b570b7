// "run backup using last week": the sentence that runs one of the user's scripts instead of a search.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "actions/scripter.h"
#include "language/command.h"

namespace kestrix {

// What is run: a script by its path, or a shortcut by its name.
struct AppleScriptTarget {
    std::string url;
    bool operator==(const AppleScriptTarget&) const = default;
};
struct ShortcutTarget {
    std::string name;
    bool operator==(const ShortcutTarget&) const = default;
};
using TargetType = std::variant<AppleScriptTarget, ShortcutTarget>;

// A query that holds one starts no search: its session runs it over the rows that are there. It judges
// nothing. The scripter outlives every query.
class ScriptCommand : public Command {
  public:
    // `name`: what a line calls the script by. `varArg`: the words behind "using".
    ScriptCommand(TargetType type, std::string name, SentenceComponents varArg, Scripter& scripter)
        : type_(std::move(type)), name_(std::move(name)), varArg_(std::move(varArg)), scripter_(scripter) {}

    const TargetType& type() const { return type_; }
    const SentenceComponents& varArg() const { return varArg_; }

    // Returns at once; the script runs in the background. Its arguments are the files, then the words as they
    // were typed.
    void run(Scripter::Paths targetFiles, Scripter::Completion completion = {}) const;

    std::string_view className() const override { return "ScriptCommand"; }
    std::string commandToString() const override;
    std::string commandExample() const override { return "run **"; }
    nlohmann::json explainedFields() const override;  // type, varArg
    CommandApplyResult commandImpApply(SearchResult&, SearchDataSourceDelegate*,
                                       const QueryContainer&) override {
        return CommandApplyResult::accept;
    }
    std::shared_ptr<Command> copy() const override { return std::make_shared<ScriptCommand>(*this); }
    bool commandStopsWordBasedSearches() const override { return true; }

  private:
    TargetType type_;
    std::string name_;
    SentenceComponents varArg_;
    Scripter& scripter_;
};

// "scriptCommand": the target as a string, a path or else a shortcut's name; then the further words, if any.
class ScriptCommandFactory : public CommandFactory {
  public:
    explicit ScriptCommandFactory(Scripter& scripter) : scripter_(scripter) {}

    std::vector<std::string> commandNames() const override { return {"scriptCommand"}; }
    std::shared_ptr<Command> create(const std::string& commandName, const CommandArguments& args,
                                    const CommandFlags& flags) const override;

  private:
    Scripter& scripter_;
};

}  // namespace kestrix
