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

struct Matchers {
    explicit Matchers(const LanguageParse::Vocabulary& vocabulary) : fast(vocabulary), slow(vocabulary) {}
    void compare(const std::string& line) const {
        const auto words = SentenceComponent::parseWords(line);
        if (MatchingTwin::described(fast.allMatches(words)) != slow.allMatches(words)) std::abort();
    }

    LanguageParse fast;
    MatchingTwin slow;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kLongest = 600;  // the twin is slow
    static const Matchers kShipped(vocabularyOf(std::string(shippedSentences())));
    const std::string text(reinterpret_cast<const char*>(data), std::min(size, kLongest));
    const auto dashes = text.find("----\n");
    if (dashes == std::string::npos) return 0;
    const std::string line = text.substr(dashes + 5);
    try {
        if (dashes == 0)
            kShipped.compare(line);
        else
            Matchers(vocabularyOf(text.substr(0, dashes))).compare(line);
    } catch (const Error&) {
        // A faulty template file is refused.
    }
    return 0;
}
