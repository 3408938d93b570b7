// Any bytes unpack without harm, and what is packed comes back.
#include "base/number_buffer.h"

#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const auto read = kestrix::unpackStored(bytes);
    if (kestrix::unpackStored(kestrix::storePacked(read)) != read) std::abort();

    std::vector<std::uint32_t> values(size / sizeof(std::uint32_t));
    if (!values.empty()) std::memcpy(values.data(), data, values.size() * sizeof(std::uint32_t));
    if (kestrix::unpackStored(kestrix::storePacked(values)) != values) std::abort();

    const std::vector<std::int64_t> numbers(values.begin(), values.end());
    if (kestrix::inverseDifferential(kestrix::differential(numbers)) != numbers) std::abort();
    return 0;
}
