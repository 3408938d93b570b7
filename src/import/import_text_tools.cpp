#include "import/import_text_tools.h"

#include <algorithm>
#include <array>

#include "base/path.h"
#include "base/text.h"
#include "base/text_words.h"

namespace kestrix {
namespace {

struct FormatOfType {
    std::string_view type;
    DocumentFormat format;
};

// The nearest of these that a type is a kind of decides. Plain text has hundreds of kinds (program sources,
// tables, settings), so it stands here once and those kinds that are more than text stand beside it.
constexpr std::array kFormats = {
    FormatOfType{"text/plain", DocumentFormat::rawText},
    FormatOfType{"text/html", DocumentFormat::html},
    FormatOfType{"application/xhtml+xml", DocumentFormat::html},
    FormatOfType{"application/rtf", DocumentFormat::richText},
    FormatOfType{"message/rfc822", DocumentFormat::mail},
    FormatOfType{"application/x-mimearchive", DocumentFormat::mail},  // a web page in the form of a mail
    FormatOfType{"application/pdf", DocumentFormat::pdf},
    FormatOfType{"application/msword", DocumentFormat::legacyWord},
    FormatOfType{"application/vnd.openxmlformats-officedocument.wordprocessingml.document",
                 DocumentFormat::package},
    FormatOfType{"application/vnd.openxmlformats-officedocument.spreadsheetml.sheet",
                 DocumentFormat::package},
    FormatOfType{"application/vnd.openxmlformats-officedocument.presentationml.presentation",
                 DocumentFormat::package},
    // Templates, and presentations that start when they are opened.
    FormatOfType{"application/vnd.openxmlformats-officedocument.wordprocessingml.template",
                 DocumentFormat::package},
    FormatOfType{"application/vnd.openxmlformats-officedocument.spreadsheetml.template",
                 DocumentFormat::package},
    FormatOfType{"application/vnd.openxmlformats-officedocument.presentationml.template",
                 DocumentFormat::package},
    FormatOfType{"application/vnd.openxmlformats-officedocument.presentationml.slideshow",
                 DocumentFormat::package},
    FormatOfType{"application/vnd.oasis.opendocument.text", DocumentFormat::package},
    FormatOfType{"application/vnd.oasis.opendocument.text-template", DocumentFormat::package},
    FormatOfType{"application/vnd.oasis.opendocument.spreadsheet", DocumentFormat::package},
    FormatOfType{"application/vnd.oasis.opendocument.spreadsheet-template", DocumentFormat::package},
    FormatOfType{"application/vnd.oasis.opendocument.presentation", DocumentFormat::package},
    FormatOfType{"application/vnd.oasis.opendocument.presentation-template", DocumentFormat::package},
    FormatOfType{"application/vnd.oasis.opendocument.graphics", DocumentFormat::package},
    FormatOfType{"application/epub+zip", DocumentFormat::package},
};

// Pictures that the recognition of text can open.
constexpr std::array kImages = {"image/png", "image/jpeg", "image/tiff", "image/bmp",
                                "image/gif", "image/webp", "image/jp2",  "image/x-portable-anymap"};

// Where the type tells nothing, or less than the name: both kinds of mail are one type to some databases.
struct FormatOfExtension {
    std::string_view extension;
    DocumentFormat format;
};
constexpr std::array kExtensions = {
    FormatOfExtension{"indd", DocumentFormat::rawText}, FormatOfExtension{"swift", DocumentFormat::rawText},
    FormatOfExtension{"c", DocumentFormat::rawText},    FormatOfExtension{"cpp", DocumentFormat::rawText},
    FormatOfExtension{"h", DocumentFormat::rawText},    FormatOfExtension{"json", DocumentFormat::rawText},
    FormatOfExtension{"tsx", DocumentFormat::rawText},  FormatOfExtension{"emlx", DocumentFormat::appleMail},
};

DocumentFormat formatOfExtension(std::string_view extension) {
    for (const auto& [listed, format] : kExtensions) {
        if (listed.size() == extension.size() && text::lowered(extension) == listed) return format;
    }
    return DocumentFormat::none;
}

// Of plain text, which is counted piece by piece: some megabytes, with the piece that comes on top.
constexpr std::size_t kMostWordsOfAPart = 100'000;

// By FileTypeId; nothing where a type has no row of its own.
using Rows = std::vector<std::optional<DocumentFormat>>;

Rows rowsOf(const FileTypes& types, bool useOCR) {
    Rows rows(types.count());
    const auto add = [&](std::string_view name, DocumentFormat format) {
        if (const auto type = types.named(name)) rows[*type] = format;
    };
    if (useOCR) {
        for (const char* image : kImages)
            add(image, DocumentFormat::image);
    }
    for (const auto& [type, format] : kFormats)
        add(type, format);
    return rows;
}

DocumentFormat formatOfLineage(const Rows& rows, const std::vector<FileTypeId>& lineage) {
    for (const FileTypeId type : lineage) {
        if (rows[type]) return *rows[type];
    }
    return DocumentFormat::none;
}

}  // namespace

ImportTextTools::ImportTextTools(const FileTypes& types) : types_(types) {}

const std::vector<DocumentFormat>& ImportTextTools::table(bool useOCR) const {
    Table& made = tables_[useOCR ? 1 : 0];
    std::call_once(made.once, [&] {
        const Rows rows = rowsOf(types_, useOCR);
        made.formats.resize(rows.size());
        for (FileTypeId type = 0; type < rows.size(); ++type)
            made.formats[type] = formatOfLineage(rows, types_.lineage(type));
    });
    return made.formats;
}

DocumentFormat ImportTextTools::formatOf(const std::string& path, bool searchAllFiles, bool useOCR) const {
    const auto type = types_.ofFile(path);
    DocumentFormat format = type ? table(useOCR)[*type] : DocumentFormat::none;
    if (format == DocumentFormat::none || format == DocumentFormat::mail) {
        const DocumentFormat named = formatOfExtension(path::extension(path));
        if (named != DocumentFormat::none) format = named;
    }
    if (format == DocumentFormat::none && searchAllFiles) format = DocumentFormat::rawText;
    return format;
}

std::string ImportTextTools::typeIdentifierOf(const std::string& path) const {
    const auto type = types_.ofFile(path);
    return type ? types_.describe(*type).identifier : std::string();
}

std::optional<ImportTextResult> ImportTextTools::importFileText(
    const std::string& path, bool searchAllFiles, std::size_t maxLength, bool useOCR,
    const std::function<bool()>& shouldCancel) const {
    if (formatOf(path, searchAllFiles, useOCR) != DocumentFormat::rawText) return std::nullopt;
    PlainText reader;
    reader.read(path, maxLength, shouldCancel);
    ImportTextResult result;
    result.text.emplace().push_back({reader.takeText()});
    return result;
}

void ImportTextTools::wordsInFile(const std::string& path, bool useOCR, const TakeWords& take,
                                  const std::function<bool()>& shouldCancel) const {
    if (formatOf(path, false, useOCR) != DocumentFormat::rawText) return;
    PlainText reader;
    WordCounter counter;
    const auto count = [&](std::string_view piece) {
        countWords(piece, counter);
        if (counter.words() > kMostWordsOfAPart) take(counter.take());
    };
    reader.readPieces(path, count, shouldCancel);
    take(counter.take());
}

std::vector<std::string> ImportTextTools::wordsFromText(std::string_view text) {
    std::vector<std::string> words;
    text::forEachWord(text, [&words](std::string_view word) { words.emplace_back(word); });
    return words;
}

void ImportTextTools::countWords(std::string_view text, WordCounter& counter) {
    text::forEachWord(text, [&counter](std::string_view word) { counter.count(word); });
}

WordList ImportTextTools::countWords(const ImportTextResult& result, bool useOCR) {
    WordCounter counter;
    const auto countEach = [&counter](const std::optional<std::vector<Page>>& pages) {
        if (!pages) return;
        for (const Page& page : *pages)
            countWords(page.text, counter);
    };
    countEach(result.text);
    if (useOCR) countEach(result.ocrText);
    return counter.take();
}

}  // namespace kestrix
