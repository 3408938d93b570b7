#include "app/cli/command_line.h"

#include <algorithm>
#include <array>
#include <new>
#include <system_error>

#include "app/cli/commands.h"
#include "app/cli/display_text.h"
#include "app/cli/environment.h"
#include "app/cli/help_text.h"
#include "base/error.h"

namespace kestrix::cli {
namespace {

using Run = int (*)(const Arguments& arguments, CommandContext& context);

struct Runner {
    std::string_view name;
    Run run;
};

constexpr std::array kRunners = {
    Runner{"find", runFind},         Runner{"export", runExport},
    Runner{"explain", runExplain},   Runner{"complete", runComplete},
    Runner{"tag", runTag},           Runner{"import", runImport},
    Runner{"why", runWhy},           Runner{"script", runScript},
    Runner{"catalog", runCatalog},   Runner{"service", runService},
    Runner{"rename", runRename},     Runner{"delete", runDelete},
    Runner{"settings", runSettings}, Runner{"history", runHistory},
    Runner{"saved", runSaved},       Runner{"favourites", runFavourites},
    Runner{"recents", runRecents},   Runner{"ignore", runIgnore},
    Runner{"log", runLog},           Runner{"completions", runCompletions},
    Runner{"help", runHelp},
};

int run(const Arguments& arguments, CommandContext& context) {
    if (arguments.has("help")) {
        context.output.append(arguments.command ? helpFor(*arguments.command) : overviewHelp());
        return kExitFound;
    }
    if (arguments.has("version")) {
        context.output.append("kestrix " + context.application.options().version + "\n");
        return kExitFound;
    }
    if (!arguments.command)
        throw UsageError("say what to do, such as: kestrix find report; --help lists all");
    if (arguments.has("log") || environmentValue("KESTRIX_LOG") == "1") context.application.startLogging();
    for (const Runner& runner : kRunners) {
        if (runner.name == arguments.command->name) return runner.run(arguments, context);
    }
    throw UsageError(std::string(arguments.command->name) + " is not there yet in this version");
}

int runGuarded(std::span<const std::string_view> typed, CommandContext& context) {
    try {
        return run(parseArguments(typed), context);
    } catch (const std::bad_alloc&) {
        complain("there is not enough memory; search in a smaller place");
    } catch (const std::exception& failure) {
        complain(failure.what());
    }
    return kExitFailure;
}

}  // namespace

ApplicationOptions commandLineOptions() {
    ApplicationOptions options;
    options.version = KESTRIX_VERSION;
    options.buildNumber = KESTRIX_BUILD_NUMBER;
    options.showAlert = [](const Error& error, const std::function<std::string()>&) {
        std::string text = error.what();
        std::replace(text.begin(), text.end(), '\n',
                     ' ');  // an alert has room for several lines, this has not
        complain(text);
    };
    options.settingsDamaged = [](const std::string& keptAs) {
        complain("the settings file was damaged; it is kept as " + inQuotes(keptAs) +
                 " and new settings begin");
    };
    return options;
}

int runCommandLine(std::span<const std::string_view> typed, Application& application, OutputWriter& output) {
    CommandContext context{application, output, application.clock().steadyNow()};
    const int code = runGuarded(typed, context);
    output.finish();
    if (output.outcome() != WriteOutcome::failed) return code;
    complain(std::string("cannot write to standard output: ") +
             std::generic_category().message(output.errorNumber()));
    return kExitFailure;
}

}  // namespace kestrix::cli
