#include "language/completion.h"

#include <algorithm>
#include <array>
#include <map>
#include <span>

#include "base/text.h"
#include "language/date_helper.h"
#include "language/sentence_examples.h"
#include "language/suggestions.h"
#include "language/typed_word.h"

namespace kestrix {
namespace {

using Words = std::span<const SentenceComponent>;

// What people begin with, the most usual first; all others follow in the order of the sentences.
constexpr std::array<std::string_view, 18> kUsualBeginnings = {
    "is",  "modified", "created", "bigger",    "smaller", "today", "yesterday", "in",    "last",
    "tag", "inside",   "content", "excluding", "not",     "by",    "size",      "named", "max"};

// A word that no list of names holds and no number is; a variable that takes it takes anything, and one that
// matches without taking it may be left out.
constexpr std::string_view kNonsense = "\u2063";

// The names that a completor offers, in its order.
std::vector<std::string> namesOf(std::string_view completor, const VariableLookups& lookups) {
    std::vector<std::string> names;
    if (completor == "~utiCompletor") names = lookups.utiWords;
    if (completor == "~month") names = date_helper::monthNames();
    if (completor == "~tagCompletor" && lookups.knownTags) names = lookups.knownTags();
    if (completor == "~remembered" && lookups.favouriteFolders) {
        for (const auto& [name, path] : lookups.favouriteFolders())
            names.push_back(name);
    }
    if (completor == "~scriptName" && lookups.scripts) {
        for (const auto& [name, target] : lookups.scripts())
            names.push_back(name);
    }
    return names;
}

// Where the last word of the line begins, in bytes: behind the last blank or colon outside quotes.
std::size_t beginningOfLastWord(std::string_view line) {
    std::size_t beginning = 0;
    bool inQuotes = false;
    for (std::size_t at = 0; at < line.size();) {
        const std::size_t start = at;
        const char32_t c = text::decode(line, at);
        if (c == '"' && (start == 0 || line[start - 1] != '\\')) inQuotes = !inQuotes;
        if (!inQuotes && (c == ':' || text::isWhiteSpaceOrNewline(c))) beginning = at;
    }
    return beginning;
}

// Far longer than any sentence, so a line of any length is answered at once.
constexpr std::ptrdiff_t kWordsLookedAt = 40;

// The words of a line up to the half-typed one at its end, which may be empty.
struct HalfTyped {
    SentenceComponents before;  // those behind the colon
    std::string half;           // in lower case
    bool isBehindColon = false;
};

// One more letter at the end makes a word where none has begun, and shows on which side of the colon it is.
HalfTyped read(std::string_view line) {
    HalfTyped typed;
    SentenceComponents words = SentenceComponent::parseWords(std::string(line) + 'x');
    if (words.empty()) return typed;
    typed.isBehindColon = words.back().isAfterAColon;
    typed.half = words.back().textLowered;
    typed.half.pop_back();
    words.pop_back();
    const auto first = words.end() - std::min(std::ssize(words), kWordsLookedAt);
    std::copy_if(first, words.end(), std::back_inserter(typed.before),
                 [](const SentenceComponent& word) { return word.isAfterAColon; });
    return typed;
}

// Gathers the words that may come next.
class Gatherer {
  public:
    Gatherer(const LanguageParse& language, const VariableLookups& lookups)
        : language_(language), lookups_(lookups) {
        for (std::size_t i = 0; i < language.sentences().size(); ++i) {
            if (language.makesCommandOf(i)) sentences_.push_back(&language.sentences()[i]);
        }
    }

    // Follows the sentences from one to the next as the parser does.
    std::vector<std::string> nextWords(Words before) {
        for (Words rest = before; !rest.empty();) {
            const std::size_t touched = goThroughSentences(rest);
            if (touched >= rest.size()) break;
            rest = rest.subspan(std::max<std::size_t>(touched, 1));
            next_.clear();
            isComplete_ = rest.empty();
        }
        if (isComplete_) addBeginnings();
        return std::move(next_);
    }

  private:
    // How far one sentence reaches along the words.
    struct Reach {
        std::size_t places = 0;  // of the sentence
        std::size_t words = 0;
    };

    // Notes what can follow in the sentences that take all the words.
    std::size_t goThroughSentences(Words words) {
        std::size_t touched = 0;
        next_.clear();
        isComplete_ = false;
        for (const SentenceTemplate* sentence : sentences_) {
            const Reach reach = reachOf(*sentence, words);
            touched = std::max(touched, reach.words);
            if (reach.words < words.size()) continue;
            isComplete_ = isComplete_ || canEndAt(*sentence, reach.places);
            add(*sentence, reach.places);
        }
        return touched;
    }

    Reach reachOf(const SentenceTemplate& sentence, Words words) const {
        Reach reach;
        while (reach.places < sentence.words.size() && reach.words < words.size()) {
            const std::string& word = sentence.words[reach.places];
            const Words rest = words.subspan(reach.words);
            if (isVariable(word)) {
                const auto count = countTakenBy(variableNameOf(word), rest);
                if (!count) break;
                reach.words += *count;
            } else {
                if (rest.front().textLowered != word) break;
                ++reach.words;
            }
            ++reach.places;
        }
        return reach;
    }

    std::optional<std::size_t> countTakenBy(std::string_view variable, Words words) const {
        const auto& parsers = language_.vocabulary().variableParsers;
        const auto parser = parsers.find(variable);
        if (parser == parsers.end()) return std::nullopt;
        const auto parsed = parser->second(words);
        return parsed ? std::optional(parsed->numberOfConsumedWords) : std::nullopt;
    }

    // The word at that place of the sentence, and those behind as long as what stands there may be left out.
    void add(const SentenceTemplate& sentence, std::size_t place) {
        for (; place < sentence.words.size(); ++place) {
            const std::string& word = sentence.words[place];
            if (!isVariable(word)) return addWord(word);
            const bool isPlural = place > 0 && sentence.words[place - 1] == "~integer";
            for (const std::string& one : wordsOfVariable(variableNameOf(word)))
                addWord(isPlural ? one + 's' : one);
            for (const std::string& name : namesOf(completorIn(word), lookups_))
                addWord(typedWord(name));
            if (!mayBeLeftOut(variableNameOf(word))) return;
        }
    }

    static std::string_view completorIn(std::string_view word) {
        const std::string_view variable = variableNameOf(word);
        return variable.size() < word.size() ? word.substr(variable.size() + 1) : word;
    }

    bool canEndAt(const SentenceTemplate& sentence, std::size_t place) const {
        return std::all_of(sentence.words.begin() + static_cast<std::ptrdiff_t>(place), sentence.words.end(),
                           [this](const std::string& word) {
                               return isVariable(word) && mayBeLeftOut(variableNameOf(word));
                           });
    }

    bool mayBeLeftOut(std::string_view variable) const {
        static const SentenceComponents kWord = SentenceComponent::parseWords(kNonsense);
        const auto known = optional_.find(variable);
        if (known != optional_.end()) return known->second;
        return optional_[variable] = countTakenBy(variable, kWord) == 0u;
    }

    void addWord(std::string word) {
        if (std::find(next_.begin(), next_.end(), word) == next_.end()) next_.push_back(std::move(word));
    }

    // Behind what can follow in the sentence.
    void addBeginnings() {
        const std::vector<std::string> following = std::exchange(next_, {});
        for (const SentenceTemplate* sentence : sentences_)
            add(*sentence, 0);
        const auto rank = [](const std::string& word) {
            return std::find(kUsualBeginnings.begin(), kUsualBeginnings.end(), word);
        };
        std::stable_sort(next_.begin(), next_.end(),
                         [&rank](const std::string& a, const std::string& b) { return rank(a) < rank(b); });
        const std::vector<std::string> beginnings = std::exchange(next_, following);
        for (const std::string& word : beginnings)
            addWord(word);
    }

    const LanguageParse& language_;
    const VariableLookups& lookups_;
    std::vector<const SentenceTemplate*> sentences_;  // those that do something
    std::vector<std::string> next_;
    bool isComplete_ = true;
    mutable std::map<std::string_view, bool> optional_;
};

// Those that begin with what was typed; the nearest if there are none.
std::vector<std::string> fitting(const std::vector<std::string>& words, const std::string& half) {
    std::vector<std::string> begun;
    for (const std::string& word : words) {
        const std::string lowered = text::lowered(word);
        const std::string_view bare = std::string_view(lowered).substr(lowered.starts_with('"') ? 1 : 0);
        if (bare.starts_with(half)) begun.push_back(word);
    }
    if (!begun.empty() || half.size() < 3 || half.size() > 40) return begun;
    std::vector<std::pair<std::size_t, std::string>> near;
    for (const std::string& word : words) {
        const std::size_t distance = editDistance(half, text::lowered(word));
        if (distance <= std::max<std::size_t>(half.size() / 3, 1)) near.emplace_back(distance, word);
    }
    std::stable_sort(near.begin(), near.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    for (auto& [distance, word] : near)
        begun.push_back(std::move(word));
    return begun;
}

}  // namespace

std::vector<Continuation> continuationsOf(std::string_view line, const LanguageParse& language,
                                          const VariableLookups& lookups) {
    const HalfTyped typed = read(line);
    if (!typed.isBehindColon) return {};
    std::string start(line.substr(0, beginningOfLastWord(line)));
    if (start.ends_with(':')) start += ' ';
    std::vector<Continuation> continuations;
    for (std::string& word : fitting(Gatherer(language, lookups).nextWords(typed.before), typed.half)) {
        std::string whole = start + word;
        continuations.push_back({.word = std::move(word), .line = std::move(whole)});
    }
    return continuations;
}

}  // namespace kestrix
