// Where the importers put the text they find: words, lines and tabs in, clean UTF-8 out.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kestrix {

// Nothing is ever between two words but one blank, one tab or one line end, except in `lines`. Soft hyphens,
// zero-width blanks and byte order marks are left out, because a word that is looked for does not have them;
// a no-break blank and every control character is a blank.
class TextWriter {
  public:
    // More text than this is in no document that a person wrote; whoever writes more gets an Error
    // (tooLarge).
    static constexpr std::size_t kMostText = std::size_t{64} << 20;

    // `maxLength` in bytes: where take() cuts.
    explicit TextWriter(std::size_t maxLength) : maxLength_(maxLength) {}

    // Running text: every stretch of white space is one blank.
    void words(std::string_view utf8);
    // Text whose blanks and line ends (of any system) are its own.
    void lines(std::string_view utf8);

    void lineBreak();  // not at the start of a line
    void tab();        // before the next word on this line, if one comes
    void blank();      // likewise

    // Whether there is enough; further text does no harm.
    bool isFull() const { return text_.size() >= maxLength_; }
    std::size_t size() const { return text_.size(); }  // bytes so far

    // The text without white space at its end, at most maxLength bytes and no half character. Empties this.
    std::string take();

  private:
    void put(std::string_view piece);
    std::size_t clean(std::string_view text, std::size_t at);
    bool atLineStart() const { return text_.empty() || text_.back() == '\n'; }

    std::size_t maxLength_;
    std::string text_;
    char pending_ = 0;  // a blank or tab that the next word brings with it
};

}  // namespace kestrix
