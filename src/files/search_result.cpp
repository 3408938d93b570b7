#include "files/search_result.h"

#include <functional>
#include <unordered_set>
#include <utility>

#include "base/lock.h"
#include "platform/directory.h"

namespace kestrix {

namespace {

// Looks a view up without making a string of it.
struct TextHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
};

using KeyTexts = std::unordered_set<std::string, TextHash, std::equal_to<>>;

// Never freed on purpose: keys may be read until the last thread has ended, past the end of main. The nodes
// of the set never move, so the address of a text is the key.
const std::string* interned(std::string_view text) {
    static auto* const texts = new Locked<KeyTexts>();
    return texts->modify([text](KeyTexts& known) {
        const auto found = known.find(text);
        return &*(found != known.end() ? found : known.emplace(text).first);
    });
}

void takeSizeAndDates(const FileAttributes& attributes, SearchResult& result) {
    result.size = result.isDirectory ? 0 : attributes.size;
    result.modDate = attributes.modified.seconds;
    result.creationDate = attributes.created.seconds;
}

SearchResult recordOf(SearchResultSupplier supplier, std::string path, bool isDirectory,
                      bool checkToSeeIfItExists) {
    SearchResult result(supplier, DiskKey(""), std::move(path), isDirectory, 0, 0, 0, 0, checkToSeeIfItExists,
                        !isDirectory);
    FileAttributes attributes;
    if (readAttributes(result.path, true, attributes) == 0) takeSizeAndDates(attributes, result);
    return result;
}

}  // namespace

DiskKey::DiskKey(std::string_view text) : text_(interned(text)) {}

SearchResult::SearchResult(SearchResultSupplier supplier, DiskKey key, std::string pathOfFile, bool directory,
                           std::uint64_t bytes, std::int64_t modified, std::int64_t created,
                           std::int64_t accessed, bool deleteFromResultsIfMissing, bool strikeThrough)
    : diskKey(key),
      path(std::move(pathOfFile)),
      size(bytes),
      creationDate(created),
      modDate(modified),
      lastAccessDate(accessed),
      searchResultSuppliedBy(supplier),
      checkToSeeIfItExists(deleteFromResultsIfMissing),
      isDirectory(directory),
      strikeThroughDisplayNameIfMissing(strikeThrough) {}

SearchResult SearchResult::ofFile(SearchResultSupplier supplier, std::string path,
                                  bool checkToSeeIfItExists) {
    return recordOf(supplier, std::move(path), false, checkToSeeIfItExists);
}

SearchResult SearchResult::ofDirectory(SearchResultSupplier supplier, std::string path,
                                       bool checkToSeeIfItExists) {
    return recordOf(supplier, std::move(path), true, checkToSeeIfItExists);
}

// A link at the end is followed: no source lists links, so one that stands here was named by the user, whose
// Documents folder may well be a link to another disk.
bool SearchResult::readAttributesFromDisk() {
    FileAttributes attributes;
    if (readAttributes(path, true, attributes) != 0) return false;
    takeSizeAndDates(attributes, *this);
    lastAccessDate = attributes.accessed.seconds;
    return true;
}

}  // namespace kestrix
