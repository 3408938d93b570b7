#include "app/cli/help_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cctype>

#include "app/cli/commands.h"
#include "app/cli/language_help.h"

namespace kestrix::cli {
namespace {

constexpr std::size_t kWidth = 78;
constexpr std::size_t kHelpColumn = 24;

// Breaks at blanks; every line but the first begins with `indent` blanks. `column` is where the text begins.
std::string wrapped(std::string_view text, std::size_t indent, std::size_t column) {
    std::string result;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find(' ', at), text.size());
        const std::string_view word = text.substr(at, end - at);
        if (column + word.size() > kWidth && column > indent) {
            result += '\n';
            result.append(indent, ' ');
            column = indent;
        } else if (at > 0) {
            result += ' ';
            ++column;
        }
        result += word;
        column += word.size();
        at = end + 1;
    }
    return result;
}

// A name on the left, its help on the right; a long name has the help on the next line.
std::string row(const std::string& name, std::string_view help) {
    std::string line = fmt::format("  {}", name);
    if (line.size() + 2 > kHelpColumn) {
        line += '\n';
        line.append(kHelpColumn, ' ');
    } else {
        line.append(kHelpColumn - line.size(), ' ');
    }
    return line + wrapped(help, kHelpColumn, kHelpColumn) + "\n";
}

std::string formOf(const OptionSpec& option) {
    std::string form = option.shortName ? fmt::format("-{}, --{}", option.shortName, option.name)
                                        : fmt::format("--{}", option.name);
    if (option.kind != ValueKind::none) form += fmt::format(" {}", option.valueName);
    return form;
}

std::string formOf(const ActionSpec& action) {
    if (action.operands.empty()) return std::string(action.name);
    return fmt::format("{} {}", action.name, action.operands);
}

std::string helpOf(const OptionSpec& option) {
    std::string help(option.help);
    if (!option.values.empty()) help += fmt::format("; one of {}", fmt::join(option.values, ", "));
    return option.actions.empty() ? help : fmt::format("with {}: {}", fmt::join(option.actions, ", "), help);
}

std::string usageOf(const CommandSpec& command) {
    std::string usage = fmt::format("kestrix {}", command.name);
    if (!command.options.empty()) usage += " [OPTIONS]";
    if (!command.actions.empty()) {
        usage += command.usualAction.empty() ? " ACTION" : " [ACTION]";
    } else if (!command.operands.empty()) {
        usage += fmt::format(" {}", command.operands);
    }
    return usage;
}

std::string optionRows(std::span<const OptionSpec> options) {
    std::string text;
    for (const OptionSpec& option : options)
        text += row(formOf(option), helpOf(option));
    return text;
}

// Roff takes a backslash as its own, and a dot or an apostrophe at the beginning of a line.
std::string roff(std::string_view text) {
    std::string escaped;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (i == 0 && (text[i] == '.' || text[i] == '\'')) escaped += "\\&";
        if (text[i] == '\\') {
            escaped += "\\e";
        } else if (text[i] == '-') {
            escaped += "\\-";
        } else if (text[i] == '\'') {
            escaped += "\\(aq";
        } else {
            escaped += text[i];
        }
    }
    return escaped;
}

std::string roffItem(const std::string& title, std::string_view help) {
    return fmt::format(".TP\n.B {}\n{}\n", roff(title), roff(help));
}

std::string roffCommand(const CommandSpec& command) {
    std::string text = fmt::format(".SS {}\n{}.\n", roff(usageOf(command)), roff(command.summary));
    if (!command.built) return text + "It is not there yet in this version.\n";
    text += fmt::format(".PP\n{}\n", roff(command.description));
    for (const ActionSpec& action : command.actions)
        text += roffItem(formOf(action), action.help);
    for (const OptionSpec& option : command.options)
        text += roffItem(formOf(option), helpOf(option));
    return text + fmt::format(".PP\nExample:\n.PP\n.RS\n.nf\n{}\n.fi\n.RE\n", roff(command.example));
}

constexpr std::string_view kExitCodes =
    "0: something was found or done. 1: nothing was found. 2: wrong usage, or a failure. 130: stopped by "
    "Ctrl-C.";

}  // namespace

std::string overviewHelp() {
    std::string text = "Finds files from one typed line.\n\nUsage: kestrix COMMAND ...\n\nCommands:\n";
    std::vector<std::string_view> missing;
    for (const CommandSpec& command : allCommands()) {
        if (command.built) {
            text += row(std::string(command.name), command.summary);
        } else {
            missing.push_back(command.name);
        }
    }
    text += fmt::format("\nOptions:\n{}", optionRows(globalOptions()));
    text += fmt::format("\nNot there yet in this version:\n  {}\n",
                        wrapped(fmt::format("{}", fmt::join(missing, ", ")), 2, 2));
    text += fmt::format("\nExit codes:\n  {}\n", wrapped(kExitCodes, 2, 2));
    text += fmt::format("\nExample:\n  {}\n", commandNamed("find")->example);
    return text + "\nkestrix COMMAND --help tells more about each.\n";
}

std::string helpFor(const CommandSpec& command) {
    std::string text = fmt::format("Usage: {}\n\n", usageOf(command));
    if (!command.built) return text + fmt::format("{} is not there yet in this version.\n", command.name);
    std::string told = fmt::format("{}. {}", command.summary, command.description);
    told.front() = static_cast<char>(std::toupper(static_cast<unsigned char>(told.front())));
    text += wrapped(told, 0, 0) + "\n";
    if (!command.actions.empty()) text += "\nActions:\n";
    for (const ActionSpec& action : command.actions) {
        const bool isUsual = action.name == command.usualAction;
        text += row(formOf(action), fmt::format("{}{}", action.help, isUsual ? " (the default)" : ""));
    }
    text += fmt::format("\nOptions:\n{}{}", optionRows(command.options), optionRows(globalOptions()));
    return text + fmt::format("\nExample:\n  {}\n", command.example);
}

std::string manualPage(std::string_view version) {
    std::string text = fmt::format(".TH KESTRIX 1 \"\" \"kestrix {}\" \"User Commands\"\n", version);
    text += ".SH NAME\nkestrix \\- find files from one typed line\n";
    text += ".SH SYNOPSIS\n.B kestrix\n.I COMMAND\n[OPTIONS] ...\n";
    text +=
        ".SH DESCRIPTION\nOptions may stand among the words; \\-\\- ends them. A word with one dash in front "
        "is no option: the query language excludes with it.\n";
    text += ".SH OPTIONS\n";
    for (const OptionSpec& option : globalOptions())
        text += roffItem(formOf(option), helpOf(option));
    text += ".SH COMMANDS\n";
    for (const CommandSpec& command : allCommands())
        text += roffCommand(command);
    text += fmt::format(".SH EXIT STATUS\n{}\n", roff(kExitCodes));
    text += ".SH ENVIRONMENT\n";
    text += roffItem("KESTRIX_HOME", "a folder that holds the settings, the data and the log");
    text += roffItem("KESTRIX_LOG", "1: write what happens to the log");
    text += roffItem("KESTRIX_SENTENCES", "a file of sentences in place of those that the program ships");
    text += roffItem("NO_COLOR", "set to anything: mark nothing on a terminal");
    return text;
}

int runHelp(const Arguments& arguments, CommandContext& context) {
    if (arguments.has("man")) {
        context.output.append(manualPage(context.application.options().version));
        return kExitFound;
    }
    if (arguments.has("language")) {
        context.output.append(languageHelp(context.application.language()));
        return kExitFound;
    }
    if (arguments.words.empty()) {
        context.output.append(overviewHelp());
        return kExitFound;
    }
    const std::array names = {arguments.words.front()};
    context.output.append(helpFor(*parseArguments(names).command));
    return kExitFound;
}

}  // namespace kestrix::cli
