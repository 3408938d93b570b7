// Templates are always tried at the front of the words that are left, and a variable reads from that front,
// so the words touched in one round are a first stretch of them, and what is left is always an end of the
// input. Matching therefore moves along the input and copies no words.
//
// A template whose first keyword is another word touches nothing and matches nothing. Those that may match
// are found by that keyword, so that the time for a line does not grow with the number of the others.
#include "language/language_parse.h"

#include <algorithm>
#include <cassert>

namespace kestrix {
namespace {

// The text before the slash in "~variable/~completor"; with any other number of slashes the whole word.
std::string_view variableNameOf(std::string_view templateWord) {
    const auto slash = templateWord.find('/');
    const bool isOnly = slash != std::string_view::npos && slash == templateWord.rfind('/');
    return isOnly ? templateWord.substr(0, slash) : templateWord;
}

}  // namespace

// How one template fared.
struct LanguageParse::Attempt {
    bool matched = false;
    std::size_t touchedWords = 0;
    CommandArguments args;
};

struct LanguageParse::Round {
    std::shared_ptr<Command> command;  // or none
    std::size_t touchedWords = 0;      // by any template, also one that failed
};

LanguageParse::LanguageParse(Vocabulary vocabulary) : vocabulary_(std::move(vocabulary)) {
    std::unordered_map<std::string, const CommandFactory*> makers;
    for (const auto& factory : vocabulary_.factories) {
        for (const auto& name : factory->commandNames())
            makers.emplace(name, factory.get());
    }
    for (const auto& sentence : vocabulary_.sentences) {
        auto& parsers = parsers_.emplace_back();
        for (const auto& word : sentence.words) {
            const auto found = vocabulary_.variableParsers.find(variableNameOf(word));
            parsers.push_back(found == vocabulary_.variableParsers.end() ? VariableParser() : found->second);
        }
        const auto maker = makers.find(sentence.command);
        makers_.push_back(maker == makers.end() ? nullptr : maker->second);
    }
    indexFirstWords();
}

void LanguageParse::indexFirstWords() {
    const auto isKeyword = [this](std::size_t index) {
        return !parsers_[index].empty() && !parsers_[index].front();
    };
    for (std::size_t i = 0; i < parsers_.size(); ++i) {
        if (isKeyword(i)) byKeyword_[vocabulary_.sentences[i].words.front()];
    }
    for (std::size_t i = 0; i < parsers_.size(); ++i) {
        if (isKeyword(i)) {
            byKeyword_[vocabulary_.sentences[i].words.front()].push_back(i);
            continue;
        }
        byVariable_.push_back(i);
        for (auto& [keyword, indexes] : byKeyword_)
            indexes.push_back(i);
    }
}

const std::vector<std::size_t>& LanguageParse::thoseThatMayBeginWith(const std::string& word) const {
    const auto found = byKeyword_.find(word);
    return found == byKeyword_.end() ? byVariable_ : found->second;
}

CommandRecogniserResult LanguageParse::allMatches(const SentenceComponents& inputWords) const {
    CommandRecogniserResult result;
    std::span<const SentenceComponent> remaining(inputWords);
    while (!remaining.empty()) {
        Round round = doesMatch(remaining);
        if (round.command) result.commands.push_back(std::move(round.command));
        const auto touched = remaining.first(round.touchedWords);
        result.words.insert(result.words.end(), touched.begin(), touched.end());
        // A word that no template begins with is passed over and stays unrecognised.
        remaining = remaining.subspan(std::max<std::size_t>(round.touchedWords, 1));
    }
    return result;
}

LanguageParse::Round LanguageParse::doesMatch(std::span<const SentenceComponent> words) const {
    Round round;
    const SentenceTemplate* best = nullptr;
    const CommandFactory* maker = nullptr;
    CommandArguments bestArgs;
    for (const std::size_t i : thoseThatMayBeginWith(words.front().textLowered)) {
        const SentenceTemplate& sentence = vocabulary_.sentences[i];
        Attempt attempt = attemptAt(i, words);
        round.touchedWords = std::max(round.touchedWords, attempt.touchedWords);
        if (!attempt.matched || (best && sentence.words.size() <= best->words.size())) continue;
        best = &sentence;
        maker = makers_[i];
        bestArgs = std::move(attempt.args);
    }
    if (!best || !maker) return round;
    round.command = maker->create(best->command, bestArgs, best->flags);
    // All touched words, also those of other templates: the longest template is not always the greediest.
    const auto touched = words.first(round.touchedWords);
    if (round.command) round.command->commandConsumedParts.assign(touched.begin(), touched.end());
    return round;
}

LanguageParse::Attempt LanguageParse::attemptAt(std::size_t index,
                                                std::span<const SentenceComponent> words) const {
    const SentenceTemplate& sentence = vocabulary_.sentences[index];
    Attempt attempt;
    std::size_t at = 0;
    for (; at < sentence.words.size() && attempt.touchedWords < words.size(); ++at) {
        const auto inputs = words.subspan(attempt.touchedWords);
        if (const VariableParser& parser = parsers_[index][at]) {
            auto read = parser(inputs);
            if (!read) break;
            assert(read->numberOfConsumedWords <= inputs.size());
            if (read->value) attempt.args.push_back(std::move(*read->value));
            attempt.touchedWords += read->numberOfConsumedWords;
        } else {
            if (inputs.front().textLowered != sentence.words[at]) break;
            ++attempt.touchedWords;
        }
    }
    // The flags at the end of a content search may be left out.
    attempt.matched = at == sentence.words.size() ||
                      (sentence.command == "textContent" && sentence.words[at] == "~contentSearchFlags");
    return attempt;
}

}  // namespace kestrix
