// The commands over the settings, end to end.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/app/program.h"

namespace kestrix {
namespace {

class SettingsCommands : public testing::Test {
  protected:
    std::string output(const std::vector<std::string>& arguments) {
        const Outcome outcome = program_.run(arguments);
        EXPECT_EQ(outcome.errors, "");
        return outcome.output;
    }
    nlohmann::json stored() const {
        std::ifstream file(program_.home() + "/settings.json");
        return nlohmann::json::parse(file);
    }

    Program program_;
};

TEST_F(SettingsCommands, AValueIsStoredAsWhatItReadsAs) {
    const std::vector<std::pair<std::string, nlohmann::json>> cases = {
        {"true", true},   {"17", 17},       {"-5", -5},       {"1.5", 1.5},
        {"text", "text"}, {"null", "null"}, {"0017", "0017"}, {"[\"a\"]", nlohmann::json::array({"a"})},
    };
    for (const auto& [typed, value] : cases) {
        EXPECT_EQ(program_.run({"settings", "set", "k", typed}).code, 0);
        EXPECT_EQ(stored()["k"], value) << typed;
    }
    program_.run({"settings", "set", "k", "17", "--string"});
    EXPECT_EQ(stored()["k"], "17");
    EXPECT_EQ(output({"settings", "get", "k"}), "17\n");
    EXPECT_EQ(output({"settings", "get", "k", "--json"}), "\"17\"\n");
}

TEST_F(SettingsCommands, DefaultsStandBehindStoredValues) {
    EXPECT_EQ(output({"settings", "get", "historyMaxCount"}), "20\n");
    program_.run({"settings", "set", "historyMaxCount", "5"});
    EXPECT_NE(output({"settings", "list"}).find("\nhistoryMaxCount=5\tstored\n"), std::string::npos);
    EXPECT_EQ(program_.run({"settings", "unset", "historyMaxCount"}).code, 0);
    EXPECT_EQ(program_.run({"settings", "unset", "historyMaxCount"}).code, 1);
    EXPECT_NE(output({"settings", "list"}).find("\nhistoryMaxCount=20\n"), std::string::npos);
    EXPECT_EQ(program_.run({"settings", "get", "no-such-key"}).code, 1);
}

TEST_F(SettingsCommands, ADamagedFileIsNamedAndAFolderThatCannotBeWrittenIsOneLine) {
    const std::string file = program_.folder().file("home/settings.json", "{\"a\": 1, \xff");
    EXPECT_NE(program_.run({"settings", "set", "b", "2"}).errors.find('"' + file + ".damaged-1\""),
              std::string::npos);
    EXPECT_EQ(stored()["b"], 2);
    program_.setHome("/dev/null/none");
    const Outcome outcome = program_.run({"settings", "set", "a", "1"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_EQ(outcome.errors.rfind("kestrix: ", 0), 0u);
    EXPECT_EQ(outcome.errors.find('\n'), outcome.errors.size() - 1) << outcome.errors;
    EXPECT_EQ(output({"settings", "get", "historyMaxCount"}), "20\n");
    EXPECT_EQ(output({"--version"}).rfind("kestrix ", 0), 0u);
    EXPECT_NE(output({"find", "--help"}).find("Example:"), std::string::npos);
}

TEST_F(SettingsCommands, AValueThatWouldNotBeHeededIsRefused) {
    for (const auto& [key, value] : {std::pair{"historyEnabled", "yes"},
                                     {"historyMaxCount", "2.5"},
                                     {"iconSizeSlider", "wide"},
                                     {"lastSearchlocationPopupSelectedItemName", "7"}}) {
        const Outcome outcome = program_.run({"settings", "set", key, value});
        EXPECT_EQ(outcome.code, 2);
        EXPECT_NE(outcome.errors.find(std::string("\"") + key + "\" is "), std::string::npos)
            << outcome.errors;
        EXPECT_EQ(program_.run({"settings", "unset", key}).code, 1) << key;
    }
    EXPECT_EQ(program_.run({"settings", "set", "iconSizeSlider", "300"}).code, 0);
}

TEST_F(SettingsCommands, WhatIsNoUtf8IsRefusedSinceItCouldNotBeNamedAgain) {
    const std::vector<std::vector<std::string>> cases = {{"settings", "set", "b\xff", "1"},
                                                         {"settings", "set", "key", "b\xff"},
                                                         {"ignore", "add-folder", "b\xff"}};
    for (const auto& arguments : cases) {
        const Outcome outcome = program_.run(arguments);
        EXPECT_EQ(outcome.code, 2) << arguments[1];
        EXPECT_NE(outcome.errors.find("must be valid UTF-8"), std::string::npos) << outcome.errors;
    }
    EXPECT_EQ(program_.run({"ignore"}).code, 1);
}

TEST_F(SettingsCommands, ListsAreKeptAndCleared) {
    program_.run({"find", "first", "--in", program_.folder().path()});
    program_.run({"find", "second", "--in", program_.folder().path()});
    EXPECT_NE(output({"history"}).find("   2  "), std::string::npos);
    EXPECT_EQ(program_.run({"history", "remove", "1"}).code, 0);
    EXPECT_EQ(program_.run({"history", "remove", "7"}).code, 2);
    EXPECT_NE(output({"history"}).find("second\n"), std::string::npos);
    EXPECT_EQ(program_.run({"history", "clear"}).code, 0);
    EXPECT_EQ(program_.run({"history"}).code, 1);

    EXPECT_EQ(output({"favourites", "add", "/data/My Photos"}), "my\n");
    EXPECT_EQ(program_.run({"favourites", "rename", "my", "photos"}).code, 0);
    EXPECT_NE(output({"favourites"}).find("photos\t/data/My Photos\n"), std::string::npos);
    EXPECT_NE(output({"favourites"}).find("downloads\t"), std::string::npos);
    EXPECT_EQ(program_.run({"favourites", "remove", "photos"}).code, 0);
    EXPECT_EQ(program_.run({"favourites", "remove", "photos"}).code, 1);

    EXPECT_EQ(program_.run({"ignore", "add-folder", "build"}).code, 0);
    EXPECT_EQ(program_.run({"ignore", "add-extension", ".tmp"}).code, 0);
    EXPECT_EQ(output({"ignore"}), "folder\tbuild\nextension\ttmp\n");
    for (const char* wrong : {".", "tar.gz", "*.pdf"})
        EXPECT_EQ(program_.run({"ignore", "add-extension", wrong}).code, 2) << wrong;
    EXPECT_EQ(program_.run({"ignore", "remove", ".tmp"}).code, 0);
    EXPECT_EQ(output({"ignore", "list"}), "folder\tbuild\n");

    const std::string item = program_.folder().file("item.txt");
    EXPECT_EQ(program_.run({"recents", "add", item}).code, 0);
    EXPECT_EQ(output({"recents"}), item + "\n");
    EXPECT_EQ(program_.run({"recents", "clear"}).code, 0);
    EXPECT_EQ(program_.run({"recents"}).code, 1);
}

TEST_F(SettingsCommands, TheLogIsWrittenOnlyWhenAskedFor) {
    program_.run({"find", "x", "--in", program_.folder().path()});
    EXPECT_EQ(program_.run({"log"}).code, 1);
    program_.run({"find", "x", "--in", program_.folder().path(), "--log"});
    EXPECT_NE(output({"log", "show"}).find("Iteration"), std::string::npos);
    EXPECT_EQ(output({"log", "path"}), program_.home() + "/cache/Today's Log.txt\n");
}

}  // namespace
}  // namespace kestrix
