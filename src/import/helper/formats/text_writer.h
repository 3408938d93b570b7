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

    // What is written in between stands beside the text: a note, a comment, a box. It gets lines of its own
    // behind the line that is being written, so that it tears neither word nor phrase. One inside of another
    // stands where it is.
    void beginAside();
    void endAside();

    // Whether there is enough; further text does no harm. What stands beside the text counts when it is put
    // behind its line, so that a shorter limit gives the beginning of the same text.
    bool isFull() const { return (asides_ > 0 ? aside_ : text_).size() >= maxLength_; }
    std::size_t size() const { return text_.size() + aside_.size(); }  // bytes so far

    // The text without white space at its end, at most maxLength bytes and no half character. Empties this.
    std::string take();

  private:
    void put(std::string_view piece);
    void putAside();
    std::size_t clean(std::string_view text, std::size_t at);
    bool atLineStart() const { return text_.empty() || text_.back() == '\n'; }

    std::size_t maxLength_;
    std::string text_;
    char pending_ = 0;  // a blank or tab that the next word brings with it
    // What waits for the end of the line; between beginAside and endAside it is the other way round.
    std::string aside_;
    char asidePending_ = 0;
    int asides_ = 0;  // open ones
};

}  // namespace kestrix
