#include "base/bytes.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <unordered_set>

#include "base/key_set.h"

namespace kestrix {
namespace {

TEST(Bytes, ARangeOutsideTheBufferIsNothing) {
    EXPECT_EQ(subdata_safe("abcd", 1, 3), "bc");
    EXPECT_EQ(subdata_safe("abcd", 4, 4), "");
    EXPECT_FALSE(subdata_safe("abcd", 3, 5));
    EXPECT_FALSE(subdata_safe("abcd", 3, 2));
    EXPECT_FALSE(subdata_safe("abcd", 5, std::numeric_limits<std::size_t>::max()));
}

TEST(Bytes, ReadingBackWhatWasAppendedEndsAtTheEnd) {
    std::string bytes;
    appendValue(bytes, std::uint8_t{7});
    appendValue(bytes, std::int64_t{-2});
    appendValue(bytes, std::uint16_t{0x0102});
    EXPECT_EQ(hexString(bytes), "07feffffffffffffff0201");
    std::size_t offset = 0;
    EXPECT_EQ(safeValueAndIncrement<std::uint8_t>(bytes, offset), 7);
    EXPECT_EQ(safeValueAndIncrement<std::int64_t>(bytes, offset), -2);
    EXPECT_FALSE(safeValueAndIncrement<std::uint32_t>(bytes, offset));
    EXPECT_EQ(offset, 9U);
    offset = std::numeric_limits<std::size_t>::max();
    EXPECT_FALSE(safeValueAndIncrement<std::uint8_t>(bytes, offset));
}

TEST(KeySet, AgreesWithASetOfTheLibrary) {
    std::mt19937_64 random(7);
    KeySet keys;
    std::unordered_set<std::int64_t> twin;
    for (int i = 0; i < 200'000; ++i) {
        // Many repeats, the key 0, and now and then keys that share their low bits.
        const std::uint64_t number = random() % 50'000;
        const auto key =
            static_cast<std::int64_t>(number % 100 == 0 ? number << 32 : number * 0x9E3779B97F4A7C15);
        ASSERT_EQ(keys.insert(key), twin.insert(key).second) << key;
        ASSERT_EQ(keys.size(), twin.size());
    }
}

}  // namespace
}  // namespace kestrix
