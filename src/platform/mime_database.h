// The text files of the shared MIME database, as they stand below one data folder. Internal to FileTypes.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kestrix {

// What one installation of the database says, unjudged and in file order. Lines that make no sense are left
// out.
struct MimeDatabase {
    struct Glob {
        int weight = 0;
        std::string type;
        std::string extension;  // what stands behind "*."; it may hold further dots
        bool caseSensitive = false;
    };
    using Pairs = std::vector<std::pair<std::string, std::string>>;

    std::vector<Glob> globs;  // only those that ask for an extension
    Pairs aliases;            // other name, type
    Pairs subclasses;         // type, parent
    Pairs genericIcons;       // type, icon

    // `folder` holds "mime/". Files that are missing or cannot be read count as empty.
    static MimeDatabase read(const std::string& folder);
};

// The type's description in English, as the database's XML file for it tells; nothing if there is none.
std::optional<std::string> mimeDescription(const std::string& folder, const std::string& type);

}  // namespace kestrix
