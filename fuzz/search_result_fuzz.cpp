// Any bytes in place of a record from another machine, and in place of a path.
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "base/error.h"
#include "files/search_result.h"

namespace {

std::optional<kestrix::SearchResult> readRecord(std::string_view json) {
    try {
        return kestrix::searchResultFromJson(json);
    } catch (const kestrix::Error&) {
        return std::nullopt;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    if (const auto record = readRecord(bytes)) {
        const std::string written = kestrix::toJson(*record);
        const auto again = readRecord(written);
        if (!again || again->path != record->path || kestrix::toJson(*again) != written) std::abort();
    }

    kestrix::SearchResult found;
    found.path = bytes;
    if (!readRecord(kestrix::toJson(found))) std::abort();
    return 0;
}
