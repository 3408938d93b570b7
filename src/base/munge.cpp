#include "base/munge.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "base/bytes.h"

namespace kestrix {
namespace {

// Drawn at random once. Changing a word makes everything scrambled before unreadable. All are odd, so that no
// multiplier but 0 leaves a word as it was.
constexpr std::array<std::uint64_t, 16> kKeyWords = {
    0x3A735ED9729998CF, 0xF29CB008517400A5, 0x9DB61FEB6DD92B81, 0x1F5D135DCD3CA65B,
    0x2CD06A7F997A66C9, 0xAAFFC7E441A1323D, 0xA42FEE694E3B6DB9, 0xFA130C94832D8937,
    0xB909407B4D495E3B, 0x1760724A95C60AC7, 0x8D1848239B4203C5, 0xCC8F7D59E53CDDE7,
    0x6D7BFC71B33C1A23, 0x44CC83E40564C565, 0xB2FA15FA40AE3D41, 0x6645313846D0EA09,
};

}  // namespace

std::string Munge::munge(std::string_view data, std::uint64_t multiplier,
                         std::optional<std::size_t> maxBytes) {
    std::string scrambled(data);
    for (std::size_t index = 0, at = 0; at < scrambled.size(); ++index, at += sizeof(std::uint64_t)) {
        if (maxBytes && index > *maxBytes) break;
        const std::size_t width = std::min(sizeof(std::uint64_t), scrambled.size() - at);
        std::uint64_t word = 0;
        std::memcpy(&word, scrambled.data() + at, width);
        word ^= kKeyWords[index % kKeyWords.size()] * multiplier;
        std::memcpy(scrambled.data() + at, &word, width);
    }
    return scrambled;
}

std::string Munge::mungeToHexString(std::string_view source, std::uint64_t multiplier) {
    return hexString(munge(source, multiplier));
}

}  // namespace kestrix
