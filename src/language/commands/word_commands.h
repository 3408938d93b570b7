// Commands that refine how the words of a query meet a file's name.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "language/command.h"
#include "language/name_test.h"

namespace kestrix {

// Made by the query from words that begin with "-": a name that holds one of them is out.
class NotIncludingWords : public Command {
  public:
    // As typed, in lower case; one leading "-" is dropped.
    explicit NotIncludingWords(std::vector<std::string> rawWords);

    const std::vector<std::string>& words() const { return words_; }
    const std::vector<std::string>& rawWords() const { return rawWords_; }

    std::string_view className() const override { return "NotIncludingWords"; }
    std::string commandToString() const override;
    nlohmann::json explainedFields() const override;
    CommandApplyResult commandImpApply(SearchResult&, SearchDataSourceDelegate*,
                                       const QueryContainer&) override;
    std::shared_ptr<Command> copy() const override { return std::make_shared<NotIncludingWords>(*this); }
    bool commandIsOnlyAFilter() const override { return true; }

  private:
    std::vector<std::string> rawWords_;
    std::vector<std::string> words_;
    NameTest excluded_;
};

// Made by the query from words with a star: with one prefix the whole name must begin with it, with one
// suffix it must end with it, and no blank-separated word of the name may hold one in another place. Composed
// like the name, so that accents meet in either form.
class WildcardWords : public Command {
  public:
    explicit WildcardWords(SentenceComponents words);

    const SentenceComponents& words() const { return words_; }
    const std::vector<std::string>& prefixes() const { return prefixes_; }
    const std::vector<std::string>& suffixes() const { return suffixes_; }

    // `name` in lower case.
    CommandApplyResult checkWildCardsFor(std::string_view name) const;

    std::string_view className() const override { return "WildcardWords"; }
    std::string commandToString() const override { return ""; }
    nlohmann::json explainedFields() const override;
    CommandApplyResult commandImpApply(SearchResult&, SearchDataSourceDelegate*,
                                       const QueryContainer&) override;
    std::shared_ptr<Command> copy() const override { return std::make_shared<WildcardWords>(*this); }
    bool commandIsOnlyAFilter() const override { return true; }

  private:
    SentenceComponents words_;
    std::vector<std::string> prefixes_;
    std::vector<std::string> suffixes_;
};

// Marks the query: its words must equal whole words of a name.
class WholeWords : public Command {
  public:
    static constexpr const char* kCommandName = "wholeWords";
    std::string_view className() const override { return "WholeWords"; }
    std::string commandToString() const override { return "whole words"; }
    std::shared_ptr<Command> copy() const override { return std::make_shared<WholeWords>(*this); }
};

// Marks the query: its words must stand in a name in their own case.
class CaseSensitive : public Command {
  public:
    static constexpr const char* kCommandName = "caseSensitive";
    std::string_view className() const override { return "CaseSensitive"; }
    std::string commandToString() const override { return "case sensitive"; }
    std::shared_ptr<Command> copy() const override { return std::make_shared<CaseSensitive>(*this); }
    bool commandIsOnlyAFilter() const override { return true; }
};

}  // namespace kestrix
