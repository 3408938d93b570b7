// One word of a line of the query language, and the one tokeniser that makes them.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kestrix {

// A value; compared over all its fields.
struct SentenceComponent {
    // `prefix`: written "foo*", something must begin with it. `suffix`: written "*foo", something must end
    // with it.
    enum class Wildcard { none, prefix, suffix };

    // Half-open, in user-perceived characters of the tokenised line.
    struct Position {
        std::size_t lowerBound = 0;
        std::size_t upperBound = 0;
        bool operator==(const Position&) const = default;
    };

    std::string textLowered;       // lower case by Unicode alone, in no locale
    std::string textOriginalCase;  // as typed, without surrounding quotes and stars
    Position position;
    bool isAfterAColon = false;
    bool wasInQuotes = false;
    std::vector<SentenceComponent> parent;  // none or one: the phrase this word was split from
    Wildcard wildcard = Wildcard::none;

    bool operator==(const SentenceComponent&) const = default;

    // The same word of the same line: equal text as typed at an equal position.
    bool isSameWord(const SentenceComponent& other) const {
        return position == other.position && textOriginalCase == other.textOriginalCase;
    }

    // Splits a line into words. Any text tokenises. White space ends words outside double quotes; \" is a
    // literal quote; a star outside quotes marks the word before or after it; a colon outside quotes is
    // dropped, ends no word, and sets the flag isAfterAColon of the word being built and of all that follow.
    // A colon inside quotes is kept and sets the flag as well.
    static std::vector<SentenceComponent> parseWords(std::string_view text,
                                                     const SentenceComponent* parent = nullptr);
};

using SentenceComponents = std::vector<SentenceComponent>;

// Each phrase taken apart into its words, each with the phrase as parent; positions count within the phrase.
SentenceComponents expandedQuotedItems(const SentenceComponents& words);

// (location, length) of each word, in characters of the line.
struct CharacterRange {
    std::size_t location = 0;
    std::size_t length = 0;
    bool operator==(const CharacterRange&) const = default;
};
std::vector<CharacterRange> partLocationsToRanges(const SentenceComponents& words);

// Whether `words` agree with the expanded words of `other`, from the front, as far as both go.
bool compare(const SentenceComponents& words, const SentenceComponents& other);

// Set arithmetic by isSameWord.
bool containsSameWord(const SentenceComponents& words, const SentenceComponent& word);
// `words` without those that stand in `taken`, order kept.
SentenceComponents without(const SentenceComponents& words, const SentenceComponents& taken);
// Appends those of `added` that are not there yet.
void appendNewWords(SentenceComponents& words, const SentenceComponents& added);

}  // namespace kestrix
