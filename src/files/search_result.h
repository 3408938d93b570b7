// The record of one found file, as every source hands it over and every front end shows it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/uuid.h"

namespace kestrix {

// Who found a result. The numbers are stored and sent; 4, 5, 7 and 9 are kept free for readers of old data.
enum class SearchResultSupplier : int {
    none = 0,
    fileSystem = 1,
    spotlight = 2,
    spotlightContent = 3,
    recentItem = 4,
    FSCompactSearch = 5,
    KnownDirectoriesSearch = 6,
    sqlCache = 7,
    showAppsCmd = 8,
    sidebar = 9,
    CompactContentIndex = 10,
    MailSearchDataSource = 11,
};

// The key of a volume, or none. Few different keys exist and each record carries one, so the texts are kept
// once for the life of the process and a key is one pointer. Threads: any.
class DiskKey {
  public:
    DiskKey() = default;  // none
    explicit DiskKey(std::string_view text);

    bool isNone() const { return text_ == nullptr; }
    // The key's text; empty for none, too.
    std::string_view text() const { return text_ ? std::string_view(*text_) : std::string_view(); }
    bool operator==(const DiskKey&) const = default;

  private:
    const std::string* text_ = nullptr;
};

// A stretch of an extracted text, in bytes.
struct TextRange {
    std::size_t location = 0;
    std::size_t length = 0;

    bool operator==(const TextRange&) const = default;
};

// What a content search found in one file. Shared by the copies of a record and never changed.
struct ContentFindings {
    std::vector<std::string> summaryLines;                               // shown under the result
    std::map<std::string, std::vector<TextRange>> contentSearchResults;  // word to places
};

// A value. Dates are whole seconds since 1970, 0: not known. Moves between threads by being handed over.
struct SearchResult {
    SearchResult() = default;

    // A record whose facts are known already.
    SearchResult(SearchResultSupplier supplier, DiskKey diskKey, std::string path, bool isDirectory,
                 std::uint64_t size, std::int64_t modDate, std::int64_t creationDate,
                 std::int64_t lastAccessDate, bool deleteFromResultsIfMissing,
                 bool strikeThroughDisplayNameIfMissing);

    // A record of a path, size and dates read now; what cannot be read stays 0. A file is shown struck
    // through if it vanishes, and a directory has size 0.
    static SearchResult ofFile(SearchResultSupplier supplier, std::string path, bool checkToSeeIfItExists);
    static SearchResult ofDirectory(SearchResultSupplier supplier, std::string path,
                                    bool checkToSeeIfItExists);

    // Reads size and dates of `path` again. A directory keeps size 0. False, with nothing changed, if it has
    // gone.
    bool readAttributesFromDisk();

    const Uuid& id() const { return uuid; }

    Uuid uuid = Uuid::make();
    DiskKey diskKey;
    std::string path;        // absolute
    std::uint64_t size = 0;  // bytes
    std::int64_t creationDate = 0;
    std::int64_t modDate = 0;
    std::int64_t lastAccessDate = 0;
    SearchResultSupplier searchResultSuppliedBy = SearchResultSupplier::none;
    bool checkToSeeIfItExists = false;  // the display removes the row of a file that has gone
    bool ignoreSearchLocation = false;  // the source reached beyond the location on purpose
    bool isDirectory = false;
    bool strikeThroughDisplayNameIfMissing = false;
    bool tryCollectSummaryLines = false;  // the row collects its summary lines when first shown
    std::int64_t contentSearchResultsRank = 0;
    std::shared_ptr<const ContentFindings> content;  // none unless a content search found it
};

// The JSON object of a record, on one line: 13 keys, "diskKey" left out when there is none, content findings
// left out always. Bytes of a path that are not UTF-8 become U+FFFD.
std::string toJson(const SearchResult& result);

// Reads such an object. Any key missing (but "diskKey", which may be null, too), ill-typed or out of range
// throws Error; unknown keys are ignored.
SearchResult searchResultFromJson(std::string_view json);

}  // namespace kestrix
