#include "base/number_buffer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "base/bytes.h"

namespace kestrix {
namespace {

using Values = std::vector<std::uint32_t>;
using Numbers = std::vector<std::int64_t>;

std::string packed(const Values& values) {
    return hexString(storePacked(values));
}

TEST(NumberBuffer, StoresTheKnownBytes) {
    EXPECT_EQ(packed({}), "");
    EXPECT_EQ(packed({5}), "05");
    EXPECT_EQ(packed({256}), "0100");
    EXPECT_EQ(packed({65536}), "0301010000");
    EXPECT_EQ(packed({5, 300}),
              "010105"
              "0201012c");
    EXPECT_EQ(packed({300, 5}), "0202012c0005");
    EXPECT_EQ(packed({0xFFFFFFFF, 0}), "0402ffffffff00000000");
    EXPECT_EQ(packed({0xFFFFFF, 0x1000000}), "0301ffffff040101000000");
    EXPECT_EQ(storePacked(Values(256, 1)).size(), 2 + 255 + 2 + 1U);
}

TEST(NumberBuffer, WhatIsStoredIsReadBack) {
    std::mt19937 random(6);
    for (std::size_t length = 0; length < 600; ++length) {
        Values values(length);
        for (std::uint32_t& value : values) {
            value = static_cast<std::uint32_t>(random()) >> random() % 32;
        }
        ASSERT_EQ(unpackStored(storePacked(values)), values);
    }
}

TEST(NumberBuffer, ADamagedRunEndsTheReading) {
    using namespace std::string_literals;
    EXPECT_EQ(unpackStored("\x05\x01\x00"s), Values{});
    EXPECT_EQ(unpackStored("\x01\x02\x07\x08\x00"s), (Values{7, 8}));
    EXPECT_EQ(unpackStored("\x01\x01\x07\x02\x02\x00\x01\x00"s), Values{7});
    EXPECT_EQ(unpackStored("\x00\x01\x07"s), Values{});
    EXPECT_EQ(unpackStored("\x01\x00\x01\x01\x09"s), Values{9});
}

TEST(NumberBuffer, EveryCutGivesAPrefixOfWholeRuns) {
    Values values(300, 3);
    values.insert(values.end(), 300, 70'000);
    const std::string bytes = storePacked(values);
    for (std::size_t length = 3; length <= bytes.size(); ++length) {
        const Values read = unpackStored(std::string_view(bytes).substr(0, length));
        ASSERT_LE(read.size(), values.size());
        ASSERT_TRUE(std::equal(read.begin(), read.end(), values.begin()));
    }
}

TEST(NumberBuffer, DifferencesAndSumsTakeEachOtherBack) {
    EXPECT_EQ(differential(Numbers{7}), Numbers{7});
    EXPECT_EQ(differential(Numbers{3, 7, 8}), (Numbers{3, 4, 1}));
    EXPECT_EQ(inverseDifferential(Numbers{3, 4, 1}), (Numbers{3, 7, 8}));
    constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
    constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
    const Numbers extremes = {kMost, kLeast, kMost, 0, -1, kLeast};
    EXPECT_EQ(inverseDifferential(differential(extremes)), extremes);
    EXPECT_EQ(inverseDifferential(Numbers{kMost, 1}), (Numbers{kMost, kLeast}));
}

}  // namespace
}  // namespace kestrix
