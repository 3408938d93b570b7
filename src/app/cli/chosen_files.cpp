#include "app/cli/chosen_files.h"

#include <cerrno>
#include <iostream>
#include <system_error>
#include <unordered_set>
#include <utility>

#include "app/cli/display_text.h"
#include "base/path.h"
#include "platform/directory.h"
#include "platform/standard_streams.h"
#include "platform/system_info.h"

namespace kestrix::cli {

namespace {

void demandNameOfItsOwn(std::string_view typed) {
    const std::string_view name = path::lastComponent(typed);
    if (!name.empty() && name != "/" && name != "." && name != "..") return;
    throw UsageError(inQuotes(typed) + " has no name of its own; write the name of the file or folder");
}

// 0, or the errno that tells why there is no such file.
int findFile(std::string_view typed, std::string& file) {
    const std::string_view name = path::lastComponent(typed);
    std::string folder(path::parent(typed));
    if (!typed.starts_with('/')) folder = path::join(workingDirectory(), folder);
    FileAttributes attributes;
    if (const int number = readAttributes(path::join(folder, name), false, attributes)) return number;
    folder = resolvedPath(folder);
    if (folder.empty()) return ENOENT;
    file = path::join(folder, name);
    return 0;
}

}  // namespace

ChosenFiles chosenFiles(const std::vector<std::string_view>& typed) {
    ChosenFiles chosen;
    std::unordered_set<std::string> seen;
    for (const std::string_view each : typed) {
        demandNameOfItsOwn(each);
        std::string file;
        if (const int number = findFile(each, file)) {
            chosen.missing.push_back({each, std::generic_category().message(number)});
        } else if (seen.insert(file).second) {
            chosen.files.push_back(std::move(file));
        }
    }
    return chosen;
}

std::string absolutePath(std::string_view typed) {
    const std::string folder = typed.starts_with('/') ? "/" : workingDirectory();
    std::string tidied = path::normalized(typed, folder);
    std::string meant = resolvedPath(path::join(folder, typed));
    return meant.empty() || meant == resolvedPath(tidied) ? tidied : meant;
}

void ask(std::initializer_list<std::string_view> lines) {
    std::string safe;
    for (const std::string_view& line : lines) {
        if (&line != lines.begin()) safe += '\n';
        appendSafely(safe, line);
    }
    writeTo(StandardStream::error, safe);
}

std::optional<std::string> readAnswer() {
    std::string line;
    if (!std::getline(std::cin, line)) return std::nullopt;
    return line;
}

}  // namespace kestrix::cli
