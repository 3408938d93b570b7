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

std::string chosenFile(std::string_view typed) {
    const std::string_view name = path::lastComponent(typed);
    if (name.empty() || name == "/" || name == "." || name == "..") {
        throw UsageError(inQuotes(typed) + " has no name of its own; write the name of the file or folder");
    }
    const std::string folder = typed.front() == '/' ? std::string(path::parent(typed))
                                                    : path::join(workingDirectory(), path::parent(typed));
    const std::string resolved = resolvedPath(folder);
    std::string file = path::join(resolved, name);
    FileAttributes attributes;
    if (resolved.empty() || readAttributes(file, false, attributes) != 0) {
        throw UsageError("there is no " + inQuotes(typed) + "; name a file or folder");
    }
    return file;
}

}  // namespace

std::vector<std::string> chosenFiles(const std::vector<std::string_view>& typed) {
    std::vector<std::string> files;
    std::unordered_set<std::string> seen;
    for (const std::string_view each : typed) {
        std::string file = chosenFile(each);
        if (seen.insert(file).second) files.push_back(std::move(file));
    }
    return files;
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
