// From what was typed to an exit code.
#pragma once

#include <span>
#include <string_view>

#include "app/application.h"
#include "app/cli/output_writer.h"

namespace kestrix::cli {

// What the program brings to its application: the version, and one line on standard error for each failure.
ApplicationOptions commandLineOptions();

// Runs one command and closes the output. Every failure becomes one line on standard error and an exit code.
// Afterwards the application must live until the process ends, see FindRun.
int runCommandLine(std::span<const std::string_view> typed, Application& application, OutputWriter& output);

}  // namespace kestrix::cli
