// The text of a rectangle in the small store: any bytes are read without fault, and what was read is written
// and read again as the same.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "stores/hierarchical_database.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace kestrix;
    const auto rect = rectOfText({reinterpret_cast<const char*>(data), size});
    if (!rect || std::isnan(rect->x + rect->y + rect->width + rect->height)) return 0;
    if (rectOfText(textOfRect(*rect)) != rect) std::abort();
    return 0;
}
