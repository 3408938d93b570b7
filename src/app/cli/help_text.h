// Help and the manual page, made from the table.
#pragma once

#include <string>
#include <string_view>

#include "app/cli/command_table.h"

namespace kestrix::cli {

// All commands, one line each, and the global options.
std::string overviewHelp();
std::string helpFor(const CommandSpec& command);
// In roff, for man(1).
std::string manualPage(std::string_view version);

}  // namespace kestrix::cli
