#include "app/cli/arguments.h"

#include <gtest/gtest.h>

namespace kestrix::cli {
namespace {

Arguments parsed(const std::vector<std::string_view>& typed) {
    return parseArguments(typed);
}

std::string complaint(const std::vector<std::string_view>& typed) {
    try {
        parsed(typed);
    } catch (const UsageError& error) {
        return error.what();
    }
    return "";
}

TEST(Arguments, OptionsStandAnywhereAmongTheWords) {
    const auto given = parsed({"--log", "find", "report", "--in", "/a", "2016", "--in=/b", "--count", "-0"});
    EXPECT_EQ(given.command->name, "find");
    EXPECT_EQ(given.line(), "report 2016");
    EXPECT_EQ(given.values("in"), (std::vector<std::string_view>{"/a", "/b"}));
    EXPECT_TRUE(given.has("log") && given.has("count") && given.has("null"));
    EXPECT_FALSE(given.has("sort"));
}

TEST(Arguments, OneDashMakesAWordUnlessItIsAKnownShortOption) {
    EXPECT_EQ(parsed({"find", "report", "-draft", "-", "-00"}).line(), "report -draft - -00");
    EXPECT_EQ(parsed({"find", "--", "--in", "-0"}).line(), "--in -0");
    EXPECT_EQ(parsed({"settings", "set", "depth", "-5"}).words.back(), "-5");
}

TEST(Arguments, AValueIsTakenAsItStands) {
    EXPECT_EQ(parsed({"find", "x", "--in", "--count"}).value("in"), "--count");
    EXPECT_EQ(parsed({"find", "x", "--in=a=b"}).value("in"), "a=b");
    EXPECT_EQ(parsed({"find", "x", "--sort", "name", "--sort", "size"}).value("sort"), "size");
}

TEST(Arguments, WrongUsageIsToldWithWhatWasMeant) {
    EXPECT_EQ(complaint({"fnid", "x"}), "there is no command \"fnid\"; did you mean find?");
    EXPECT_EQ(complaint({"find", "x", "--soruce", "walk"}),
              "there is no option \"--soruce\"; did you mean --source?");
    EXPECT_EQ(
        complaint({"find", "x", "--sort=nmae"}),
        "--sort knows no \"nmae\"; it is one of name, size, modified, created, kind, inside, path, rank; did "
        "you mean name?");
    EXPECT_EQ(complaint({"find", "x", "--wholly-unlike"}),
              "there is no option \"--wholly-unlike\"; kestrix find --help lists what there is");
    EXPECT_EQ(complaint({"find", "x", "--in"}), "--in needs a value: --in PATH");
    EXPECT_EQ(complaint({"find", "x", "--count=3"}), "--count takes no value");
    EXPECT_EQ(complaint({"settings", "get"}), "use it as: kestrix settings get KEY");
    EXPECT_EQ(complaint({"settings"}), "settings needs one of list, get, set, unset");
    EXPECT_EQ(complaint({"catalog", "update", "x", "--mirror", "/m"}), "--mirror goes with catalog add");
    EXPECT_EQ(complaint({"catalog", "update", "x", "--words"}), "");
    for (const char* limit : {"0", "-1", "1x", "", "99999999999999999999"}) {
        EXPECT_NE(complaint({"find", "x", "--limit", limit}), "") << limit;
    }
}

TEST(Arguments, WhatIsNotBuiltSaysSoWhateverStandsBehind) {
    EXPECT_EQ(complaint({"media", "serve", "/x", "--port"}), "media is not there yet in this version");
    EXPECT_EQ(parsed({"media", "serve"}).command->built, false);
    EXPECT_TRUE(parsed({"settings", "get", "--help"}).has("help")) << "help needs no operands";
}

TEST(Arguments, NonsenseOfAMegabyteIsOneShortComplaint) {
    const std::string nonsense = "--" + std::string(1 << 20, 'x') + "\n";
    const std::string told = complaint({"find", nonsense});
    EXPECT_LT(told.size(), 400u);
    EXPECT_EQ(told.find('\n'), told.npos);
}

}  // namespace
}  // namespace kestrix::cli
