// The bytes of a catalog's records. Integers are little-endian unless said otherwise.
//
//     key                       value
//     "DdocumentInfo"           DocumentInfo as a JSON object
//     "Fprivate.lastAutoID"     last identifier handed out, 4 bytes
//     "F" + decimal identifier  one item (below)
//     "C" + decimal identifier  child list: ascending identifiers, differential, then storePacked
//                               (number_buffer.h)
//     "W" + word                word container (word_container.h)
//     "Kdead"                   identifiers of removed documents, storePacked
//
// Identifiers have no padding, so "F12" stands before "F2"; nothing relies on the order of numbers. 0 stands
// for no parent: "C0" holds the direct children of the target, and there is no "F0". Identifiers are never
// given twice.
//
// An item:
//
//     0   4  fsid
//     4   4  parentID
//     8   1  1: file, 0: folder
//     9   4  creationDate, signed seconds since 2001-01-01 UTC
//     13  4  modificationDate, the same
//     17  2  n, length of the name
//     19  n  name, UTF-8
//     19+n  1  version, 1
//     20+n  8  size in bytes, signed
//
// Old records end after the name: their version reads as 0 and their size as -1, not known.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/clock.h"
#include "platform/directory.h"

namespace kestrix {

using FSItemID = std::uint32_t;

inline constexpr FSItemID kNoParent = 0;
inline constexpr FSItemID kLastUsableID = 0x7FFFFFFF;
inline constexpr std::int64_t kSecondsFrom1970To2001 = 978'307'200;

enum class FSItemType : std::uint8_t { directory = 0, file = 1 };

// A record as it lies in the file; the name is a view into it.
struct FSItemView {
    FSItemID fsid = 0;
    FSItemID parentID = kNoParent;
    FSItemType type = FSItemType::file;
    std::int32_t creationDate = 0;
    std::int32_t modificationDate = 0;
    std::string_view name{};
    std::uint8_t version = 0;
    std::int64_t size = -1;
};

struct FSItem {
    FSItemID fsid = 0;
    FSItemID parentID = kNoParent;
    FSItemType type = FSItemType::file;
    std::string name;
    std::int32_t creationDate = 0;
    std::int32_t modificationDate = 0;
    std::uint8_t version = 1;
    std::int64_t size = 0;

    FSItem() = default;
    explicit FSItem(const FSItemView& view);
    bool operator==(const FSItem&) const = default;

    // Throws Error for an identifier beyond 31 bits, or a name that is empty or of 65,536 bytes or more. A
    // name that is not UTF-8 becomes "Unknown".
    std::string asData() const;
};

// Adds the record to `bytes`, under the same rules.
void appendFSItem(std::string& bytes, const FSItemView& item);

// The name a record gets for this one: itself, or "Unknown" if it is not UTF-8.
std::string_view storedName(std::string_view name);

// Nothing if the record is short, its type is neither 0 nor 1, or its name is empty or not UTF-8. The value
// of "Fprivate.lastAutoID" is thereby no item.
std::optional<FSItemView> decodeFSItem(std::string_view record);
// The name alone, without testing that it is UTF-8: the first look of a scan. Empty if there is none.
std::string_view nameInFSItem(std::string_view record);

// Seconds since 2001, as DocumentInfo keeps them.
double secondsSince2001(WallTime time);
// Seconds since 2001, rounded down; 0 for a date that does not fit.
std::int32_t dateToInt32(const Timestamp& date);
// The same; 0 also where the file system keeps no such dates.
std::int32_t creationDateToInt32(const Timestamp& date);
// Whether a file with this date on disk differs from the stored date. The date on disk is cut towards zero
// while the stored one was rounded down, so fractions before 2001 count as changed at every update.
bool differsFromStored(const Timestamp& onDisk, std::int32_t stored);
// Seconds since 1970. A creation date of 0 stays 0, not known, as a walk tells it; a file always has a date
// of modification, and 0 is the first second of 2001.
std::int64_t creationDateOf(const FSItemView& item);
std::int64_t modDateOf(const FSItemView& item);

// "F12", "C0".
std::string itemKey(FSItemID id);
std::string childrenKey(FSItemID id);
// The identifier behind the family's letter; nothing if it is not written as these two write it.
std::optional<FSItemID> idInKey(std::string_view key);
inline constexpr std::string_view kLastAutoIDKey = "Fprivate.lastAutoID";
inline constexpr std::string_view kDocumentInfoKey = "DdocumentInfo";
inline constexpr std::string_view kDeadKey = "Kdead";

// Ascending identifiers. Reading stops where the bytes make no sense; sums are taken modulo 2^32.
std::string packChildList(const std::vector<FSItemID>& ids);
std::vector<FSItemID> unpackChildList(std::string_view bytes);

// Each identifier once, in ascending order.
std::string packDeadList(const std::vector<FSItemID>& ids);
std::vector<FSItemID> unpackDeadList(std::string_view bytes);

enum class ContentIndexMode : int { off = 0, textDocuments = 1, ocrAndTextDocuments = 2 };

// Dates are seconds since 2001-01-01 UTC.
struct DocumentInfo {
    static constexpr double kDistantPast = -63'114'076'800.0;  // the year 1

    std::optional<std::string> suggestedTarget;   // the target's path; a file URL in the file
    double lastUpdated = kDistantPast;            // when the last build started, then its last look at files
    std::optional<std::int64_t> numberOfFSItems;  // files seen by the last finished build
    ContentIndexMode lastIndexMode = ContentIndexMode::off;
    bool isDirty = false;  // the next build starts from a new file
    std::optional<std::string> diskKey;

    bool operator==(const DocumentInfo&) const = default;
};

std::string toJson(const DocumentInfo& info);
// Throws Error if the text is no such object or a key that must be there is missing or ill-typed. A date that
// no clock ever told counts as the distant past.
DocumentInfo documentInfoFromJson(std::string_view json);

// "file:///home/ada/My%20Files/" for a folder; and back, also without the trailing slash. Nothing if the text
// is no file URL of this machine.
std::string fileUrlOf(std::string_view path, bool isDirectory);
std::optional<std::string> pathOfFileUrl(std::string_view url);

}  // namespace kestrix
