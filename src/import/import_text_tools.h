// Which files can be turned into text, and the part of that work that needs no foreign parser.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "import/document_format.h"
#include "import/import_text_result.h"
#include "import/plain_text.h"
#include "platform/file_types.h"

namespace kestrix {

struct WordHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view word) const { return std::hash<std::string_view>{}(word); }
};
// Word to number of occurrences.
using WordCounts = std::unordered_map<std::string, std::uint32_t, WordHash, std::equal_to<>>;

// The table of importers by file type. A type without a row takes that of the nearest type that it is a kind
// of. It is built when first asked for, in under a millisecond. One serves the whole application. Threads:
// any. Lives no longer than the FileTypes it was given.
class ImportTextTools {
  public:
    explicit ImportTextTools(const FileTypes& types);

    // Who reads this file, told by its name alone (a ".ts" excepted, whose first bytes are looked at). Images
    // have an importer only with `useOCR`; with `searchAllFiles` whatever has no importer is raw text. Some
    // 50 nanoseconds.
    DocumentFormat formatOf(const std::string& path, bool searchAllFiles, bool useOCR) const;
    bool canImportTextFrom(const std::string& path, bool useOCR) const {
        return formatOf(path, false, useOCR) != DocumentFormat::none;
    }
    // The type identifier that the helper is told ("application/pdf"); empty if nobody knows it.
    std::string typeIdentifierOf(const std::string& path) const;

    // The text of a file whose format is rawText; nothing for all others. `maxLength` in bytes. Throws what
    // PlainText::read throws.
    std::optional<ImportTextResult> importFileText(const std::string& path, bool searchAllFiles,
                                                   std::size_t maxLength, bool useOCR,
                                                   const std::function<bool()>& shouldCancel = {}) const;
    // Its words. A file without words or without importer gives an empty map.
    WordCounts wordsInFile(const std::string& path, bool useOCR,
                           const std::function<bool()>& shouldCancel = {}) const;

    // The words of a text in order, repeated ones included: the pieces between white space, control
    // characters and code points that mean nothing to everyone, in lower case, without punctuation and
    // symbols at both ends. Longer ones than 32 characters, as people count them, are left out.
    static std::vector<std::string> wordsFromText(std::string_view text);
    // The same words, counted.
    static void countWords(std::string_view text, WordCounts& counts);
    // The words of an imported document. Without `useOCR` those of its text; with it, text and recognised
    // text both count, so a word that both hold counts twice.
    static WordCounts countWords(const ImportTextResult& result, bool useOCR);

  private:
    struct Table {
        std::once_flag once;
        std::vector<DocumentFormat> formats;  // by FileTypeId
    };
    const std::vector<DocumentFormat>& table(bool useOCR) const;

    const FileTypes& types_;
    mutable Table tables_[2];
};

}  // namespace kestrix
