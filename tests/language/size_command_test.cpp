#include "language/commands/size_command.h"

#include <nlohmann/json.hpp>

#include "tests/language/language_fixture.h"
#include "tests/language/vocabulary_fixture.h"

namespace kestrix {
namespace {

class SizeCommandTest : public LanguageWorld {
  protected:
    static std::optional<FileSizeArgs> sizeOf(std::string_view text, std::size_t* words = nullptr) {
        const auto input = SentenceComponent::parseWords(text);
        const auto read = readFileSize(input);
        if (!read) return std::nullopt;
        if (words) *words = read->numberOfConsumedWords;
        return std::any_cast<FileSizeArgs>(*read->value);
    }
    std::shared_ptr<SizeCommand> command(const std::string& line) {
        return std::dynamic_pointer_cast<SizeCommand>(onlyCommand(sentences, line));
    }
    bool accepts(const std::string& line, std::uint64_t size) {
        SearchResult result = resultAt("/a");
        result.size = size;
        return command(line)->commandImpApply(result, nullptr, query("")) == CommandApplyResult::accept;
    }
    std::optional<NumberRange> argumentsOf(const std::vector<std::string>& lines) {
        QuerySearchArguments arguments;
        for (const auto& line : lines)
            command(line)->commandImpQuerySearchArguments(arguments);
        return arguments.fileSize;
    }

    ManualClock clock;
    LanguageParse sentences = realLanguage(clock);
};

TEST_F(SizeCommandTest, ASizeIsReadInDigitsAndInWords) {
    const FileSizeArgs tenMb{10, SizeUnits::megabytes};
    for (const std::string text :
         {"10mb", "10 mb", "10M", "ten MB", "ten megabytes", "mb10", "\"ten\" megabyte"})
        EXPECT_EQ(sizeOf(text), tenMb) << text;
    EXPECT_EQ(tenMb.byteCount(), 10'000'000);
    EXPECT_EQ(sizeOf("1.5gb")->byteCount(), 1'500'000'000);
    EXPECT_EQ(sizeOf("1,000 kb")->byteCount(), 1'000'000);
    EXPECT_EQ(sizeOf("3 b")->byteCount(), 3);
    std::size_t words = 0;
    EXPECT_EQ(sizeOf("two hundred five kb is image", &words), (FileSizeArgs{205, SizeUnits::kilobytes}));
    EXPECT_EQ(words, 4u);
    // On its own a number has single precision, in one word with its unit it has double.
    EXPECT_EQ(sizeOf("10.1 gb")->byteCount(), 10'100'000'381);
    EXPECT_EQ(sizeOf("10.1gb")->byteCount(), 10'100'000'000);
}

TEST_F(SizeCommandTest, EveryUnitIsAThousandOfTheOneBefore) {
    double bytes = 1;
    for (const std::string unit : {"bytes", "k", "mb", "gigabyte", "t", "pb", "exabytes"}) {
        EXPECT_EQ(static_cast<double>(sizeOf("1 " + unit)->byteCount().value()), bytes) << unit;
        bytes *= 1000;
    }
    EXPECT_EQ(sizeOf("0.001 zb")->units, SizeUnits::zettabyte);
    EXPECT_EQ(sizeOf("1 yottabyte")->byteCount(), std::nullopt);
}

TEST_F(SizeCommandTest, ANumberWithoutItsUnitIsNoSize) {
    for (const std::string text :
         {"", "10", "mb", "ten", "0", "10 apples", "10 is mb", "one hundred and mb", ".mb", "1.2.3mb",
          "nan mb", "inf gb", "1e5mb", "ten and mb", "-", "10mbx mbx"})
        EXPECT_EQ(sizeOf(text), std::nullopt) << text;
}

TEST_F(SizeCommandTest, EachComparisonHasItsOwnEnds) {
    EXPECT_TRUE(accepts("bigger than 10mb", 10'000'001));
    EXPECT_FALSE(accepts("bigger than 10mb", 10'000'000));
    EXPECT_TRUE(accepts("bigger than -1 mb", 0));
    EXPECT_TRUE(accepts("smaller than 10 mb", 9'999'999));
    EXPECT_FALSE(accepts("smaller than 10 mb", 10'000'000));
    EXPECT_FALSE(accepts("smaller than 0 mb", 0));
    EXPECT_FALSE(accepts("size 10 mb", 10'000'000));
    EXPECT_TRUE(accepts("size 10 mb", 10'000'001));
    EXPECT_TRUE(accepts("size 10 mb", 10'249'999));
    EXPECT_FALSE(accepts("size 10 mb", 10'250'000));
    EXPECT_TRUE(accepts("exactly 10 mb", 10'000'000));
    EXPECT_FALSE(accepts("exactly 10 mb", 10'000'001));
    EXPECT_TRUE(accepts("bigger than 1 b", std::uint64_t{1} << 63));
}

TEST_F(SizeCommandTest, SizeClausesMeetInWhatTheyHaveInCommon) {
    EXPECT_EQ(argumentsOf({"bigger than 1 kb", "smaller than 2 kb"}), (NumberRange{1000, 2000}));
    EXPECT_EQ(argumentsOf({"smaller than 1 kb", "bigger than 2 kb"}), (NumberRange{0, 1000}));
    EXPECT_EQ(argumentsOf({"bigger than 2 kb", "smaller than 1 kb"}),
              (NumberRange{2000, NumberRange::kNoUpperEnd}));
    EXPECT_EQ(argumentsOf({"size 1 kb"}), (NumberRange{1000, 1250}));
    EXPECT_EQ(argumentsOf({"exactly 1 kb"}), (NumberRange{1000, 1001}));
}

TEST_F(SizeCommandTest, ASizeTooLargeToCountMakesNoCommand) {
    for (const std::string line : {"bigger than 1 zb", "smaller than 9223372036854775808 b", "size 0 yb",
                                   "size 9.2 eb", "bigger than -1 yb", "exactly 10eb"})
        EXPECT_EQ(command(line), nullptr) << line;
    EXPECT_TRUE(command("bigger than 9.2eb"));
    const auto words = SentenceComponent::parseWords("bigger than 1 zb smaller than 1 mb");
    const auto found = sentences.allMatches(words);
    EXPECT_EQ(textsOf(found.commands), (Texts{"smaller than 1 mb"}));
    EXPECT_EQ(found.words, words);
}

TEST_F(SizeCommandTest, ItsTextIsReadAsTheSameCommand) {
    for (const std::string line :
         {"over 10mb", "less than 10.1mb", "under 10.1 mb", "size two hundred five kb", "exactly 0.5 b",
          "above 1.23456789gb", "== 900000000000000000 b", "over -2 mb", "under 0.0000001 tb"}) {
        const auto first = command(line);
        ASSERT_TRUE(first) << line;
        const auto again = command(first->commandToString());
        ASSERT_TRUE(again) << first->commandToString();
        EXPECT_EQ(again->command(), first->command());
        EXPECT_EQ(again->units(), first->units());
        EXPECT_EQ(again->value(), first->value()) << first->commandToString();
        EXPECT_TRUE(first->isTemplateEqualTo(*again));
    }
    EXPECT_EQ(command("over 10mb")->commandToString(), "larger than 10 mb");
    EXPECT_EQ(command("over 10mb")->explainedFields(),
              (nlohmann::json{{"command", "greaterThan"}, {"units", "megabytes"}, {"value", 10.0}}));
}

}  // namespace
}  // namespace kestrix
