// The table against everything that is made from it.
#include "app/cli/command_table.h"

#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>

#include "app/cli/help_text.h"

namespace kestrix::cli {
namespace {

bool holds(const std::string& text, std::string_view part) {
    return text.find(part) != text.npos;
}

TEST(CommandTable, EveryBuiltCommandExplainsItselfOnATerminalWithAnExample) {
    for (const CommandSpec& command : allCommands()) {
        const std::string help = helpFor(command);
        if (!command.built) {
            EXPECT_TRUE(holds(help, "not there yet")) << command.name;
            continue;
        }
        std::istringstream lines(help);
        for (std::string line; std::getline(lines, line);)
            EXPECT_TRUE(line.size() < 80 || holds(line, "kestrix ")) << line;
        EXPECT_TRUE(holds(help, "Example:\n  kestrix ")) << command.name;
        EXPECT_TRUE(holds(overviewHelp(), command.summary.substr(0, 20))) << command.name;
        std::set<std::string_view> names;
        for (const OptionSpec& option : globalOptions())
            names.insert(option.name);
        for (const OptionSpec& option : command.options) {
            EXPECT_TRUE(holds(help, option.name)) << option.name;
            EXPECT_TRUE(names.insert(option.name).second) << option.name << " stands for two options";
        }
        for (const ActionSpec& action : command.actions)
            EXPECT_TRUE(holds(help, action.name)) << action.name;
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
