// Completions for the shells, made from the table. Each script asks one question: which command stands on the
// line already, and what fits behind it.
#include <fmt/format.h>

#include <algorithm>
#include <set>
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

// Whether its words are a line of the query language.
bool isLine(const CommandSpec& command) {
    return command.operands == "LINE...";
}

bool namesAFile(std::string_view operands) {
    return operands.find("PATH") != operands.npos || operands.find("FILE") != operands.npos ||
           operands.find("FOLDER") != operands.npos;
}

// Whether files are offered behind it and its action.
bool takesFiles(const CommandSpec& command) {
    return namesAFile(command.operands) || std::ranges::any_of(command.actions, [](const ActionSpec& action) {
               return namesAFile(action.operands);
           });
}

bool isFolder(const OptionSpec& option) {
    return option.kind == ValueKind::path && option.valueName == "PATH";
}

// What stands directly behind the command.
std::string firstWords(const CommandSpec& command) {
    return command.name == "help" ? commandNames() : actionNames(command);
}

// The options of lines that take a value: their values are no part of the line.
std::vector<std::string> optionsWithValues() {
    std::set<std::string> names;
    for (const CommandSpec& command : allCommands()) {
        if (!isLine(command)) continue;
        for (const OptionSpec& option : command.options) {
            if (option.kind != ValueKind::none) names.insert("--" + std::string(option.name));
        }
    }
    return {names.begin(), names.end()};
}

std::string lineCommands(std::string_view separator) {
    std::vector<std::string_view> names;
    for (const CommandSpec& command : allCommands()) {
        if (command.built && isLine(command)) names.push_back(command.name);
    }
    return fmt::format("{}", fmt::join(names, separator));
}

// For the inside of single quotes in every shell.
std::string quotable(std::string_view text) {
    std::string safe;
    for (const char c : text)
        safe += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return safe;
}

// Names of files may hold blanks, so they are read by lines.
std::string bashValues(const CommandSpec& command) {
    std::string cases;
    for (const OptionSpec& option : command.options) {
        if (option.kind == ValueKind::none) continue;
        std::string values;
        if (option.kind == ValueKind::path)
            values = fmt::format("mapfile -t COMPREPLY < <(compgen -{} -- \"$word\"); ",
                                 isFolder(option) ? 'd' : 'f');
        if (option.kind == ValueKind::choice)
            values = fmt::format("COMPREPLY=($(compgen -W '{}' -- \"$word\")); ", joined(option.values));
        cases += fmt::format("    '{} --{}') {}return;;\n", command.name, option.name, values);
    }
    return cases;
}

// The words of a line so far go to `kestrix complete` as one line. A line in quotes is one word to the shell:
// then what stands before its last blank is put back before each answer. To bash a "=" is a word of its own.
std::string bashLine() {
    return fmt::format(R"(_kestrix_line() {{
    local line='' text i word=${{COMP_WORDS[COMP_CWORD]#[\'\"]}}
    for ((i = $1 + 1; i < COMP_CWORD; i++)); do
        text=${{COMP_WORDS[i]}}
        case $text in
        {})
            [[ ${{COMP_WORDS[i+1]}} == = ]] && ((i++))
            ((i++));;
        --*) ;;
        [\'\"]*[\'\"]) line+="${{text:1:${{#text}}-2}} ";;
        *) line+="$text ";;
        esac
    done
    mapfile -t COMPREPLY < <("${{COMP_WORDS[0]}}" complete -- "$line$word" 2>/dev/null)
    [[ $word != *' '* ]] || COMPREPLY=("${{COMPREPLY[@]/#/${{word% *}} }}")
}}
)",
                       fmt::join(optionsWithValues(), "|"));
}

std::string bashCompletion() {
    std::string commands;
    std::string values;
    std::vector<std::string_view> withFiles;
    for (const CommandSpec& command : allCommands()) {
        if (!command.built) continue;
        auto words = optionWords(command.options);
        for (const std::string& word : optionWords(globalOptions()))
            words.push_back(word);
        commands += fmt::format("    {}) actions='{}'; options='{}';;\n", command.name, firstWords(command),
                                joined(words));
        values += bashValues(command);
        if (takesFiles(command)) withFiles.push_back(command.name);
    }
    return fmt::format(R"(# bash completion of kestrix
{0}_kestrix() {{
    local word=${{COMP_WORDS[COMP_CWORD]}} before=${{COMP_WORDS[COMP_CWORD-1]}} command='' place=0 i
    local actions='{1}' options='{2}'
    COMPREPLY=()
    for ((i = 1; i < COMP_CWORD; i++)); do
        case ${{COMP_WORDS[i]}} in
        -*) ;;
        *) command=${{COMP_WORDS[i]}}; place=$i; break;;
        esac
    done
    [[ $word == = ]] && word=''
    [[ $before == = ]] && before=${{COMP_WORDS[COMP_CWORD-2]}}
    case $command in
{3}    esac
    case "$command $before" in
{4}    esac
    case $word in
    -*) COMPREPLY=($(compgen -W "$options" -- "$word")); return;;
    esac
    case $command in
    {5}) _kestrix_line $place; return;;
    esac
    if [[ -n $actions && $COMP_CWORD == $((place + 1)) ]]; then
        COMPREPLY=($(compgen -W "$actions" -- "$word"))
        return
    fi
    case $command in
    {6}) mapfile -t COMPREPLY < <(compgen -f -- "$word");;
    esac
}}
complete -o filenames -o bashdefault -F _kestrix kestrix
)",
                       bashLine(), commandNames(), joined(optionWords(globalOptions())), commands, values,
                       lineCommands("|"), fmt::join(withFiles, "|"));
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

// "--in" and its value may be two words or one with a "=".
std::string zshOptions(std::span<const OptionSpec> options) {
    std::string text;
    for (const OptionSpec& option : options) {
        std::string value;
        if (option.kind == ValueKind::path) {
            value = fmt::format(":{}:_files{}", option.valueName, isFolder(option) ? " -/" : "");
        } else if (option.kind == ValueKind::choice) {
            value = fmt::format(":{}:({})", option.valueName, joined(option.values));
        } else if (option.kind != ValueKind::none) {
            value = fmt::format(":{}:", option.valueName);
        }
        text += fmt::format(" \\\n            '{}--{}{}[{}]{}'", option.repeatable ? "*" : "", option.name,
                            value.empty() ? "" : "=", zshText(option.help), value);
    }
    return text;
}

std::string zshOperands(const CommandSpec& command) {
    if (isLine(command)) return " \\\n            '*: :_kestrix_line'";
    const std::string first = firstWords(command);
    std::string operands = first.empty() ? "" : fmt::format(" \\\n            '1: :({})'", first);
    if (takesFiles(command)) operands += " \\\n            '*: :_files'";
    return operands;
}

std::string zshCompletion() {
    std::string commands;
    std::string cases;
    for (const CommandSpec& command : allCommands()) {
        if (!command.built) continue;
        commands += fmt::format("        '{}:{}'\n", command.name, zshText(command.summary));
        cases += fmt::format("        {}) _arguments{}{}{};;\n", command.name, zshOptions(command.options),
                             zshOptions(globalOptions()), zshOperands(command));
    }
    return fmt::format(R"zsh(#compdef kestrix
_kestrix_line() {{
    local -a found typed
    local -i i
    for ((i = 2; i < CURRENT; i++)); do
        case $words[i] in
        {3}) ((i++));;
        --*) ;;
        *) typed+=("${{(Q)words[i]}}");;
        esac
    done
    found=(${{(f)"$(kestrix complete -- "$typed ${{(Q)PREFIX}}" 2>/dev/null)"}})
    [[ $PREFIX == *' '* ]] && found=("${{(@)found/#/${{PREFIX% *}} }}")
    (( $#found )) && compadd -U -- "${{(@)found}}"
}}
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
)zsh",
                       commands, zshOptions(globalOptions()), cases, fmt::join(optionsWithValues(), "|"));
}

// The words before the half-typed one, the command first; the rest goes to `kestrix complete` as one line. A
// line in quotes is one token: then what stands before its last blank is put back before each answer.
std::string fishFunctions() {
    return fmt::format(R"fish(function __kestrix_words
    set -l skips
    for word in (commandline -opc)[2..-1]
        if set -q skips[1]
            set -e skips
        else if contains -- $word {}
            set skips yes
        else if not string match -q -- '--*' $word
            echo -- $word
        end
    end
end
function __kestrix_is
    set -l words (__kestrix_words)
    contains -- "$words[1]" $argv
end
function __kestrix_begins
    set -l words (__kestrix_words)
    test (count $words) = 1; and contains -- $words[1] $argv
end
function __kestrix_line
    set -l words (__kestrix_words)[2..-1]
    set -l token (string replace -r -- '^[\'"]' '' (commandline -ct))
    set -l head (string match -r -- '^.* ' $token)
    for word in (kestrix complete -- (string join ' ' -- $words "$token") 2>/dev/null)
        echo -- "$head$word"
    end
end
)fish",
                       fmt::join(optionsWithValues(), " "));
}

std::string fishOption(const OptionSpec& option, const std::string& condition) {
    std::string line = "complete -c kestrix" + condition + " -l " + std::string(option.name);
    if (option.shortName) line += std::string(" -s ") + option.shortName;
    if (option.kind == ValueKind::path)
        line += isFolder(option) ? " -x -a '(__fish_complete_directories)'" : " -r -F";
    if (option.kind == ValueKind::choice) line += " -x -a '" + joined(option.values) + "'";
    if (option.kind == ValueKind::number || option.kind == ValueKind::text) line += " -x";
    return line + " -d '" + quotable(option.help) + "'\n";
}

std::string fishWord(std::string_view condition, std::string_view word, std::string_view help) {
    return fmt::format("complete -c kestrix -n '{}' -a {} -d '{}'\n", condition, word, quotable(help));
}

std::string fishCompletion() {
    std::string text = "# fish completion of kestrix\n" + fishFunctions() + "complete -c kestrix -f\n";
    for (const OptionSpec& option : globalOptions())
        text += fishOption(option, "");
    for (const CommandSpec& command : allCommands()) {
        if (!command.built) continue;
        const std::string begins = fmt::format("__kestrix_begins {}", command.name);
        text += fishWord("test (count (__kestrix_words)) = 0", command.name, command.summary);
        text += fishWord("__kestrix_begins help", command.name, command.summary);
        const std::string is = fmt::format("__kestrix_is {}", command.name);
        for (const OptionSpec& option : command.options)
            text += fishOption(option, " -n '" + is + "'");
        for (const ActionSpec& action : command.actions)
            text += fishWord(begins, action.name, action.help);
        if (isLine(command)) text += fmt::format("complete -c kestrix -n '{}' -a '(__kestrix_line)'\n", is);
        if (takesFiles(command))
            text += fmt::format("complete -c kestrix -F -n '{}{}'\n", is,
                                command.actions.empty() ? "" : "; and not " + begins);
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
