#include "app/cli/commands.h"
#include "app/cli/display_text.h"
#include "language/commands/word_commands.h"
#include "language/query_explanation.h"

namespace kestrix::cli {
namespace {

std::string listed(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        if (!text.empty()) text += ", ";
        text += inQuotes(word);
    }
    return text;
}

std::string listed(const SentenceComponents& words) {
    std::vector<std::string> texts;
    for (const SentenceComponent& word : words)
        texts.push_back(word.textOriginalCase);
    return listed(texts);
}

// One fact on one line; facts without words are left out.
class Facts {
  public:
    void add(std::string_view title, const std::string& words) {
        if (words.empty()) return;
        text_ += title;
        text_ += ": ";
        text_ += words;
        text_ += '\n';
    }
    void say(std::string_view sentence) {
        text_ += sentence;
        text_ += '\n';
    }
    const std::string& text() const { return text_; }

  private:
    std::string text_;
};

void addWords(const QueryContainer& query, Facts& facts) {
    if (query.soundex()) {
        facts.add("A word of the name sounds like each of", listed(query.searchWords()));
        return;
    }
    if (!query.includesORStatement()) {
        facts.add("The name holds all of", listed(query.searchWords()));
        return;
    }
    std::string_view title = "The name holds all of";
    for (const auto& group : query.orStringGroups()) {
        facts.add(title, listed(group));
        title = "or all of";
    }
}

void addCommands(const QueryContainer& query, Facts& facts) {
    for (const auto& command : query.commandsFoundInQuery()) {
        if (const auto excluded = std::dynamic_pointer_cast<NotIncludingWords>(command)) {
            facts.add("The name holds none of", listed(excluded->words()));
        } else if (const auto wildcards = std::dynamic_pointer_cast<WildcardWords>(command)) {
            facts.add("The name, or a word of it, begins with", listed(wildcards->prefixes()));
            facts.add("The name, or a word of it, ends with", listed(wildcards->suffixes()));
        } else {
            facts.add("Command", inQuotes(command->commandToString()));
        }
    }
}

std::string explanationInWords(const QueryContainer& query) {
    Facts facts;
    facts.add("Line", inQuotes(query.baseString()));
    addWords(query, facts);
    addCommands(query, facts);
    facts.add("Not known as a command", listed(query.unusedCommandAreaWords()));
    facts.add("Known, but without meaning here",
              listed(without(query.invalidCommandAreaWords(), query.unusedCommandAreaWords())));
    if (query.isEmpty()) {
        facts.say("There is nothing to look for.");
    } else if (!query.isWordBasedSearch()) {
        facts.say("There is no word to look for: the disks are not searched.");
    }
    return facts.text();
}

}  // namespace

int runExplain(const Arguments& arguments, CommandContext& context) {
    if (arguments.words.empty())
        throw UsageError("explain needs a line, such as: kestrix explain 'report -draft'");
    const QueryContainer query(arguments.line(), std::nullopt, arguments.has("soundex"),
                               context.application.queryEnvironment());
    context.output.append(arguments.has("json") ? explanationAsJson(query) + "\n"
                                                : explanationInWords(query));
    return kExitFound;
}

}  // namespace kestrix::cli
