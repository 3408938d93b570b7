// The commands, one function each.
#pragma once

#include "app/application.h"
#include "app/cli/arguments.h"
#include "app/cli/output_writer.h"

namespace kestrix::cli {

inline constexpr int kExitFound = 0;  // something was found or done
inline constexpr int kExitNothing = 1;
inline constexpr int kExitFailure = 2;  // or wrong usage

// What a command works with; all of it outlives the command.
struct CommandContext {
    Application& application;
    OutputWriter& output;
    SteadyTime started;  // of the program
};

// Each prints to the output, leaves closing it to the caller, and returns the exit code. They may throw Error
// and UsageError.
int runFind(const Arguments& arguments, CommandContext& context);
int runExport(const Arguments& arguments, CommandContext& context);
int runExplain(const Arguments& arguments, CommandContext& context);
int runComplete(const Arguments& arguments, CommandContext& context);
int runTag(const Arguments& arguments, CommandContext& context);
int runImport(const Arguments& arguments, CommandContext& context);
int runWhy(const Arguments& arguments, CommandContext& context);
int runScript(const Arguments& arguments, CommandContext& context);
int runCatalog(const Arguments& arguments, CommandContext& context);
int runService(const Arguments& arguments, CommandContext& context);
int runRename(const Arguments& arguments, CommandContext& context);
int runDelete(const Arguments& arguments, CommandContext& context);
int runSettings(const Arguments& arguments, CommandContext& context);
int runHistory(const Arguments& arguments, CommandContext& context);
int runSaved(const Arguments& arguments, CommandContext& context);
int runFavourites(const Arguments& arguments, CommandContext& context);
int runRecents(const Arguments& arguments, CommandContext& context);
int runIgnore(const Arguments& arguments, CommandContext& context);
int runLog(const Arguments& arguments, CommandContext& context);
int runCompletions(const Arguments& arguments, CommandContext& context);
int runHelp(const Arguments& arguments, CommandContext& context);

}  // namespace kestrix::cli
