#include "index/failed_files.h"

#include <array>
#include <cerrno>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "base/base64.h"
#include "base/path.h"
#include "base/text.h"
#include "import/import_failure.h"
#include "platform/stored_file.h"

namespace kestrix {

namespace {

using Json = nlohmann::json;

// What may have another cause than the document: a helper that was killed or did not start, a file that could
// not be opened.
bool isWorthAnotherTry(const Error& error) {
    if (error.domain() != kImportDomain) return true;
    const auto failure = static_cast<ImportFailure>(error.code());
    return failure == ImportFailure::crashed || failure == ImportFailure::noHelper ||
           failure == ImportFailure::cancelled;
}

std::string lineOf(const std::string& path, const FailedFiles::Entry& entry) {
    Json line = {{"modified", {entry.modified.seconds, entry.modified.nanoseconds}},
                 {"size", entry.size},
                 {"reason", entry.reason},
                 {"again", entry.again}};
    if (text::isValidUtf8(path)) {
        line["path"] = path;
    } else {
        line["path64"] = base64(path);
    }
    return line.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::optional<std::string> pathIn(const Json& line) {
    const auto plain = line.find("path");
    if (plain != line.end()) return plain->get<std::string>();
    return bytesOfBase64(line.at("path64").get<std::string>());
}

void readLine(std::string_view text, FailedFiles::Entries& entries) {
    try {
        const Json line = Json::parse(text);
        const auto path = pathIn(line);
        if (!path) return;
        const auto modified = line.at("modified").get<std::array<std::int64_t, 2>>();
        entries[*path] = {.modified = {modified[0], static_cast<std::uint32_t>(modified[1])},
                          .size = line.at("size").get<std::uint64_t>(),
                          .reason = line.at("reason").get<std::string>(),
                          .again = line.at("again").get<bool>()};
    } catch (const Json::exception&) {
        return;
    }
}

}  // namespace

std::string FailedFiles::fileOf(std::string_view catalogFile) {
    const std::string_view extension = path::extension(catalogFile);
    if (!extension.empty()) catalogFile.remove_suffix(extension.size() + 1);
    return std::string(catalogFile) + ".kxfailed";
}

FailedFiles::FailedFiles(std::string file) : file_(std::move(file)) {
    const auto bytes = readWholeFile(file_);
    if (!bytes) return;
    for (const std::string_view line : text::splitAt(*bytes, '\n'))
        readLine(line, entries_);
}

std::unordered_set<std::string> FailedFiles::toReadAgain() const {
    std::unordered_set<std::string> paths;
    for (const auto& [path, entry] : entries_)
        if (entry.again) paths.insert(path);
    return paths;
}

bool FailedFiles::isKnown(const std::string& path) const {
    const auto known = entries_.find(path);
    if (known == entries_.end() || known->second.again) return false;
    FileAttributes now;
    return readAttributes(path, true, now) == 0 && now.size == known->second.size &&
           now.modified == known->second.modified;
}

bool FailedFiles::note(const std::string& path, const Error& error) {
    FileAttributes now;
    if (readAttributes(path, true, now) != 0) return false;  // it has gone meanwhile
    Entry entry{now.modified, now.size, error.what(), isWorthAnotherTry(error)};
    Entry& known = entries_[path];
    if (known == entry) return false;
    known = std::move(entry);
    changed_ = true;
    return true;
}

void FailedFiles::forget(const std::string& path) {
    if (entries_.erase(path) > 0) changed_ = true;
}

void FailedFiles::forgetGone() {
    const auto gone = std::erase_if(entries_, [](const auto& entry) {
        FileAttributes now;
        const int error = readAttributes(entry.first, true, now);
        return error == ENOENT || error == ENOTDIR;
    });
    if (gone > 0) changed_ = true;
}

void FailedFiles::save() {
    if (!changed_) return;
    std::string lines;
    for (const auto& [path, entry] : entries_)
        lines += lineOf(path, entry);
    if (lines.empty()) {
        removeFile(file_);
    } else {
        replaceFile(file_, lines);
    }
    changed_ = false;
}

}  // namespace kestrix
