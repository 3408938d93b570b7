// A keyed scrambler for data that should not lie open to a casual look; no secret is safe in it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kestrix {

// The buffer is taken as 64-bit words; word i becomes word i XOR (key word i, wrapping round the key table,
// times the multiplier). Its own inverse. Bytes behind the last whole word are treated as a word filled up
// with zeros.
class Munge {
  public:
    // Scrambles `data`; with `maxBytes` only as far as the words whose index does not exceed it.
    static std::string munge(std::string_view data, std::uint64_t multiplier,
                             std::optional<std::size_t> maxBytes = std::nullopt);
    // The scrambled bytes of a text as hexadecimal digits.
    static std::string mungeToHexString(std::string_view source, std::uint64_t multiplier);
};

}  // namespace kestrix
