#include "import/helper/formats/html_text.h"

#include <gumbo.h>

#include <bitset>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "import/helper/formats/charset.h"
#include "import/helper/formats/document.h"
#include "import/helper/formats/formats.h"
#include "import/helper/formats/html_pieces.h"

namespace kestrix {
namespace {

using TagSet = std::bitset<GUMBO_TAG_LAST + 1>;

TagSet tags(std::initializer_list<GumboTag> list) {
    TagSet set;
    for (const GumboTag tag : list) {
        set.set(tag);
    }
    return set;
}

const TagSet& unseen() {
    // How a text is spoken (rt) is to be seen, but tears the word that it stands above.
    static const TagSet kSet = tags({GUMBO_TAG_SCRIPT, GUMBO_TAG_STYLE, GUMBO_TAG_TEMPLATE,
                                     GUMBO_TAG_NOSCRIPT, GUMBO_TAG_RT, GUMBO_TAG_RP});
    return kSet;
}

// The labels of a drawing; the parser has no name for their tag.
bool isLabel(const GumboElement& element) {
    if (element.tag_namespace != GUMBO_NAMESPACE_SVG) return false;
    GumboStringPiece name = element.original_tag;
    gumbo_tag_from_original_text(&name);
    return std::string_view(name.data, name.length) == "text";
}

// Pictures and controls: a text on either side is another.
bool hasOwnWords(const GumboElement& element) {
    static const TagSet kSet =
        tags({GUMBO_TAG_IMG, GUMBO_TAG_SVG, GUMBO_TAG_OBJECT, GUMBO_TAG_VIDEO, GUMBO_TAG_AUDIO,
              GUMBO_TAG_CANVAS, GUMBO_TAG_BUTTON, GUMBO_TAG_INPUT, GUMBO_TAG_SELECT});
    return kSet[element.tag] || isLabel(element);
}

const TagSet& ownLines() {
    static const TagSet kSet =
        tags({GUMBO_TAG_TITLE,      GUMBO_TAG_ARTICLE,  GUMBO_TAG_SECTION, GUMBO_TAG_NAV,
              GUMBO_TAG_ASIDE,      GUMBO_TAG_H1,       GUMBO_TAG_H2,      GUMBO_TAG_H3,
              GUMBO_TAG_H4,         GUMBO_TAG_H5,       GUMBO_TAG_H6,      GUMBO_TAG_HGROUP,
              GUMBO_TAG_HEADER,     GUMBO_TAG_FOOTER,   GUMBO_TAG_ADDRESS, GUMBO_TAG_P,
              GUMBO_TAG_HR,         GUMBO_TAG_PRE,      GUMBO_TAG_OL,      GUMBO_TAG_UL,
              GUMBO_TAG_LI,         GUMBO_TAG_DL,       GUMBO_TAG_DT,      GUMBO_TAG_DD,
              GUMBO_TAG_FIGURE,     GUMBO_TAG_DIV,      GUMBO_TAG_MAIN,    GUMBO_TAG_BR,
              GUMBO_TAG_TABLE,      GUMBO_TAG_CAPTION,  GUMBO_TAG_TR,      GUMBO_TAG_FORM,
              GUMBO_TAG_OPTION,     GUMBO_TAG_DETAILS,  GUMBO_TAG_SUMMARY, GUMBO_TAG_CENTER,
              GUMBO_TAG_DIR,        GUMBO_TAG_MENU,     GUMBO_TAG_XMP,     GUMBO_TAG_LISTING,
              GUMBO_TAG_TEXTAREA,   GUMBO_TAG_FIELDSET, GUMBO_TAG_LEGEND,  GUMBO_TAG_BLOCKQUOTE,
              GUMBO_TAG_FIGCAPTION, GUMBO_TAG_PLAINTEXT});
    return kSet;
}

const TagSet& ownBlanks() {
    static const TagSet kSet =
        tags({GUMBO_TAG_PRE, GUMBO_TAG_TEXTAREA, GUMBO_TAG_XMP, GUMBO_TAG_LISTING, GUMBO_TAG_PLAINTEXT});
    return kSet;
}

// Walks one tree without recursion: how deep it is the page decides.
class TreeReader {
  public:
    TreeReader(const HtmlPieces& pieces, TextWriter& writer) : pieces_(pieces), writer_(writer) {}

    void read(const GumboNode& root) {
        enter(root);
        while (!open_.empty() && !writer_.isFull()) {
            Open& top = open_.back();
            if (top.nextChild == top.element->children.length) {
                leave(*top.element);
            } else {
                enter(*static_cast<const GumboNode*>(top.element->children.data[top.nextChild++]));
            }
        }
    }

  private:
    struct Open {
        const GumboElement* element;
        unsigned nextChild;
    };

    void enter(const GumboNode& node) {
        if (node.type == GUMBO_NODE_ELEMENT) {
            const GumboElement& element = node.v.element;
            if (unseen()[element.tag]) return;
            if (ownLines()[element.tag]) writer_.lineBreak();
            if (hasOwnWords(element)) writer_.blank();
            withOwnBlanks_ += ownBlanks()[element.tag] ? 1 : 0;
            open_.push_back({&element, 0});
        } else if (node.type == GUMBO_NODE_TEXT || node.type == GUMBO_NODE_CDATA ||
                   node.type == GUMBO_NODE_WHITESPACE) {
            pieces_.restore(node.v.text.text, [this](std::string_view text) {
                withOwnBlanks_ > 0 ? writer_.lines(text) : writer_.words(text);
            });
        }
    }

    void leave(const GumboElement& element) {
        if (ownLines()[element.tag]) writer_.lineBreak();
        if (hasOwnWords(element)) writer_.blank();
        if (element.tag == GUMBO_TAG_TD || element.tag == GUMBO_TAG_TH) writer_.tab();
        withOwnBlanks_ -= ownBlanks()[element.tag] ? 1 : 0;
        open_.pop_back();
    }

    const HtmlPieces& pieces_;
    TextWriter& writer_;
    std::vector<Open> open_;
    int withOwnBlanks_ = 0;
};

GumboOptions parserOptions() {
    GumboOptions options = kGumboDefaultOptions;
    options.max_errors = 0;
    return options;
}

void writePiece(TextWriter& writer, const HtmlPieces& pieces, const std::string& piece) {
    const GumboOptions options = parserOptions();
    const auto destroy = [&options](GumboOutput* output) { gumbo_destroy_output(&options, output); };
    const std::unique_ptr<GumboOutput, decltype(destroy)> output(
        gumbo_parse_with_options(&options, piece.data(), piece.size()), destroy);
    TreeReader(pieces, writer).read(*output->root);
}

}  // namespace

void writeHtml(TextWriter& writer, std::string_view utf8, const std::function<void(int percent)>& onPiece) {
    HtmlPieces pieces(utf8);
    for (std::string piece; !writer.isFull() && pieces.next(piece);) {
        writePiece(writer, pieces, piece);
        if (onPiece) onPiece(pieces.percent());
    }
    writer.lineBreak();
}

ImportTextResult importHTML(const ImportJob& job) {
    return withDocument(job, kLargestDocument / 2, [&](const std::string& bytes) {
        const std::string page = decodedPage(bytes);
        TextWriter writer(job.maxLength);
        writeHtml(writer, page, [&job](int percent) { tellProgress(job, percent); });
        return onePage(writer.take());
    });
}

}  // namespace kestrix
