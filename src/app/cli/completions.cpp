// Completions for the shells, made from the table. Each script asks one question: which command stands on the
// line already, and what fits behind it.
#include <fmt/format.h>

#include <vector>

#include "app/cli/commands.h"

namespace kestrix::cli {
namespace {

std::vector<std::string> optionWords(std::span<const OptionSpec> options) {
    std::vector<std::string> words;
    for (const OptionSpec& option : options)
        words.push_back("--" + std::string(option.name));
    return words;
}

std::string joined(const std::vector<std::string>& words) {
    return fmt::format("{}", fmt::join(words, " "));
}

std::string joined(std::span<const std::string_view> words) {
    return fmt::format("{}", fmt::join(words, " "));
}

std::string commandNames() {
    std::vector<std::string> names;
    for (const CommandSpec& command : allCommands()) {
        if (command.built) names.emplace_back(command.name);
    }
    return joined(names);
}

std::string actionNames(const CommandSpec& command) {
    std::vector<std::string> names;
    for (const ActionSpec& action : command.actions)
        names.emplace_back(action.name);
    return joined(names);
}

// For the inside of single quotes in every shell.
std::string quotable(std::string_view text) {
    std::string safe;
    for (const char c : text)
        safe += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return safe;
}

std::string bashValues() {
    std::string cases;
    for (const OptionSpec& option : commandNamed("find")->options) {
        if (option.kind == ValueKind::path) {
            cases +=
                fmt::format("        --{}) COMPREPLY=($(compgen -d -- \"$word\")); return;;\n", option.name);
        } else if (option.kind == ValueKind::choice) {
            cases += fmt::format("        --{}) COMPREPLY=($(compgen -W '{}' -- \"$word\")); return;;\n",
                                 option.name, joined(option.values));
        }
    }
    return cases;
}

std::string bashCompletion() {
    std::string commands;
    for (const CommandSpec& command : allCommands()) {
        if (!command.built) continue;
        auto words = optionWords(command.options);
        for (const std::string& word : optionWords(globalOptions()))
            words.push_back(word);
        const std::string actions = command.name == "help" ? commandNames() : actionNames(command);
        commands +=
            fmt::format("        {}) actions='{}'; options='{}';;\n", command.name, actions, joined(words));
    }
    return fmt::format(R"(# bash completion of kestrix
_kestrix() {{
    local word=${{COMP_WORDS[COMP_CWORD]}} before=${{COMP_WORDS[COMP_CWORD-1]}} command='' place=0 i
    local actions='{0}' options='{1}'
    COMPREPLY=()
    for ((i = 1; i < COMP_CWORD; i++)); do
        case ${{COMP_WORDS[i]}} in
        -*) ;;
        *) command=${{COMP_WORDS[i]}}; place=$i; break;;
        esac
    done
    case $command in
{2}    esac
    case $before in
{3}    esac
    case $word in
    -*) COMPREPLY=($(compgen -W "$options" -- "$word"));;
    *)
        if [[ $place == 0 || $COMP_CWORD == $((place + 1)) ]]; then
            COMPREPLY=($(compgen -W "$actions" -- "$word"))
        else
            COMPREPLY=($(compgen -f -- "$word"))
        fi;;
    esac
}}
complete -o filenames -o bashdefault -F _kestrix kestrix
)",
                       commandNames(), joined(optionWords(globalOptions())), commands, bashValues());
}

// The brackets and colons of zsh's option descriptions cannot stand in a text.
std::string zshText(std::string_view text) {
    std::string safe;
    for (const char c : quotable(text)) {
        if (c == '[' || c == ']' || c == ':') safe += '\\';
        safe += c;
    }
    return safe;
}

std::string zshOptions(std::span<const OptionSpec> options) {
    std::string text;
    for (const OptionSpec& option : options) {
        std::string value;
        if (option.kind == ValueKind::path) {
            value = fmt::format(":{}:_files -/", option.valueName);
        } else if (option.kind == ValueKind::choice) {
            value = fmt::format(":{}:({})", option.valueName, joined(option.values));
        } else if (option.kind != ValueKind::none) {
            value = fmt::format(":{}:", option.valueName);
        }
        text += fmt::format(" \\\n            '{}--{}[{}]{}'", option.repeatable ? "*" : "", option.name,
                            zshText(option.help), value);
    }
    return text;
}

std::string zshCompletion() {
    std::string commands;
    std::string cases;
    for (const CommandSpec& command : allCommands()) {
        if (!command.built) continue;
        commands += fmt::format("        '{}:{}'\n", command.name, zshText(command.summary));
        const std::string actions = command.name == "help" ? commandNames() : actionNames(command);
        const std::string first =
            actions.empty() ? "'*: :_files'" : fmt::format("'1: :({})' '*: :_files'", actions);
        cases += fmt::format("        {}) _arguments{}{} \\\n            {};;\n", command.name,
                             zshOptions(command.options), zshOptions(globalOptions()), first);
    }
    return fmt::format(R"(#compdef kestrix
_kestrix() {{
    local -a commands
    local context state line
    typeset -A opt_args
    commands=(
{0}    )
    _arguments -C{1} '1: :->command' '*:: :->rest'
    case $state in
    command) _describe command commands;;
    rest)
        case $words[1] in
{2}        esac;;
    esac
}}
if [ "$funcstack[1]" = _kestrix ]; then _kestrix "$@"; else compdef _kestrix kestrix; fi
)",
                       commands, zshOptions(globalOptions()), cases);
}

std::string fishOption(const OptionSpec& option, const std::string& condition) {
    std::string line = "complete -c kestrix" + condition + " -l " + std::string(option.name);
    if (option.shortName) line += std::string(" -s ") + option.shortName;
    if (option.kind == ValueKind::path) line += " -r -a '(__fish_complete_directories)'";
    if (option.kind == ValueKind::choice) line += " -x -a '" + joined(option.values) + "'";
    if (option.kind == ValueKind::number || option.kind == ValueKind::text) line += " -x";
    return line + " -d '" + quotable(option.help) + "'\n";
}

std::string fishCompletion() {
    std::string text = "# fish completion of kestrix\n";
    for (const OptionSpec& option : globalOptions())
        text += fishOption(option, "");
    for (const CommandSpec& command : allCommands()) {
        if (!command.built) continue;
        text += fmt::format("complete -c kestrix -f -n __fish_use_subcommand -a {} -d '{}'\n", command.name,
                            quotable(command.summary));
        const std::string seen = fmt::format("__fish_seen_subcommand_from {}", command.name);
        for (const OptionSpec& option : command.options)
            text += fishOption(option, " -n '" + seen + "'");
        const std::string actions = command.name == "help" ? commandNames() : actionNames(command);
        for (const ActionSpec& action : command.actions) {
            text += fmt::format(
                "complete -c kestrix -f -n '{}; and not __fish_seen_subcommand_from {}' -a {} -d '{}'\n",
                seen, actions, action.name, quotable(action.help));
        }
    }
    return text;
}

}  // namespace

int runCompletions(const Arguments& arguments, CommandContext& context) {
    const std::string_view shell = arguments.action->name;
    context.output.append(shell == "bash"  ? bashCompletion()
                          : shell == "zsh" ? zshCompletion()
                                           : fishCompletion());
    return kExitFound;
}

}  // namespace kestrix::cli
