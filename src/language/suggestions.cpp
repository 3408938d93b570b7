#include "language/suggestions.h"

#include <algorithm>
#include <numeric>

#include "language/sentence_examples.h"
#include "language/typed_word.h"

namespace kestrix {
namespace {

using Words = std::span<const SentenceComponent>;

// No sentence has more words, and a longer look costs time on every one of them.
constexpr std::size_t kLongestLook = 10;

// A look takes about a millisecond, and a person mends one thing after the other.
constexpr std::size_t kMostLooks = 20;

// More words than this do not make a sentence less likely.
constexpr std::size_t kFarthestUnknown = 4;

// What each departure from a sentence costs; a wrong letter costs its share of the word. Found by trying: a
// misspelt word must be cheaper than a missing one, and two missing words too much.
constexpr double kWorstCost = 1.5;
constexpr double kMissingKeyword = 0.6;
constexpr double kMissingValue = 0.5;
constexpr double kStrayWord = 0.8;
constexpr double kUnexplainedWord = 0.1;
constexpr double kTypedValue = 0.05;

// The share of wrong letters, if at most a third of them are wrong; short words must be right.
std::optional<double> nearness(std::string_view typed, std::string_view keyword) {
    if (typed == keyword) return 0;
    if (typed.size() < 3 || typed.size() > 40) return std::nullopt;
    const std::size_t distance = editDistance(typed, keyword);
    if (distance > std::max<std::size_t>(typed.size() / 3, 1)) return std::nullopt;
    return static_cast<double>(distance) / static_cast<double>(typed.size());
}

// Which of the words stand in a part of them that keeps their order.
std::vector<bool> marked(Words words, const SentenceComponents& part) {
    std::vector<bool> marks(words.size());
    auto next = part.begin();
    for (std::size_t i = 0; i < words.size() && next != part.end(); ++i) {
        marks[i] = words[i].isSameWord(*next);
        if (marks[i]) ++next;
    }
    return marks;
}

// Lays one sentence along the typed words in every way that costs less than the best so far.
class Alignment {
  public:
    Alignment(const LanguageParse& language, Words words, std::size_t unknown)
        : language_(language), words_(words), unknown_(unknown) {}

    void tryOne(std::size_t number) {
        number_ = number;
        sentence_ = &language_.sentences()[number];
        goOn(0, 0, 0, false, {});
    }
    const std::optional<Suggestion>& best() const { return best_; }

  private:
    // `explains`: a keyword stands for one of the unknown words.
    void goOn(std::size_t place, std::size_t at, double cost, bool explains, const std::string& text) {
        if (cost >= bestCost_) return;
        if (place == sentence_->words.size()) return finish(at, cost, explains, text);
        const bool mayBeStray = at > 0 && at < words_.size();
        if (mayBeStray) goOn(place, at + 1, cost + kStrayWord, explains, text);
        const std::string& word = sentence_->words[place];
        if (isVariable(word)) return goOnAtVariable(place, at, cost, explains, text);
        tryKeyword(word, place, at, cost, explains, text);
        goOn(place + 1, at, cost + kMissingKeyword, explains, joined(text, word));
    }

    void goOnAtVariable(std::size_t place, std::size_t at, double cost, bool explains,
                        const std::string& text) {
        const std::string_view variable = variableNameOf(sentence_->words[place]);
        for (const std::string& word : wordsOfVariable(variable))
            tryKeyword(word, place, at, cost, explains, text);
        const auto count = countTakenBy(variable, at);
        if (count == 0u) return goOn(place + 1, at, cost, explains, text);
        if (count) {
            goOn(place + 1, at + *count, cost + kTypedValue, explains,
                 joined(text, asTyped(words_.subspan(at, *count))));
        }
        goOn(place + 1, at, cost + kMissingValue, explains, joined(text, shownWord(sentence_->words[place])));
    }

    void tryKeyword(const std::string& keyword, std::size_t place, std::size_t at, double cost, bool explains,
                    const std::string& text) {
        if (at >= words_.size()) return;
        const auto distance = nearness(words_[at].textLowered, keyword);
        if (!distance) return;
        goOn(place + 1, at + 1, cost + *distance, explains || at < unknown_, joined(text, keyword));
    }

    void finish(std::size_t at, double cost, bool explains, const std::string& text) {
        if (at < unknown_) cost += static_cast<double>(unknown_ - at) * kUnexplainedWord;
        if (!explains || cost >= bestCost_) return;
        bestCost_ = cost;
        best_ = {.text = text, .words = at, .sentence = number_, .isNew = false};
    }

    std::optional<std::size_t> countTakenBy(std::string_view variable, std::size_t at) const {
        if (at >= words_.size()) return std::nullopt;
        const auto parser = language_.vocabulary().variableParsers.find(variable);
        if (parser == language_.vocabulary().variableParsers.end()) return std::nullopt;
        const auto read = parser->second(words_.subspan(at));
        return read ? std::optional(read->numberOfConsumedWords) : std::nullopt;
    }

    static std::string joined(const std::string& text, const std::string& word) {
        return text.empty() ? word : text + ' ' + word;
    }

    const LanguageParse& language_;
    Words words_;
    std::size_t unknown_;
    std::size_t number_ = 0;
    const SentenceTemplate* sentence_ = nullptr;
    double bestCost_ = kWorstCost;
    std::optional<Suggestion> best_;
};

}  // namespace

std::size_t editDistance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> twoAbove, above(b.size() + 1), row(b.size() + 1);
    std::iota(above.begin(), above.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t replaced = above[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            row[j] = std::min({replaced, above[j] + 1, row[j - 1] + 1});
            const bool swapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
            if (swapped) row[j] = std::min(row[j], twoAbove[j - 2] + 1);
        }
        twoAbove = above;
        above = row;
    }
    return above.back();
}

std::string asTyped(Words words) {
    std::string text;
    for (const auto& word : words) {
        if (!text.empty()) text += ' ';
        text += word.wasInQuotes ? typedInQuotes(word.textOriginalCase) : typedWord(word.textOriginalCase);
    }
    return text;
}

std::optional<Suggestion> nearestSentence(const LanguageParse& language, Words words, std::size_t unknown) {
    words = words.first(std::min(words.size(), kLongestLook));
    Alignment alignment(language, words, std::min({unknown, words.size(), kFarthestUnknown}));
    for (std::size_t i = 0; i < language.sentences().size(); ++i)
        alignment.tryOne(i);
    auto best = alignment.best();
    if (best) best->isNew = asTyped(words.first(best->words)) != best->text;
    return best;
}

std::vector<UnknownStretch> unknownStretches(const QueryContainer& query, const LanguageParse& language) {
    const Words all(query.allWords());
    const auto isInvalid = marked(all, query.invalidCommandAreaWords());
    const auto isUnused = marked(all, query.unusedCommandAreaWords());
    std::vector<UnknownStretch> stretches;
    bool goesOn = false;  // the last stretch, which nothing mends
    std::size_t looks = 0;
    std::size_t end = 0;  // of the words at hand that made no command
    for (std::size_t i = 0; i < all.size();) {
        if (!isInvalid[i]) {
            goesOn = false;
            ++i;
            continue;
        }
        if (i >= end) {
            const auto from = isInvalid.begin() + static_cast<std::ptrdiff_t>(i);
            end = static_cast<std::size_t>(std::find(from, isInvalid.end(), false) - isInvalid.begin());
        }
        const std::size_t count = end - i;
        std::optional<Suggestion> suggestion;
        if (looks++ < kMostLooks) suggestion = nearestSentence(language, all.subspan(i), count);
        const std::size_t taken = suggestion ? std::clamp<std::size_t>(suggestion->words, 1, count) : 1;
        if (suggestion || !goesOn || stretches.back().isKnownSentence == isUnused[i])
            stretches.push_back(
                {.words = {}, .isKnownSentence = !isUnused[i], .isNotThereYet = false, .suggestion = {}});
        auto& stretch = stretches.back();
        stretch.words.insert(stretch.words.end(), all.begin() + static_cast<std::ptrdiff_t>(i),
                             all.begin() + static_cast<std::ptrdiff_t>(i + taken));
        if (suggestion && suggestion->isNew) stretch.suggestion = suggestion->text;
        stretch.isNotThereYet =
            suggestion && !suggestion->isNew && !language.makesCommandOf(suggestion->sentence);
        goesOn = !suggestion;
        i += taken;
    }
    return stretches;
}

}  // namespace kestrix
