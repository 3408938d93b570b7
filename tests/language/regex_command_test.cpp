#include "language/commands/regex_command.h"

#include <chrono>
#include <thread>

#include "tests/language/language_fixture.h"
#include "tests/language/vocabulary_fixture.h"

namespace kestrix {
namespace {

class RegexCommandTest : public LanguageWorld {
  protected:
    CommandApplyResult judge(RegexCommand& command, const std::string& path) {
        SearchResult result = resultAt(path);
        return command.commandImpApply(result, nullptr, anything);
    }
    CommandApplyResult judge(const std::string& pattern, const std::string& path) {
        RegexCommand command(pattern);
        return judge(command, path);
    }

    QueryContainer anything = query("");
};

TEST_F(RegexCommandTest, AMatchAnywhereInTheNameIsEnoughAndCaseCounts) {
    EXPECT_EQ(judge("p.rt", "/dir/Report.txt"), CommandApplyResult::accept);
    EXPECT_EQ(judge("^R.*txt$", "/dir/Report.txt"), CommandApplyResult::accept);
    EXPECT_EQ(judge("report", "/dir/Report.txt"), CommandApplyResult::exclude);
    EXPECT_EQ(judge("dir", "/dir/Report.txt"), CommandApplyResult::exclude);
    EXPECT_EQ(judge("\\btxt\\b", "/report.txt"), CommandApplyResult::accept);
    EXPECT_EQ(judge("^.\u00e9$", "/d\u00e9"), CommandApplyResult::accept);
    EXPECT_EQ(judge("^a\uFFFDb$",
                    "/a\xFF"
                    "b"),
              CommandApplyResult::accept);
}

TEST_F(RegexCommandTest, ABadPatternJudgesNothing) {
    EXPECT_EQ(judge("[", "/a"), CommandApplyResult::skip);
    EXPECT_FALSE(isRegularExpression("a{2,1}"));
    EXPECT_TRUE(isRegularExpression("[a-z]+"));
}

TEST_F(RegexCommandTest, NoPatternCanHangASearch) {
    RegexCommand command("(x+x+)+y");
    const std::string name = "/" + std::string(200, 'x');
    EXPECT_FALSE(command.exceededItsBound());
    EXPECT_EQ(judge(command, "/xxy"), CommandApplyResult::accept);
    EXPECT_FALSE(command.exceededItsBound());
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 20'000; ++i)
        ASSERT_EQ(judge(command, name), CommandApplyResult::exclude);
    EXPECT_TRUE(command.exceededItsBound());
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
    // No room for backtracking instead of no time.
    EXPECT_EQ(judge("(?:a|b)*c", "/" + std::string(3'000'000, 'a')), CommandApplyResult::exclude);
}

TEST_F(RegexCommandTest, SeveralThreadsShareOnePattern) {
    RegexCommand command("^(a|b)+c$");
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int turn = 0; turn < 500; ++turn) {
                if (judge(command, "/abbac") != CommandApplyResult::accept) ++wrong;
                if (judge(command, "/abba") != CommandApplyResult::exclude) ++wrong;
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

TEST_F(RegexCommandTest, ItsTextIsReadAsTheSameCommand) {
    ManualClock clock;
    const LanguageParse sentences = realLanguage(clock);
    for (const std::string pattern :
         {"^a.b$", "a*b", "(?:x y)+", "say \"hi\"", "\\d+:\\w", "[\"]", "\\\\\"x"}) {
        const auto text = RegexCommand(pattern).commandToString();
        const auto again = std::dynamic_pointer_cast<RegexCommand>(onlyCommand(sentences, text));
        ASSERT_TRUE(again) << text;
        EXPECT_EQ(again->regex(), pattern);
    }
    EXPECT_EQ(onlyCommand(sentences, "named like ["), nullptr);
}

}  // namespace
}  // namespace kestrix
