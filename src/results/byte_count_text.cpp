#include "results/byte_count_text.h"

#include <array>
#include <string_view>

namespace kestrix {
namespace {

struct Unit {
    std::string_view name;
    std::uint64_t bytes;
    std::uint64_t parts;  // of a unit that are shown: 100 for two decimals
};

constexpr std::array<Unit, 6> kUnits = {{{" KB", 1'000, 1},
                                         {" MB", 1'000'000, 10},
                                         {" GB", 1'000'000'000, 100},
                                         {" TB", 1'000'000'000'000, 100},
                                         {" PB", 1'000'000'000'000'000, 100},
                                         {" EB", 1'000'000'000'000'000'000, 100}}};

// In parts of the unit, rounded half up.
std::uint64_t partsOf(std::uint64_t bytes, const Unit& unit) {
    const std::uint64_t part = unit.bytes / unit.parts;
    return bytes / part + (bytes % part >= (part + 1) / 2 ? 1 : 0);
}

// Trailing zeros behind the point say nothing.
std::string inUnit(std::uint64_t count, const Unit& unit) {
    std::string text = std::to_string(count / unit.parts);
    std::uint64_t fraction = count % unit.parts;
    if (fraction != 0) text += '.';
    for (std::uint64_t digit = unit.parts / 10; fraction != 0; digit /= 10) {
        text += static_cast<char>('0' + fraction / digit);
        fraction %= digit;
    }
    text += unit.name;
    return text;
}

}  // namespace

// What rounds up to a thousand of a unit is one of the next.
std::string byteCountText(std::uint64_t bytes) {
    if (bytes < 1000) return std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes");
    for (const Unit& unit : kUnits) {
        const std::uint64_t count = partsOf(bytes, unit);
        if (count < 1000 * unit.parts || &unit == &kUnits.back()) return inUnit(count, unit);
    }
    return {};
}

}  // namespace kestrix
