// Turns the XML of an office document into text, by a table of what its elements mean.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "import/helper/formats/text_writer.h"
#include "import/helper/formats/xml_stream.h"

namespace kestrix {

// What an element means for the text; several can be joined by `|`.
enum MarkupRole : std::uint8_t {
    kHoldsText = 1,   // characters inside of it, at any depth, are text; all others are not
    kEndsLine = 2,    // a new line behind it
    kEndsCell = 4,    // a tab behind it
    kEndsWord = 8,    // a blank behind it
    kIsHyphen = 16,   // it stands for one
    kIsSkipped = 32,  // nothing in it counts
    kIsAside = 64,    // it stands beside the text around it, and only what in it holds text anew counts
    kIsNamed = 128,   // its attribute "name" is a line in front of it
};

struct MarkupRule {
    std::string_view element;  // without prefix
    unsigned roles;
};

// One serves several members of a package, one after another. `rules` and the writer must outlive it.
class MarkupReader : public XmlHandler {
  public:
    MarkupReader(std::span<const MarkupRule> rules, TextWriter& writer) : rules_(rules), writer_(writer) {}

    void startElement(std::string_view name, const std::vector<Attribute>& attributes) override;
    void endElement(std::string_view name) override;
    void characters(std::string_view text) override;
    bool isSatisfied() const override { return writer_.isFull(); }

  private:
    unsigned rolesOf(std::string_view name) const;
    void beginAside();
    void endAside();

    std::span<const MarkupRule> rules_;
    TextWriter& writer_;
    int holding_ = 0;          // open elements that hold text, since the innermost aside
    int skipping_ = 0;         // open elements whose content does not count
    std::vector<int> around_;  // `holding_` as it was in front of each open aside
};

}  // namespace kestrix
