// A template file, a line of four dashes, and a line of words: the matcher must take the same commands as its
// slow twin. With an empty file, the shipped sentences are used.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "base/error.h"
#include "tests/language/matching_twin.h"

namespace {

using namespace kestrix;

LanguageParse::Vocabulary vocabularyOf(const std::string& sentences) {
    VariableLookups lookups;
    lookups.scripts = [] { return std::vector<std::pair<std::string, std::string>>{{"tidy up", "/x"}}; };
    return {.sentences = SentenceTemplate::fromText(sentences),
            .factories = {std::make_shared<NamingFactory>(knownCommandNames())},
            .variableParsers = makeVariableParsers(lookups),
            .variableCompletors = {}};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kLongest = 2000;  // the twin is slow
    const std::string text(reinterpret_cast<const char*>(data), std::min(size, kLongest));
    const auto dashes = text.find("----\n");
    if (dashes == std::string::npos) return 0;
    try {
        const auto vocabulary =
            vocabularyOf(dashes == 0 ? std::string(shippedSentences()) : text.substr(0, dashes));
        const auto words = SentenceComponent::parseWords(text.substr(dashes + 5));
        const auto found = MatchingTwin::described(LanguageParse(vocabulary).allMatches(words));
        if (found != MatchingTwin(vocabulary).allMatches(words)) std::abort();
    } catch (const Error&) {
        // A faulty template file is refused.
    }
    return 0;
}
