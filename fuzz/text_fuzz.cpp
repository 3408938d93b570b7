// What holds for every text, valid or not. The first byte says where the input is cut into haystack and
// needle.
#include "base/text.h"

#include <cstdlib>

#include "tests/base/text_twin.h"

namespace {

using namespace kestrix;

void demand(bool holds) {
    if (!holds) std::abort();
}

void checkOne(std::string_view text) {
    std::string joined;
    for (const std::string_view character : text::characters(text)) {
        demand(!character.empty());
        joined += character;
    }
    demand(joined == text);
    demand(text::characterCount(text) == text::characters(text).size());

    const bool isValid = text::isValidUtf8(text);
    const std::string shown = text::displayable(text);
    demand(text::isValidUtf8(shown));
    demand((shown == text) == isValid);
    demand(text::isValidUtf8(text::lowered(text)) || !isValid);
    demand(text::isValidUtf8(text::uppered(text)) || !isValid);
    demand(text::isValidUtf8(text::loweredLocalised(text)) || !isValid);
    const std::string composed = text::composed(text);
    if (isValid) demand(text::composed(composed) == composed);
    demand(text.find(text::trimmed(text)) != std::string_view::npos);
    text::withFirstCharacterUpper(text);
}

void checkTwo(std::string_view a, std::string_view b) {
    const int byCompare = text::naturalCompare(a, b);
    const int byKeys = text::collationKey(a).compare(text::collationKey(b));
    demand((byCompare < 0) == (byKeys < 0) && (byCompare > 0) == (byKeys > 0));

    const std::string needle = text::lowered(b);
    demand(text::findIgnoringCase(a, needle) == findIgnoringCaseSlowly(a, needle, 0));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    if (size == 0) return 0;
    const std::string_view rest(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::size_t cut = rest.empty() ? 0 : data[0] % (rest.size() + 1);
    checkOne(rest);
    checkTwo(rest.substr(0, cut), rest.substr(cut));
    return 0;
}
