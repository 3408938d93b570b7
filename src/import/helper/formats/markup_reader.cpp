#include "import/helper/formats/markup_reader.h"

#include <algorithm>
#include <utility>

namespace kestrix {

unsigned MarkupReader::rolesOf(std::string_view name) const {
    const auto rule = std::find_if(rules_.begin(), rules_.end(),
                                   [name](const MarkupRule& one) { return one.element == name; });
    return rule == rules_.end() ? 0 : rule->roles;
}

void MarkupReader::beginAside() {
    around_.push_back(std::exchange(holding_, 0));
    writer_.beginAside();
}

void MarkupReader::endAside() {
    holding_ = around_.back();
    around_.pop_back();
    writer_.endAside();
}

void MarkupReader::startElement(std::string_view name, const std::vector<Attribute>& attributes) {
    const unsigned roles = rolesOf(name);
    if (roles & kIsSkipped) ++skipping_;
    if (roles & kIsAside) beginAside();
    if (roles & kHoldsText) ++holding_;
    if (!(roles & kIsNamed) || skipping_ > 0) return;
    writer_.words(attribute(attributes, "name"));
    writer_.lineBreak();
}

void MarkupReader::endElement(std::string_view name) {
    const unsigned roles = rolesOf(name);
    if (roles & kHoldsText) --holding_;
    if (roles & kIsAside) endAside();
    if (roles & kIsSkipped) --skipping_;
    if (roles == 0 || skipping_ > 0) return;
    if (roles & kIsHyphen) writer_.words("-");
    if (roles & kEndsLine) writer_.lineBreak();
    if (roles & kEndsCell) writer_.tab();
    if (roles & kEndsWord) writer_.blank();
}

void MarkupReader::characters(std::string_view text) {
    if (holding_ > 0 && skipping_ == 0) writer_.words(text);
}

}  // namespace kestrix
