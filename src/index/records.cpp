#include "index/records.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <numeric>

#include "base/bytes.h"
#include "base/error.h"
#include "base/number_buffer.h"
#include "base/text.h"

namespace kestrix {

namespace {

constexpr std::size_t kNameLengthAt = 17;
constexpr std::size_t kNameAt = 19;
constexpr std::size_t kLongestName = 65'535;
constexpr std::uint8_t kVersion = 1;

[[noreturn]] void refuse(FSItemID id, std::string_view why) {
    throw Error("Catalog", 0, fmt::format("item {} cannot be stored: {}", id, why));
}

// Made for every item that is read or written, so without the detours of a format.
std::string keyOf(char family, FSItemID id) {
    std::array<char, 1 + std::numeric_limits<FSItemID>::digits10 + 1> key{family};
    return {key.data(), std::to_chars(key.data() + 1, key.data() + key.size(), id).ptr};
}

bool fitsInt32(std::int64_t seconds) {
    return seconds >= std::numeric_limits<std::int32_t>::min() &&
           seconds <= std::numeric_limits<std::int32_t>::max();
}

}  // namespace

FSItem::FSItem(const FSItemView& view)
    : fsid(view.fsid),
      parentID(view.parentID),
      type(view.type),
      name(view.name),
      creationDate(view.creationDate),
      modificationDate(view.modificationDate),
      version(view.version),
      size(view.size) {}

std::string FSItem::asData() const {
    std::string bytes;
    appendFSItem(bytes, {fsid, parentID, type, creationDate, modificationDate, name, version, size});
    return bytes;
}

void appendFSItem(std::string& bytes, const FSItemView& item) {
    if (item.fsid > kLastUsableID || item.parentID > kLastUsableID)
        refuse(item.fsid, "its identifier is too large");
    if (item.name.empty()) refuse(item.fsid, "it has no name");
    const std::string_view stored = storedName(item.name);
    if (stored.size() > kLongestName) refuse(item.fsid, "its name is too long");
    appendValue(bytes, item.fsid);
    appendValue(bytes, item.parentID);
    appendValue(bytes, static_cast<std::uint8_t>(item.type));
    appendValue(bytes, item.creationDate);
    appendValue(bytes, item.modificationDate);
    appendValue(bytes, static_cast<std::uint16_t>(stored.size()));
    bytes.append(stored);
    appendValue(bytes, kVersion);
    appendValue(bytes, item.size);
}

std::string_view storedName(std::string_view name) {
    return text::isValidUtf8(name) ? name : "Unknown";
}

std::optional<FSItemView> decodeFSItem(std::string_view record) {
    FSItemView item;
    item.name = nameInFSItem(record);
    if (item.name.empty() || !text::isValidUtf8(item.name)) return std::nullopt;
    std::size_t at = 0;
    item.fsid = safeValueAndIncrement<std::uint32_t>(record, at).value();
    item.parentID = safeValueAndIncrement<std::uint32_t>(record, at).value();
    const auto type = safeValueAndIncrement<std::uint8_t>(record, at).value();
    if (type > static_cast<std::uint8_t>(FSItemType::file)) return std::nullopt;
    item.type = static_cast<FSItemType>(type);
    item.creationDate = safeValueAndIncrement<std::int32_t>(record, at).value();
    item.modificationDate = safeValueAndIncrement<std::int32_t>(record, at).value();
    at = kNameAt + item.name.size();
    item.version = safeValueAndIncrement<std::uint8_t>(record, at).value_or(0);
    item.size = safeValueAndIncrement<std::int64_t>(record, at).value_or(-1);
    return item;
}

std::string_view nameInFSItem(std::string_view record) {
    std::size_t at = kNameLengthAt;
    const auto length = safeValueAndIncrement<std::uint16_t>(record, at);
    if (!length || *length > record.size() - at) return {};
    return record.substr(at, *length);
}

double secondsSince2001(WallTime time) {
    return std::chrono::duration<double>(time.time_since_epoch()).count() -
           static_cast<double>(kSecondsFrom1970To2001);
}

std::int32_t dateToInt32(const Timestamp& date) {
    const std::int64_t seconds = date.seconds - kSecondsFrom1970To2001;
    return fitsInt32(seconds) ? static_cast<std::int32_t>(seconds) : 0;
}

std::int32_t creationDateToInt32(const Timestamp& date) {
    return date == Timestamp{} ? 0 : dateToInt32(date);
}

bool differsFromStored(const Timestamp& onDisk, std::int32_t stored) {
    const std::int64_t roundedDown = onDisk.seconds - kSecondsFrom1970To2001;
    return roundedDown + (roundedDown < 0 && onDisk.nanoseconds > 0 ? 1 : 0) != stored;
}

std::int64_t creationDateOf(const FSItemView& item) {
    return item.creationDate == 0 ? 0 : item.creationDate + kSecondsFrom1970To2001;
}

std::int64_t modDateOf(const FSItemView& item) {
    const bool isKnown = item.type == FSItemType::file || item.modificationDate != 0;
    return isKnown ? item.modificationDate + kSecondsFrom1970To2001 : 0;
}

std::string itemKey(FSItemID id) {
    return keyOf('F', id);
}

std::string childrenKey(FSItemID id) {
    return keyOf('C', id);
}

std::optional<FSItemID> idInKey(std::string_view key) {
    const std::string_view digits = key.substr(std::min<std::size_t>(key.size(), 1));
    FSItemID id = 0;
    const auto [stop, fault] = std::from_chars(digits.data(), digits.data() + digits.size(), id);
    const bool padded = digits.size() > 1 && digits.front() == '0';
    if (fault != std::errc() || stop != digits.data() + digits.size() || padded) return std::nullopt;
    return id;
}

// Both ways in unsigned numbers, whose sums and differences wrap.
std::string packChildList(const std::vector<FSItemID>& ids) {
    std::vector<FSItemID> differences(ids.size());
    std::adjacent_difference(ids.begin(), ids.end(), differences.begin());
    return storePacked(differences);
}

std::vector<FSItemID> unpackChildList(std::string_view bytes) {
    std::vector<FSItemID> ids = unpackStored(bytes);
    std::partial_sum(ids.begin(), ids.end(), ids.begin());
    return ids;
}

std::string packDeadList(const std::vector<FSItemID>& ids) {
    std::vector<FSItemID> once = ids;
    std::sort(once.begin(), once.end());
    once.erase(std::unique(once.begin(), once.end()), once.end());
    return storePacked(once);
}

std::vector<FSItemID> unpackDeadList(std::string_view bytes) {
    return unpackStored(bytes);
}

}  // namespace kestrix
