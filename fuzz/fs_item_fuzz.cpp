// Any bytes decode to an item or to nothing, and an item that decodes comes back after being stored.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "index/records.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace kestrix;
    const std::string_view record(reinterpret_cast<const char*>(data), size);
    const auto view = decodeFSItem(record);
    if (!view) return 0;
    if (view->name != nameInFSItem(record)) std::abort();
    FSItem item(*view);
    if (item.fsid > kLastUsableID || item.parentID > kLastUsableID) return 0;
    const std::string stored = item.asData();
    const auto again = decodeFSItem(stored);
    item.version = 1;
    if (!again || FSItem(*again) != item) std::abort();
    return 0;
}
