// Which files can be turned into text, and the part of that work that needs no foreign parser.
#pragma once

#include <cstddef>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "import/document_format.h"
#include "import/import_text_result.h"
#include "import/plain_text.h"
#include "import/word_list.h"
#include "platform/file_types.h"

namespace kestrix {

// Is handed the words of a document, also in several parts.
using TakeWords = std::function<void(WordList part)>;

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
    // Hands over its words, in parts of a few megabytes, so that a file takes no more memory than that. One
    // without words or of another format has no part. Throws what PlainText throws.
    void wordsInFile(const std::string& path, bool useOCR, const TakeWords& take,
                     const std::function<bool()>& shouldCancel = {}) const;

    // The words of a text in order, repeated ones included: the pieces between white space, control
    // characters and code points that mean nothing to everyone, in lower case, without punctuation and
    // symbols at both ends. Longer ones than 32 characters, as people count them, are left out.
    static std::vector<std::string> wordsFromText(std::string_view text);
    // The same words, counted.
    static void countWords(std::string_view text, WordCounter& counter);
    // The words of an imported document. Without `useOCR` those of its text; with it, text and recognised
    // text both count, so a word that both hold counts twice.
    static WordList countWords(const ImportTextResult& result, bool useOCR);

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
