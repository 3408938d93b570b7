// The one table of commands and options. Parsing, help, the manual page and the shells' completions are all
// made from it, so that they cannot disagree.
#pragma once

#include <span>
#include <string_view>

namespace kestrix::cli {

enum class ValueKind { none, text, path, number, choice };

// Every text lives as long as the program.
struct OptionSpec {
    std::string_view name{};  // without the dashes
    char shortName = 0;       // 0: has no short form
    ValueKind kind = ValueKind::none;
    std::string_view valueName{};                 // as help shows it
    std::span<const std::string_view> values{};   // of a choice
    bool repeatable = false;                      // otherwise the last one counts
    std::span<const std::string_view> actions{};  // that it goes with; none: any
    std::string_view help{};                      // one sentence, no full stop
};

// A fixed word behind the command: "get" of "settings get KEY".
struct ActionSpec {
    static constexpr std::size_t kAnyNumber = static_cast<std::size_t>(-1);

    std::string_view name{};
    std::string_view operands{};  // as help shows them
    std::size_t fewest = 0;       // operands
    std::size_t most = 0;
    std::string_view help{};
};

struct CommandSpec {
    std::string_view name{};
    std::string_view operands{};  // of a command without actions
    std::string_view summary{};   // one sentence, no full stop
    std::string_view description{};
    std::string_view example{};
    std::span<const OptionSpec> options{};
    std::span<const ActionSpec> actions{};
    std::string_view usualAction{};  // taken when none is named; empty: one must be named
    bool takesWords = false;         // of a command without actions
    bool built = true;               // false: known by name, but not part of this version
};

std::span<const CommandSpec> allCommands();
// What may stand before any command and with each.
std::span<const OptionSpec> globalOptions();

// nullptr where there is none of that name.
const CommandSpec* commandNamed(std::string_view name);
const ActionSpec* actionNamed(const CommandSpec& command, std::string_view name);

}  // namespace kestrix::cli
