#include "tests/language/matching_twin.h"

#include <gtest/gtest.h>

#include <random>

namespace kestrix {
namespace {

// Few words, so that templates and lines often meet.
class RandomText {
  public:
    std::string words(int most) {
        static const std::vector<std::string> kWords = {"a",
                                                        "b",
                                                        "in",
                                                        "~dateType",
                                                        "~year",
                                                        "~month",
                                                        "~string",
                                                        "~contentSearchFlags",
                                                        "march",
                                                        "modified",
                                                        "2016",
                                                        "all",
                                                        "words",
                                                        "\"c d\"",
                                                        "~uti",
                                                        "~varArg",
                                                        "10mb",
                                                        "image",
                                                        "\"~file size\"",
                                                        "b/x",
                                                        "~string/~tagCompletor"};
        std::string line;
        for (int count = between(1, most); count > 0; --count)
            line += kWords[static_cast<std::size_t>(between(0, int(kWords.size()) - 1))] + ' ';
        return line;
    }
    int between(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random_); }

  private:
    std::mt19937 random_{7};
};

TEST(MatchingTwin, TemplatesFoundByTheirFirstWordMatchAsIfAllWereTried) {
    RandomText random;
    int commands = 0;
    for (int round = 0; round < 300; ++round) {
        std::string sentences;
        for (int i = random.between(0, 12); i > 0; --i)
            sentences += random.words(4) + (random.between(0, 3) ? "one\n" : "textContent\n");
        sentences += "one\n";
        LanguageParse::Vocabulary vocabulary{
            .sentences = SentenceTemplate::fromText(sentences),
            .factories = {std::make_shared<NamingFactory>(std::vector<std::string>{"one", "textContent"})},
            .variableParsers = makeVariableParsers({}),
            .variableCompletors = {}};
        if (round % 2 == 0)
            vocabulary.sentences.pop_back();  // else one without words, which matches anywhere
        const MatchingTwin twin(vocabulary);
        const LanguageParse language(vocabulary);
        for (int turn = 0; turn < 20; ++turn) {
            const auto words = SentenceComponent::parseWords(random.words(8));
            const auto expected = twin.allMatches(words);
            ASSERT_EQ(MatchingTwin::described(language.allMatches(words)), expected) << sentences;
            commands += static_cast<int>(expected.size()) - 1;
        }
    }
    EXPECT_GT(commands, 5000);
}

}  // namespace
}  // namespace kestrix
