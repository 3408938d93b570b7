// What was typed behind the program's name, checked against the table.
#pragma once

#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "app/cli/command_table.h"

namespace kestrix::cli {

// Wrong usage; what() is one line that says what to do.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// A value. The views point into what was parsed, which outlives it.
struct Arguments {
    struct Given {
        const OptionSpec* option;
        std::string_view value;
    };

    const CommandSpec* command = nullptr;  // nullptr: none was named, only global options
    const ActionSpec* action = nullptr;    // nullptr: the command has none
    std::vector<Given> options;            // in the order typed
    std::vector<std::string_view> words;   // without the command and its action
    // How many of the words stand before "--"; nothing if that was not typed.
    std::optional<std::size_t> wordsBeforeDashes;

    bool has(std::string_view option) const;
    // The last value given; nothing if the option was not.
    std::optional<std::string_view> value(std::string_view option) const;
    std::vector<std::string_view> values(std::string_view option) const;
    // The words joined by one blank.
    std::string line() const;
};

// Options may stand among the words, as "--name", "--name VALUE", "--name=VALUE" or a known short form; "--"
// ends them. Any other word with one dash in front is a word: the query language excludes with it. Throws
// UsageError. With --help or --version among the options the words are not checked.
Arguments parseArguments(std::span<const std::string_view> typed);

// Throws UsageError for what cannot be kept: the settings hold UTF-8 only. `what` is a noun: "a name".
void demandUtf8(std::string_view text, std::string_view what);

// The candidate that was most likely meant; empty if none is near.
std::string_view nearest(std::string_view typed, std::span<const std::string_view> candidates);

}  // namespace kestrix::cli
