// The matcher once more, slow and simple: every template is tried at every place, in file order, over copies
// of the words. Both must take the same commands from the same words.
#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "language/language_parse.h"
#include "language/vocabulary.h"

namespace kestrix {

// A command that knows only its template's name and how many values it was given.
class NamedCommand : public Command {
  public:
    explicit NamedCommand(std::string text) : text_(std::move(text)) {}
    std::string_view className() const override { return "NamedCommand"; }
    std::string commandToString() const override { return text_; }
    std::shared_ptr<Command> copy() const override { return std::make_shared<NamedCommand>(*this); }

  private:
    std::string text_;
};

// Makes a NamedCommand for each name it is told.
class NamingFactory : public CommandFactory {
  public:
    explicit NamingFactory(std::vector<std::string> names) : names_(std::move(names)) {}
    std::vector<std::string> commandNames() const override { return names_; }
    std::shared_ptr<Command> create(const std::string& name, const CommandArguments& args,
                                    const CommandFlags&) const override {
        return std::make_shared<NamedCommand>(name + std::to_string(args.size()));
    }

  private:
    std::vector<std::string> names_;
};

class MatchingTwin {
  public:
    explicit MatchingTwin(LanguageParse::Vocabulary vocabulary) : vocabulary_(std::move(vocabulary)) {}

    // Each command with the words it took, then all words that a template touched.
    std::vector<std::string> allMatches(const SentenceComponents& inputWords) const {
        std::vector<std::string> commands;
        SentenceComponents recognised;
        SentenceComponents remaining = inputWords;
        while (!remaining.empty()) {
            const SentenceComponent first = remaining.front();
            SentenceComponents used;
            const std::string command = match(remaining, used);
            if (!command.empty()) commands.push_back(command + textOf(used));
            appendNewWords(recognised, used);
            remaining = without(remaining, recognised);
            if (!containsSameWord(recognised, first)) remaining.erase(remaining.begin());
        }
        commands.push_back(textOf(recognised));
        return commands;
    }

    static std::vector<std::string> described(const CommandRecogniserResult& result) {
        std::vector<std::string> list;
        for (const auto& command : result.commands)
            list.push_back(command->commandToString() + textOf(command->commandConsumedParts));
        list.push_back(textOf(result.words));
        return list;
    }

  private:
    static std::string textOf(const SentenceComponents& words) {
        std::string text;
        for (const auto& word : words)
            text += '|' + word.textOriginalCase;
        return text;
    }

    std::string match(const SentenceComponents& words, SentenceComponents& used) const {
        const SentenceTemplate* best = nullptr;
        std::size_t bestArgs = 0;
        for (const auto& sentence : vocabulary_.sentences) {
            std::size_t args = 0;
            if (!matches(sentence, words, used, args)) continue;
            if (best && best->words.size() >= sentence.words.size()) continue;
            best = &sentence;
            bestArgs = args;
        }
        if (!best) return "";
        for (const auto& factory : vocabulary_.factories)
            if (factory->implementsCommand(best->command)) return best->command + std::to_string(bestArgs);
        return "";
    }

    bool matches(const SentenceTemplate& sentence, SentenceComponents inputs, SentenceComponents& used,
                 std::size_t& args) const {
        std::vector<std::string> left = sentence.words;
        while (!left.empty() && !inputs.empty()) {
            const auto slash = left.front().find('/');
            const bool isOne =
                slash != std::string::npos && left.front().find('/', slash + 1) == std::string::npos;
            const auto parser =
                vocabulary_.variableParsers.find(isOne ? left.front().substr(0, slash) : left.front());
            std::size_t count = 1;
            if (parser != vocabulary_.variableParsers.end()) {
                const auto read = parser->second(inputs);
                if (!read) break;
                args += read->value ? 1 : 0;
                count = read->numberOfConsumedWords;
            } else if (inputs.front().textLowered != left.front()) {
                break;
            }
            const auto end = inputs.begin() + static_cast<std::ptrdiff_t>(count);
            appendNewWords(used, {inputs.begin(), end});
            inputs.erase(inputs.begin(), end);
            left.erase(left.begin());
        }
        return left.empty() || (sentence.command == "textContent" && left.front() == "~contentSearchFlags");
    }

    LanguageParse::Vocabulary vocabulary_;
};

}  // namespace kestrix
