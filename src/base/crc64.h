// CRC-64 as ECMA-182 defines it: polynomial 0x42F0E1EBA9EA3693, most significant bit first, no reflection, no
// final XOR. The key of a path in the merge and in catalogs, so its values are fixed for good.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kestrix {

// Goes on from `crc` over `length` bytes. Null data yields 0; length 0 yields `crc`. Any thread.
std::uint64_t crc64_ecma182(std::uint64_t crc, const void* data, std::size_t length);

// The checksum of a text's bytes, from 0.
inline std::int64_t crc64(std::string_view text) {
    return text.empty() ? 0 : static_cast<std::int64_t>(crc64_ecma182(0, text.data(), text.size()));
}

}  // namespace kestrix
