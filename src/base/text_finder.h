// Finding a word in long texts, blind to accents: "cafe" finds "Café".
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/ascii_needle.h"
#include "base/text_accent_folds.h"

namespace kestrix::text {

// A stretch of a text, in bytes.
struct Stretch {
    std::size_t start = 0;
    std::size_t end = 0;

    bool operator==(const Stretch&) const = default;
};

// One word, made ready for many texts. Text and word are compared code point by code point, each canonically
// decomposed and without nonspacing marks, so composed and decomposed texts find each other. A byte that is
// not valid UTF-8 equals only itself. Threads: any; immutable.
class TextFinder {
  public:
    enum class Case { ignored, exact };

    // A word of nothing but accents, or of nothing, is found nowhere.
    TextFinder(std::string_view word, Case letters);
    TextFinder(const TextFinder&) = delete;
    TextFinder& operator=(const TextFinder&) = delete;

    // Whether the word stands in the text at all.
    bool isIn(std::string_view text) const;

    // Whether the word stands in bytes that are Mac OS Roman, without decoding them. There every character is
    // one byte and none is an accent alone.
    bool isInMacRoman(std::string_view bytes) const;

    // The occurrences in one text in order, not overlapping. One covers whole code points and the accents on
    // the last of them. Lives no longer than finder and text. Threads: one at a time.
    class Occurrences {
      public:
        Occurrences(const TextFinder& finder, std::string_view text) : finder_(finder), text_(text) {}
        // The next one, or nothing.
        std::optional<Stretch> next();

      private:
        std::optional<Stretch> nextInAscii();
        std::optional<Stretch> nextInMixed();

        const TextFinder& finder_;
        std::string_view text_;
        std::size_t at_ = 0;     // what lies before has been looked at
        std::size_t mixed_ = 0;  // from at_ up to here all is ASCII
    };

  private:
    std::optional<std::size_t> endIfAt(std::string_view text, std::size_t at) const;

    bool ignoreCase_;
    AccentFolds& folds_;
    std::vector<std::uint32_t> units_;   // the word folded
    std::string ascii_;                  // the same if it is all ASCII, otherwise empty
    std::optional<AsciiNeedle> needle_;  // of ascii_
};

}  // namespace kestrix::text
