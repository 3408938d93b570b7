// The graph of all file types, as FileTypes asks it. Internal to FileTypes.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/file_types.h"

namespace kestrix {

// All types are nodes of one graph, numbered as they are met: those of the database, those of the fallback
// table and the classes of the well-known identifiers. An edge leads from a type to what it is a kind of. A
// second name for a type (an alias of the database, a well-known identifier) is one more key to the same
// node. Immutable once loaded.
struct FileTypeTables {
    struct Node {
        std::string identifier;
        std::vector<FileTypeId> parents{};
        std::vector<std::string> otherNames{};  // well-known
        std::vector<std::string> extensions{};
        std::string fallbackDescription{};
    };
    struct TextHash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
    };
    using IdsByText = std::unordered_map<std::string, FileTypeId, TextHash, std::equal_to<>>;

    static FileTypeTables load(const std::vector<std::string>& dataFolders);

    static std::optional<FileTypeId> find(const IdsByText& where, std::string_view key) {
        const auto found = where.find(key);
        return found == where.end() ? std::nullopt : std::optional(found->second);
    }
    // The type and all that it is a kind of, the nearest first.
    std::vector<FileTypeId> lineage(FileTypeId type) const;

    std::vector<Node> nodes;
    IdsByText names;            // identifiers and all other names
    IdsByText extensions;       // lower case
    IdsByText exactExtensions;  // those that the database tells apart by case: a handful of short ones
    std::size_t longestExactExtension = 0;
    std::optional<FileTypeId> typeScript;
    std::optional<FileTypeId> transportStream;
};

}  // namespace kestrix
