// The JSON form of a record. Writing it is the inner loop of "find --format json", so it is put together by
// hand; reading it is rare and faces other people's bytes, so it goes through the library.
#include <fmt/compile.h>
#include <fmt/format.h>

#include <array>
#include <cstdint>
#include <iterator>
#include <limits>
#include <nlohmann/json.hpp>
#include <type_traits>

#include "base/error.h"
#include "base/text.h"
#include "files/search_result.h"

namespace kestrix {

namespace {

using nlohmann::json;

// What all the keys, the numbers and the UUID take, generously.
constexpr std::size_t kFixedLength = 400;

constexpr std::array<bool, 256> kNeedsEscape = [] {
    std::array<bool, 256> table{};
    for (std::size_t control = 0; control < 0x20; ++control) {
        table[control] = true;
    }
    table['"'] = true;
    table['\\'] = true;
    return table;
}();

void appendEscape(std::string& out, char byte) {
    switch (byte) {
        case '"':
            out += "\\\"";
            return;
        case '\\':
            out += "\\\\";
            return;
        case '\n':
            out += "\\n";
            return;
        case '\r':
            out += "\\r";
            return;
        case '\t':
            out += "\\t";
            return;
        default:
            fmt::format_to(std::back_inserter(out), FMT_COMPILE("\\u{:04x}"), static_cast<int>(byte));
    }
}

// Appends valid UTF-8 between quotes.
void appendQuotedValid(std::string& out, std::string_view valid) {
    out += '"';
    std::size_t copied = 0;
    for (std::size_t at = 0; at < valid.size(); ++at) {
        if (!kNeedsEscape[static_cast<unsigned char>(valid[at])]) continue;
        out.append(valid, copied, at - copied);
        appendEscape(out, valid[at]);
        copied = at + 1;
    }
    out.append(valid, copied);
    out += '"';
}

void appendQuoted(std::string& out, std::string_view bytes) {
    if (text::isValidUtf8(bytes)) {
        appendQuotedValid(out, bytes);
    } else {
        appendQuotedValid(out, text::displayable(bytes));
    }
}

[[noreturn]] void refuse(const std::string& why) {
    throw Error("SearchResult", 1, "not a search result: " + why);
}

const json& valueOf(const json& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end()) refuse(fmt::format("\"{}\" is missing", key));
    return *found;
}

std::string textOf(const json& object, const char* key) {
    const json& value = valueOf(object, key);
    if (!value.is_string()) refuse(fmt::format("\"{}\" is no text", key));
    return value.get<std::string>();
}

bool booleanOf(const json& object, const char* key) {
    const json& value = valueOf(object, key);
    if (!value.is_boolean()) refuse(fmt::format("\"{}\" is neither true nor false", key));
    return value.get<bool>();
}

// The library reads a whole number as unsigned where it has no sign, and as a fraction where it is too large
// for 64 bits.
std::uint64_t unsignedOf(const json& object, const char* key) {
    const json& value = valueOf(object, key);
    if (!value.is_number_unsigned()) refuse(fmt::format("\"{}\" is no size", key));
    return value.get<std::uint64_t>();
}

std::int64_t integerOf(const json& object, const char* key) {
    const json& value = valueOf(object, key);
    const bool fits = value.is_number_unsigned()
                          ? value.get<std::uint64_t>() <= std::numeric_limits<std::int64_t>::max()
                          : value.is_number_integer();
    if (!fits) refuse(fmt::format("\"{}\" is no whole number in range", key));
    return value.get<std::int64_t>();
}

Uuid uuidOf(const json& object, const char* key) {
    const auto uuid = Uuid::parse(textOf(object, key));
    if (!uuid) refuse(fmt::format("\"{}\" is no UUID", key));
    return *uuid;
}

SearchResultSupplier supplierOf(const json& object, const char* key) {
    const std::int64_t number = integerOf(object, key);
    if (number < static_cast<int>(SearchResultSupplier::none) ||
        number > static_cast<int>(SearchResultSupplier::MailSearchDataSource)) {
        refuse(fmt::format("\"{}\" names no known source", key));
    }
    return static_cast<SearchResultSupplier>(number);
}

DiskKey diskKeyOf(const json& object) {
    const auto found = object.find("diskKey");
    return found == object.end() || found->is_null() ? DiskKey() : DiskKey(textOf(object, "diskKey"));
}

json parsedObject(std::string_view text) {
    json object = json::parse(text.begin(), text.end(), nullptr, false);
    if (!object.is_object()) refuse("no JSON object");
    return object;
}

}  // namespace

std::string toJson(const SearchResult& result) {
    std::string out;
    out.reserve(kFixedLength + result.path.size() + result.diskKey.text().size());
    out += '{';
    if (!result.diskKey.isNone()) {
        out += R"("diskKey":)";
        appendQuoted(out, result.diskKey.text());
        out += ',';
    }
    out += R"("path":)";
    appendQuoted(out, result.path);
    fmt::format_to(std::back_inserter(out),
                   FMT_COMPILE(R"(,"isDirectory":{},"size":{},"creationDate":{},"modDate":{},)"
                               R"("lastAccessDate":{},"checkToSeeIfItExists":{},"uuid":"{}",)"
                               R"("searchResultSuppliedBy":{},"ignoreSearchLocation":{},)"
                               R"("contentSearchResultsRank":{},"strikeThroughDisplayNameIfMissing":{}}})"),
                   result.isDirectory, result.size, result.creationDate, result.modDate,
                   result.lastAccessDate, result.checkToSeeIfItExists, result.uuid.text(),
                   static_cast<int>(result.searchResultSuppliedBy), result.ignoreSearchLocation,
                   result.contentSearchResultsRank, result.strikeThroughDisplayNameIfMissing);
    return out;
}

SearchResult searchResultFromJson(std::string_view text) {
    const json object = parsedObject(text);
    SearchResult result;
    result.diskKey = diskKeyOf(object);
    result.path = textOf(object, "path");
    result.isDirectory = booleanOf(object, "isDirectory");
    result.size = unsignedOf(object, "size");
    result.creationDate = integerOf(object, "creationDate");
    result.modDate = integerOf(object, "modDate");
    result.lastAccessDate = integerOf(object, "lastAccessDate");
    result.checkToSeeIfItExists = booleanOf(object, "checkToSeeIfItExists");
    result.uuid = uuidOf(object, "uuid");
    result.searchResultSuppliedBy = supplierOf(object, "searchResultSuppliedBy");
    result.ignoreSearchLocation = booleanOf(object, "ignoreSearchLocation");
    result.contentSearchResultsRank = integerOf(object, "contentSearchResultsRank");
    result.strikeThroughDisplayNameIfMissing = booleanOf(object, "strikeThroughDisplayNameIfMissing");
    return result;
}

}  // namespace kestrix
