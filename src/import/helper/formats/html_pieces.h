// Cuts a web page into pieces that the HTML parser can take.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kestrix {

// The parser makes up to a hundred bytes of tree out of each byte of page, and its time grows with the square
// of the nesting (40,000 open <div> cost 3 s, 200,000 open <b a=1> 12 s). So it is given pages in pieces of
// about 256 KiB, cut in front of an element that begins a line, and with at most 200 elements open at a time;
// what is nested deeper loses its tags and keeps its text.
//
// A piece is not cut inside of an element whose content means something else than text and tags, or where
// white space counts, unless it becomes very long. One from the inside of a table begins with a <table> of
// its own. Scripts, styles and the like are left out, and so are elements like <title/>, which XML closes at
// once and HTML would not. The page must outlive this.
//
// Attributes say nothing about the text, and the parser compares each one of a tag with all others (200,000
// cost 22 s). Tags lose them.
//
// The parser takes a text byte by byte, which was two thirds of the time of a page. A stretch that it cannot
// change is therefore left out too, and a short mark stands for it, which goes wherever the text would have
// gone. A page that holds the characters of a mark itself has none.
class HtmlPieces {
  public:
    explicit HtmlPieces(std::string_view page);

    // Puts the next piece in place of `piece`; false at the end.
    bool next(std::string& piece);
    // Calls `take` with the parts of a text that the parser made of the newest piece, in order, and with the
    // stretch itself where a mark stands.
    template <typename Take>
    void restore(std::string_view text, Take take) const {
        while (!text.empty()) {
            const std::size_t mark = text.find(kMark);
            if (mark != 0) take(text.substr(0, mark));
            if (mark == std::string_view::npos) return;
            take(stretchOf(text, mark));
        }
    }
    // How much of the page has been handed over.
    int percent() const { return page_.empty() ? 100 : static_cast<int>(at_ * 100 / page_.size()); }

  private:
    struct Tag {
        std::string name;         // lower case
        std::size_t nameEnd = 0;  // offset behind the name
        std::size_t end = 0;      // offset behind the tag
        bool isEnd = false;
        bool isEmpty = false;  // as XML writes it, <name/>
    };
    Tag readTag(std::size_t at) const;
    void passAttributes(Tag& tag) const;
    std::size_t behindComment(std::size_t at) const;
    void openElement(const Tag& tag, std::string& piece);
    void closeElement(const Tag& tag, std::string& piece);
    void copyTo(std::size_t end, std::string& piece);
    void putTag(const Tag& tag, std::string& piece);
    void copyText(std::size_t end, std::string& piece);
    void putStretch(std::string_view stretch, std::string& piece);
    std::string_view stretchOf(std::string_view& text, std::size_t mark) const;

    // Private code points around a number: the parser replaces control characters.
    static constexpr std::string_view kMark = "\uF8FE";
    static constexpr std::string_view kMarkEnd = "\uF8FF";
    bool mayCutBefore(const Tag& tag, const std::string& piece) const;

    std::string_view page_;
    const bool hasMarks_;
    std::vector<std::string_view> stretches_;  // of the newest piece
    std::size_t at_ = 0;
    std::size_t depth_ = 0;   // open elements in this piece
    std::size_t tables_ = 0;  // open tables, over all pieces
    std::size_t whole_ = 0;   // open elements that must stay in one piece
};

}  // namespace kestrix
