// Any text is DocumentInfo or an Error; what was read comes back after being written, and so does a path that
// went through a URL.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "base/error.h"
#include "index/records.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace kestrix;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    if (const auto path = pathOfFileUrl(text)) {
        if (pathOfFileUrl(fileUrlOf(*path, false)) != path) std::abort();
    }
    try {
        const DocumentInfo info = documentInfoFromJson(text);
        if (documentInfoFromJson(toJson(info)) != info) std::abort();
    } catch (const Error&) {
    }
    return 0;
}
