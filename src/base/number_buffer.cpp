#include "base/number_buffer.h"

#include <algorithm>

namespace kestrix {
namespace {

constexpr std::size_t kMaxRun = 255;

unsigned widthOf(std::uint32_t value) {
    if (value < 0x100) return 1;
    if (value < 0x10000) return 2;
    return value < 0x1000000 ? 3 : 4;
}

void appendBigEndian(std::string& bytes, std::uint32_t value, unsigned width) {
    for (unsigned shift = 8 * width; shift != 0; shift -= 8) {
        bytes.push_back(static_cast<char>(value >> (shift - 8)));
    }
}

// How many of the values, from the first on, stand in one run of the first one's width.
std::size_t runLength(std::span<const std::uint32_t> values, unsigned width) {
    const std::uint32_t largest = 0xFFFFFFFFU >> (32 - 8 * width);
    const std::size_t most = std::min(values.size(), kMaxRun);
    std::size_t count = 1;
    while (count < most && values[count] <= largest) {
        ++count;
    }
    return count;
}

std::uint32_t readBigEndian(const unsigned char* bytes, unsigned width) {
    std::uint32_t value = 0;
    for (unsigned i = 0; i < width; ++i) {
        value = value << 8 | bytes[i];
    }
    return value;
}

}  // namespace

std::string storePacked(std::span<const std::uint32_t> values) {
    std::string bytes;
    if (values.empty()) return bytes;
    if (values.size() == 1 && values[0] < 0x10000) {
        appendBigEndian(bytes, values[0], widthOf(values[0]));
        return bytes;
    }
    // Enough for one byte a value, by far the most frequent case.
    bytes.reserve(values.size() + 2 * (values.size() / kMaxRun + 1));
    while (!values.empty()) {
        const unsigned width = widthOf(values[0]);
        const std::size_t count = runLength(values, width);
        bytes.push_back(static_cast<char>(width));
        bytes.push_back(static_cast<char>(count));
        for (const std::uint32_t value : values.first(count)) {
            appendBigEndian(bytes, value, width);
        }
        values = values.subspan(count);
    }
    return bytes;
}

std::vector<std::uint32_t> unpackStored(std::string_view bytes) {
    std::vector<std::uint32_t> values;
    const auto* at = reinterpret_cast<const unsigned char*>(bytes.data());
    const unsigned char* const end = at + bytes.size();
    if (bytes.empty()) return values;
    if (bytes.size() <= 2) {
        values.push_back(readBigEndian(at, static_cast<unsigned>(bytes.size())));
        return values;
    }
    values.reserve(bytes.size());
    while (end - at >= 2) {
        const unsigned width = at[0];
        const std::size_t count = at[1];
        at += 2;
        // A run cut short says that the list is damaged; half a run would only look like a whole list.
        if (width < 1 || width > 4 || static_cast<std::size_t>(end - at) < width * count) break;
        if (width == 1) {
            values.insert(values.end(), at, at + count);
            at += count;
            continue;
        }
        for (std::size_t i = 0; i < count; ++i, at += width) {
            values.push_back(readBigEndian(at, width));
        }
    }
    return values;
}

// Unsigned arithmetic wraps where the signed one is undefined.
std::vector<std::int64_t> differential(std::span<const std::int64_t> values) {
    std::vector<std::int64_t> differences(values.begin(), values.end());
    for (std::size_t i = 1; i < values.size(); ++i) {
        differences[i] = static_cast<std::int64_t>(static_cast<std::uint64_t>(values[i]) -
                                                   static_cast<std::uint64_t>(values[i - 1]));
    }
    return differences;
}

std::vector<std::int64_t> inverseDifferential(std::span<const std::int64_t> values) {
    std::vector<std::int64_t> sums(values.begin(), values.end());
    std::uint64_t sum = 0;
    for (std::int64_t& value : sums) {
        sum += static_cast<std::uint64_t>(value);
        value = static_cast<std::int64_t>(sum);
    }
    return sums;
}

}  // namespace kestrix
