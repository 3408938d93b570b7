// What kind of file a name's extension stands for.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/user_folders.h"

namespace kestrix {

// The number of a type within its FileTypes: below FileTypes::count(), so that tables can be kept by it.
using FileTypeId = std::uint32_t;

struct FileTypeTables;

struct FileType {
    std::string identifier;               // "image/png"
    std::vector<std::string> otherNames;  // well-known identifiers for the same type: "public.png"
    std::string description;              // "PNG image"; empty if nobody tells
    std::vector<std::string> parents;     // all identifiers that it conforms to, the nearest first
    std::vector<std::string> extensions;  // without dots before them
    // The identifier, if it is one. The database's aliases only lead here: some are plain wrong
    // ("image/pdf").
    std::vector<std::string> mimeTypes;
};

// The shared MIME database, over a table of the usual types of our own that serves where the database is not
// installed or does not know an extension. Types have MIME names; well-known identifiers such as
// "public.image" or "com.adobe.pdf" stand for classes of types and for single ones, and every operation takes
// either naming.
//
// Two departures from the database. A parent that only says how a file is packed is none here: a text
// document is no zip archive and a Vorbis file no film, whatever holds their bytes. And ".ts" is TypeScript
// or a recorded film, which only the content can tell; see ofFile.
//
// Nothing is read before the first question (about 4 milliseconds), a description when it is asked for.
// Threads: any. Cannot fail: what cannot be read counts as missing.
class FileTypes {
  public:
    // Each folder holds a "mime/"; the first ones win.
    explicit FileTypes(std::vector<std::string> dataFolders = sharedDataFolders());
    ~FileTypes();
    FileTypes(const FileTypes&) = delete;
    FileTypes& operator=(const FileTypes&) = delete;

    std::size_t count() const;

    // The type of an extension (no dot, any case). Some 30 nanoseconds.
    std::optional<FileTypeId> forExtension(std::string_view extension) const;
    // The type of a file by its extension, and by its first bytes where the extension leaves it open.
    std::optional<FileTypeId> ofFile(const std::string& path) const;
    // The other type that a file with this type's extension may have; ofFile tells which of the two it is.
    std::optional<FileTypeId> alternativeTo(FileTypeId type) const;
    // By its identifier in either naming.
    std::optional<FileTypeId> named(std::string_view identifier) const;

    // Valid as long as this lives. The first call for a type reads its description.
    const FileType& describe(FileTypeId type) const;

    // The type and all that it is a kind of, the nearest first.
    std::vector<FileTypeId> lineage(FileTypeId type) const;

    // Whether a type is `wanted` or a kind of it.
    bool conforms(FileTypeId type, std::string_view wanted) const;

  private:
    const FileTypeTables& tables() const;

    std::vector<std::string> dataFolders_;
    struct Memory;
    std::unique_ptr<Memory> memory_;
};

}  // namespace kestrix
