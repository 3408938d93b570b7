// Sizes as people read them.
#pragma once

#include <cstdint>
#include <string>

namespace kestrix {

// In decimal units, finer the larger they are: "0 bytes", "1 byte", "999 bytes", "12 KB", "3.4 MB", "5.67
// GB". Never longer than kLongestByteCount characters, all of them ASCII.
std::string byteCountText(std::uint64_t bytes);

inline constexpr std::size_t kLongestByteCount = 9;  // "999 bytes", "999.99 GB"

}  // namespace kestrix
