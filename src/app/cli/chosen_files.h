// The paths that a command is given, the files that it changes, and the questions that it asks first.
#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/cli/arguments.h"

namespace kestrix::cli {

struct ChosenFiles {
    struct Missing {
        std::string_view typed;
        std::string reason;
    };
    std::vector<std::string> files;
    std::vector<Missing> missing;
};

// The typed paths, absolute. Folders on the way are resolved as the kernel does ("link/.." is the folder
// above the link's target), the last name is kept: a link is the link itself. One that is named twice is
// there once. Throws UsageError for a path that ends in no name of its own ("/", "..").
ChosenFiles chosenFiles(const std::vector<std::string_view>& typed);

// A path as it is shown and kept: absolute, with "." and ".." taken out, links left as they were typed. Where
// a ".." behind a link makes that another place than the kernel means, the kernel's, with all links resolved.
// What is not there is only tidied up.
std::string absolutePath(std::string_view typed);

// Shows the lines on standard error, safe for a terminal: each stays one line whatever names it holds. The
// answer is typed behind the last.
void ask(std::initializer_list<std::string_view> lines);

// The next line of standard input without its end; nothing at the end of the input.
std::optional<std::string> readAnswer();

}  // namespace kestrix::cli
