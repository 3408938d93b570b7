#include "app/cli/help_text.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "app/cli/commands.h"

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
    std::string line = "  " + name;
    if (line.size() + 2 > kHelpColumn) {
        line += '\n';
        line.append(kHelpColumn, ' ');
    } else {
        line.append(kHelpColumn - line.size(), ' ');
    }
    return line + wrapped(help, kHelpColumn, kHelpColumn) + "\n";
}

std::string formOf(const OptionSpec& option) {
    std::string form = option.shortName ? std::string("-") + option.shortName + ", " : std::string();
    form += "--" + std::string(option.name);
    if (option.kind != ValueKind::none) form += " " + std::string(option.valueName);
    return form;
}

std::string formOf(const ActionSpec& action) {
    return std::string(action.name) + (action.operands.empty() ? "" : " " + std::string(action.operands));
}

std::string helpOf(const OptionSpec& option) {
    std::string help(option.help);
    for (std::size_t i = 0; i < option.values.size(); ++i) {
        help += (i == 0 ? ": " : ", ") + std::string(option.values[i]);
    }
    return help;
}

std::string usageOf(const CommandSpec& command) {
    std::string usage = "kestrix " + std::string(command.name);
    if (!command.options.empty()) usage += " [OPTIONS]";
    if (!command.actions.empty()) {
        usage += command.usualAction.empty() ? " ACTION" : " [ACTION]";
    } else if (!command.operands.empty()) {
        usage += " " + std::string(command.operands);
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
    return ".TP\n.B " + roff(title) + "\n" + roff(help) + "\n";
}

std::string roffCommand(const CommandSpec& command) {
    std::string text = ".SS " + roff(usageOf(command)) + "\n" + roff(command.summary) + ".\n";
    if (!command.built) return text + "It is not there yet in this version.\n";
    text += ".PP\n" + roff(command.description) + "\n";
    for (const ActionSpec& action : command.actions)
        text += roffItem(formOf(action), action.help);
    for (const OptionSpec& option : command.options)
        text += roffItem(formOf(option), helpOf(option));
    return text + ".PP\nExample:\n.PP\n.RS\n.nf\n" + roff(command.example) + "\n.fi\n.RE\n";
}

constexpr std::string_view kExitCodes =
    "0: something was found or done. 1: nothing was found. 2: wrong usage, or a failure. 130: stopped by "
    "Ctrl-C.";

}  // namespace

std::string overviewHelp() {
    std::string text = "Finds files from one typed line.\n\nUsage: kestrix COMMAND ...\n\nCommands:\n";
    for (const CommandSpec& command : allCommands()) {
        if (command.built) text += row(std::string(command.name), command.summary);
    }
    text += "\nOptions:\n" + optionRows(globalOptions());
    text += "\nNot there yet in this version:\n  ";
    std::string names;
    for (const CommandSpec& command : allCommands()) {
        if (!command.built) names += (names.empty() ? "" : ", ") + std::string(command.name);
    }
    text += wrapped(names, 2, 2) + "\n\nExit codes:\n  " + wrapped(kExitCodes, 2, 2) + "\n";
    return text + "\nExample:\n  " + std::string(commandNamed("find")->example) +
           "\n\nkestrix COMMAND --help tells more about each.\n";
}

std::string helpFor(const CommandSpec& command) {
    std::string text = "Usage: " + usageOf(command) + "\n\n";
    if (!command.built) return text + std::string(command.name) + " is not there yet in this version.\n";
    text += wrapped(std::string(command.summary) + ". " + std::string(command.description), 0, 0) + "\n";
    text[text.find("\n\n") + 2] = static_cast<char>(std::toupper(text[text.find("\n\n") + 2]));
    if (!command.actions.empty()) text += "\nActions:\n";
    for (const ActionSpec& action : command.actions) {
        const bool isUsual = action.name == command.usualAction;
        text += row(formOf(action), std::string(action.help) + (isUsual ? " (the default)" : ""));
    }
    text += "\nOptions:\n" + optionRows(command.options) + optionRows(globalOptions());
    return text + "\nExample:\n  " + std::string(command.example) + "\n";
}

std::string manualPage(std::string_view version) {
    std::string text = ".TH KESTRIX 1 \"\" \"kestrix " + std::string(version) + "\" \"User Commands\"\n";
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
    text += ".SH EXIT STATUS\n" + roff(kExitCodes) + "\n";
    text += ".SH ENVIRONMENT\n";
    text += roffItem("KESTRIX_HOME", "a folder that holds the settings, the data and the log");
    text += roffItem("KESTRIX_LOG", "1: write what happens to the log");
    text += roffItem("NO_COLOR", "set to anything: mark nothing on a terminal");
    return text;
}

int runHelp(const Arguments& arguments, CommandContext& context) {
    if (arguments.has("man")) {
        context.output.append(manualPage(context.application.options().version));
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
