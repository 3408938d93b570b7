// Whether a file name holds the words of a query.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kestrix {

// What a name is held against; all prepared once per query. Words are in lower case but with `caseSensitive`.
struct NameTestWords {
    std::vector<std::string> words{};                  // every one must be found
    std::vector<std::vector<std::string>> orGroups{};  // or, with `anyGroup`, all of at least one group
    bool anyGroup = false;
    bool caseSensitive = false;
    bool wholeWords = false;  // a word must equal a piece of the name instead of standing anywhere in it
    bool localised = true;    // lower the name as the user's language does, not by Unicode alone
};

// Answers in well under 100 nanoseconds for an ASCII name: it is lowered and checked for other bytes in one
// pass, and only names beyond ASCII go through Unicode. There, both sides are composed, so an accent typed as
// one code point finds a name that holds two. The empty word is found nowhere. Immutable; any thread.
class NameTest {
  public:
    NameTest() = default;
    explicit NameTest(NameTestWords words);

    // `name` is a bare file name. Without words and groups: true, but false with `anyGroup`.
    bool matches(std::string_view name) const;

    // The cheap half of `matches`: false is certain, true says nothing. Copies and lowers nothing: it asks
    // whether the rarest two neighbours of the words stand side by side in the name. Also takes a path.
    bool mayMatch(std::string_view name) const;

  private:
    // Two bytes that stand side by side in every name which matches, the bit that tells small letters set.
    struct Neighbours {
        std::uint8_t first = 0;
        std::uint8_t second = 0;
        bool isPair = false;         // false: only the first is asked for, the words having one byte each
        bool isOfEveryName = false;  // false: a name beyond ASCII may match without them
        bool operator==(const Neighbours&) const = default;
    };

    static Neighbours rarestNeighbours(const std::vector<std::string>& words);
    void chooseNeighbours();
    template <typename IsFound>
    bool holdsWords(IsFound isFound) const;
    std::string prepared(std::string_view text) const;
    bool matchesWholeWords(std::string_view name) const;

    NameTestWords words_;
    std::vector<Neighbours> neighbours_;  // one of them is enough; none: nothing can be told
    bool asciiLowersPlainly_ = true;      // the user's language lowers "I" to "i"
};

}  // namespace kestrix
