// The tokeniser walks user-perceived characters once, from left to right, and is linear in the line. A line
// of plain ASCII without CR LF needs no Unicode: there each byte is one character.
#include "language/sentence_component.h"

#include <functional>
#include <unordered_set>

#include "base/text.h"

namespace kestrix {
namespace {

class Characters {
  public:
    explicit Characters(std::string_view text)
        : text_(text), isBytes_(text::isAscii(text) && text.find("\r\n") == std::string_view::npos) {
        if (!isBytes_) characters_ = text::characters(text);
    }
    std::size_t count() const { return isBytes_ ? text_.size() : characters_.size(); }
    std::string_view operator[](std::size_t index) const {
        return isBytes_ ? text_.substr(index, 1) : characters_[index];
    }

  private:
    std::string_view text_;
    bool isBytes_;
    std::vector<std::string_view> characters_;
};

bool isBlank(std::string_view character) {
    std::size_t offset = 0;
    return text::isWhiteSpaceOrNewline(text::decode(character, offset));
}

class Tokeniser {
  public:
    using Wildcard = SentenceComponent::Wildcard;

    Tokeniser(std::string_view text, const SentenceComponent* parent) : characters_(text), parent_(parent) {}

    SentenceComponents run() {
        for (std::size_t at = 0; at < characters_.count(); ++at)
            at += readCharacter(at);
        finishWord(characters_.count(), pendingWildcard_);
        return std::move(words_);
    }

  private:
    // How many further characters were read with this one.
    std::size_t readCharacter(std::size_t at) {
        const auto character = characters_[at];
        if (isBlank(character)) {
            if (inQuotes_)
                word_ += character;
            else
                finishWord(at, pendingWildcard_);
            return 0;
        }
        if (character == "\\" && at + 1 < characters_.count() && characters_[at + 1] == "\"") {
            word_ += '"';
            return 1;
        }
        if (character == "\"")
            readQuote(at);
        else if (character == "*" && !inQuotes_)
            readStar(at);
        else if (character == ":" && !inQuotes_)
            colonFlag_ = true;
        else
            readLetter(at, character);
        return 0;
    }

    // An opening quote joins the word before it; a closing one ends the word.
    void readQuote(std::size_t at) {
        if (inQuotes_) finishWord(at, pendingWildcard_);
        inQuotes_ = !inQuotes_;
        quoteFlag_ = inQuotes_;
    }

    // The star behind a word wins over one before it.
    void readStar(std::size_t at) {
        if (word_.empty())
            pendingWildcard_ = Wildcard::suffix;
        else
            finishWord(at, Wildcard::prefix);
    }

    // Only letters begin a word's position: neither blanks in quotes nor escaped quotes do. A colon in quotes
    // is a letter, and the command area begins at it all the same.
    void readLetter(std::size_t at, std::string_view character) {
        if (character == ":") colonFlag_ = true;
        if (!hasStart_) {
            hasStart_ = true;
            start_ = at;
        }
        word_ += character;
    }

    void finishWord(std::size_t at, Wildcard wildcard) {
        if (hasStart_ && !word_.empty()) {
            SentenceComponent& made = words_.emplace_back();
            made.textLowered = text::lowered(word_);
            made.textOriginalCase = std::move(word_);
            made.position = {start_, at};
            made.isAfterAColon = colonFlag_;
            made.wasInQuotes = quoteFlag_;
            if (parent_) made.parent.push_back(*parent_);
            made.wildcard = wildcard;
        }
        word_.clear();
        hasStart_ = false;
        pendingWildcard_ = Wildcard::none;
    }

    Characters characters_;
    const SentenceComponent* parent_;
    SentenceComponents words_;
    std::string word_;
    std::size_t start_ = 0;
    bool hasStart_ = false;
    bool inQuotes_ = false;
    bool quoteFlag_ = false;
    bool colonFlag_ = false;
    Wildcard pendingWildcard_ = Wildcard::none;
};

// Words by isSameWord; they must stay where they are as long as the set is used. A line may hold hundreds of
// thousands of words, so the set arithmetic must not compare each with each.
class WordSet {
  public:
    explicit WordSet(const SentenceComponents& words) {
        words_.reserve(words.size());
        for (const auto& word : words)
            words_.insert(&word);
    }
    bool contains(const SentenceComponent& word) const { return words_.count(&word) > 0; }
    void insert(const SentenceComponent& word) { words_.insert(&word); }

  private:
    struct Hash {
        std::size_t operator()(const SentenceComponent* word) const {
            return std::hash<std::string_view>()(word->textOriginalCase) ^
                   (word->position.lowerBound * 0x9E3779B97F4A7C15u);
        }
    };
    struct Same {
        bool operator()(const SentenceComponent* a, const SentenceComponent* b) const {
            return a->isSameWord(*b);
        }
    };

    std::unordered_set<const SentenceComponent*, Hash, Same> words_;
};

}  // namespace

SentenceComponents SentenceComponent::parseWords(std::string_view text, const SentenceComponent* parent) {
    return Tokeniser(text, parent).run();
}

SentenceComponents expandedQuotedItems(const SentenceComponents& words) {
    SentenceComponents expanded;
    for (const auto& word : words) {
        for (auto& piece : SentenceComponent::parseWords(word.textLowered, &word))
            expanded.push_back(std::move(piece));
    }
    return expanded;
}

std::vector<CharacterRange> partLocationsToRanges(const SentenceComponents& words) {
    std::vector<CharacterRange> ranges;
    ranges.reserve(words.size());
    for (const auto& word : words)
        ranges.push_back({word.position.lowerBound, word.position.upperBound - word.position.lowerBound});
    return ranges;
}

bool compare(const SentenceComponents& words, const SentenceComponents& other) {
    std::size_t at = 0;
    for (const auto& phrase : other) {
        for (const auto& piece : SentenceComponent::parseWords(phrase.textLowered)) {
            if (at == words.size()) return true;
            if (words[at++].textLowered != piece.textLowered) return false;
        }
    }
    return true;
}

bool containsSameWord(const SentenceComponents& words, const SentenceComponent& word) {
    for (const auto& each : words)
        if (each.isSameWord(word)) return true;
    return false;
}

SentenceComponents without(const SentenceComponents& words, const SentenceComponents& taken) {
    if (taken.empty()) return words;
    const WordSet set(taken);
    SentenceComponents left;
    for (const auto& word : words)
        if (!set.contains(word)) left.push_back(word);
    return left;
}

void appendNewWords(SentenceComponents& words, const SentenceComponents& added) {
    // Room first: the set points into the list.
    words.reserve(words.size() + added.size());
    WordSet set(words);
    for (const auto& word : added) {
        if (set.contains(word)) continue;
        words.push_back(word);
        set.insert(words.back());
    }
}

}  // namespace kestrix
