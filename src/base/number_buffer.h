// Lists of unsigned 32-bit numbers in few bytes, as catalogs store them. Multi-byte values are big-endian.
//
//     empty list                       zero bytes
//     one value below 256              the value in one byte
//     one value from 256 to 65535      two bytes
//     anything else                    runs: width (1 byte, 1 to 4), count (1 byte, 1 to 255), count values
//     of width
//                                      bytes each; the buffer's end ends the runs
//
// A run is never shorter than three bytes, which keeps the two short forms apart. The first value of a run
// fixes its width. Lists of ascending identifiers are stored as differences, so most values take one byte.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kestrix {

std::string storePacked(std::span<const std::uint32_t> values);

// Reads what storePacked wrote. A width outside 1 to 4 or a run that claims more bytes than there are ends
// the reading with the values found so far.
std::vector<std::uint32_t> unpackStored(std::string_view bytes);

// First element kept, each later one replaced by its difference from the one before.
std::vector<std::int64_t> differential(std::span<const std::int64_t> values);
// The running sum, which takes differential back. Sums wrap rather than overflow.
std::vector<std::int64_t> inverseDifferential(std::span<const std::int64_t> values);

}  // namespace kestrix
