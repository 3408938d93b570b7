#include "app/cli/chosen_files.h"

#include <iostream>
#include <unordered_set>
#include <utility>

#include "app/cli/display_text.h"
#include "base/path.h"
#include "platform/directory.h"
#include "platform/standard_streams.h"
#include "platform/system_info.h"

namespace kestrix::cli {

namespace {

// Nothing if there is no such file.
std::optional<std::string> chosenFile(std::string_view typed) {
    const std::string_view name = path::lastComponent(typed);
    if (name.empty() || name == "/" || name == "." || name == "..") {
        throw UsageError(inQuotes(typed) + " has no name of its own; write the name of the file or folder");
    }
    const std::string folder = typed.front() == '/' ? std::string(path::parent(typed))
                                                    : path::join(workingDirectory(), path::parent(typed));
    const std::string resolved = resolvedPath(folder);
    std::string file = path::join(resolved, name);
    FileAttributes attributes;
    if (resolved.empty() || readAttributes(file, false, attributes) != 0) return std::nullopt;
    return file;
}

}  // namespace

ChosenFiles chosenFiles(const std::vector<std::string_view>& typed) {
    ChosenFiles chosen;
    std::unordered_set<std::string> seen;
    for (const std::string_view each : typed) {
        auto file = chosenFile(each);
        if (!file) {
            chosen.missing.push_back(each);
        } else if (seen.insert(*file).second) {
            chosen.files.push_back(*std::move(file));
        }
    }
    return chosen;
}

void ask(std::string_view text) {
    std::string safe;
    for (std::size_t at = 0;;) {
        const std::size_t end = text.find('\n', at);
        appendSafely(safe, text.substr(at, end - at));
        if (end == text.npos) break;
        safe += '\n';
        at = end + 1;
    }
    writeTo(StandardStream::error, safe);
}

std::optional<std::string> readAnswer() {
    std::string line;
    if (!std::getline(std::cin, line)) return std::nullopt;
    return line;
}

}  // namespace kestrix::cli
