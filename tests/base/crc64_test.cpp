#include "base/crc64.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "base/crc64_ways.h"

namespace kestrix {
namespace {

std::uint64_t bitByBit(std::uint64_t crc, const unsigned char* data, std::size_t length) {
    for (std::size_t i = 0; i < length; ++i) {
        crc ^= static_cast<std::uint64_t>(data[i]) << 56;
        for (int bit = 0; bit < 8; ++bit) {
            const bool carry = crc >> 63;
            crc <<= 1;
            if (carry) crc ^= 0x42F0E1EBA9EA3693;
        }
    }
    return crc;
}

std::vector<unsigned char> randomBytes(std::mt19937_64& random, std::size_t length) {
    std::vector<unsigned char> bytes(length);
    for (unsigned char& byte : bytes) {
        byte = static_cast<unsigned char>(random());
    }
    return bytes;
}

TEST(Crc64, GivesThePublishedCheckValue) {
    EXPECT_EQ(crc64("123456789"), 0x6C40DF5F0B497347);
    EXPECT_EQ(crc64(""), 0);
    EXPECT_EQ(crc64_ecma182(77, nullptr, 5), 0U);
    EXPECT_EQ(crc64_ecma182(77, "", 0), 77U);
}

TEST(Crc64, EveryWayAgreesWithTheBitwiseOneAtEveryLengthAndStart) {
    std::mt19937_64 random(1);
    for (std::size_t length = 0; length < 700; ++length) {
        // Exactly as long as the data, so that a sanitizer sees a read behind it.
        const auto bytes = randomBytes(random, length);
        for (const std::uint64_t start : {std::uint64_t{0}, random(), ~std::uint64_t{0}}) {
            const std::uint64_t expected = bitByBit(start, bytes.data(), length);
            ASSERT_EQ(crc64_ways::byTables(start, bytes.data(), length), expected) << length;
            if (length == 0) continue;
            ASSERT_EQ(crc64_ecma182(start, bytes.data(), length), expected) << length;
        }
    }
}

TEST(Crc64, LongDataAgreesWithTheTables) {
    std::mt19937_64 random(3);
    const auto bytes = randomBytes(random, 1'000'003);
    EXPECT_EQ(crc64_ecma182(5, bytes.data(), bytes.size()),
              crc64_ways::byTables(5, bytes.data(), bytes.size()));
}

}  // namespace
}  // namespace kestrix
