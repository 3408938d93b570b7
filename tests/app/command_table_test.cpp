// The table against everything that is made from it.
#include "app/cli/command_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "app/cli/help_text.h"

namespace kestrix::cli {
namespace {

bool holds(const std::string& text, std::string_view part) {
    return text.find(part) != text.npos;
}

TEST(CommandTable, EveryBuiltCommandExplainsItselfWithAnExample) {
    for (const CommandSpec& command : allCommands()) {
        const std::string help = helpFor(command);
        if (!command.built) {
            EXPECT_TRUE(holds(help, "not there yet")) << command.name;
            continue;
        }
        EXPECT_TRUE(holds(help, "Example:\n  kestrix ")) << command.name;
        EXPECT_TRUE(holds(overviewHelp(), command.summary.substr(0, 20))) << command.name;
        for (const OptionSpec& option : command.options)
            EXPECT_TRUE(holds(help, option.name)) << option.name;
        for (const ActionSpec& action : command.actions)
            EXPECT_TRUE(holds(help, action.name)) << action.name;
    }
}

TEST(CommandTable, HelpFitsATerminal) {
    for (const CommandSpec& command : allCommands()) {
        const std::string help = helpFor(command);
        for (std::size_t at = 0; at < help.size();) {
            const std::size_t end = help.find('\n', at);
            const std::string line = help.substr(at, end - at);
            EXPECT_TRUE(line.size() < 80 || holds(line, "kestrix ")) << line;
            at = end + 1;
        }
    }
}

TEST(CommandTable, NoTwoOptionsOfACommandShareAName) {
    for (const CommandSpec& command : allCommands()) {
        std::vector<std::string_view> names;
        for (const OptionSpec& option : globalOptions())
            names.push_back(option.name);
        for (const OptionSpec& option : command.options)
            names.push_back(option.name);
        std::sort(names.begin(), names.end());
        EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end()) << command.name;
    }
}

TEST(CommandTable, TheManualNamesEveryOptionAndLeavesNoLineToRoff) {
    const std::string page = manualPage("1.0");
    EXPECT_TRUE(holds(page, "\\-\\-no\\-history"));
    EXPECT_TRUE(holds(page, ".SS kestrix find [OPTIONS] LINE..."));
    EXPECT_FALSE(holds(page, "\n'"));
}

}  // namespace
}  // namespace kestrix::cli
