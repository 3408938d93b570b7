// Keeps files whose name holds a match of a regular expression.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "language/command.h"

namespace kestrix {

// Whether the text is a regular expression that compiles.
bool isRegularExpression(std::string_view pattern);

// Case-sensitive; a match anywhere in the name is enough. A pattern that does not compile judges nothing:
// `skip`. Bytes of a name that are no UTF-8 are matched as U+FFFD.
//
// No pattern can hang a search: a name on which it backtracks for more than about two milliseconds counts as
// not matched, and after a thousand such names every further one does.
class RegexCommand : public Command {
  public:
    explicit RegexCommand(std::string regex);
    ~RegexCommand() override;

    const std::string& regex() const { return regex_; }
    // Whether any name was given up, so that a front end can say so. Any thread, at any time.
    bool exceededItsBound() const;

    std::string_view className() const override { return "RegexCommand"; }
    std::string commandToString() const override;
    std::string commandExample() const override;
    nlohmann::json explainedFields() const override;  // regex
    CommandApplyResult commandImpApply(SearchResult&, SearchDataSourceDelegate*,
                                       const QueryContainer&) override;
    std::shared_ptr<Command> copy() const override { return std::make_shared<RegexCommand>(regex_); }

  private:
    class Matchers;

    std::string regex_;
    std::unique_ptr<Matchers> matchers_;
};

// Its value is the pattern's word.
class RegexCommandFactory : public CommandFactory {
  public:
    std::vector<std::string> commandNames() const override { return {"regex"}; }
    std::shared_ptr<Command> create(const std::string& commandName, const CommandArguments& args,
                                    const CommandFlags& flags) const override;
};

}  // namespace kestrix
