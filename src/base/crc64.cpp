// A message is a polynomial over two values, its first bit the highest power, and the checksum is the rest of
// message times x^64 after division by the polynomial P. The incoming checksum counts as eight bytes added
// (XOR) to the start of the message. Leading zero bytes change nothing.
//
// Tables: kTables[k][b] is the rest of byte b followed by k zero bytes, so eight bytes are eight look-ups.
//
// Multiply: 16 bytes are moved on over the next 16 by multiplying each half with a known power of x modulo P;
// the result is no longer than 16 bytes again. To have whole blocks only, the odd bytes are taken first, with
// zeros before them. Four blocks at a time hide the latency of the multiply in long messages. At the end, the
// last 16 bytes are divided by P with a precomputed reciprocal.
#include "base/crc64.h"

#include <array>
#include <bit>
#include <cstring>

#include "base/crc64_ways.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace kestrix {
namespace crc64_ways {
namespace {

constexpr std::uint64_t kPolynomial = 0x42F0E1EBA9EA3693;

constexpr std::uint64_t timesX(std::uint64_t rest) {
    return rest << 1 ^ (rest >> 63 ? kPolynomial : 0);
}

using Tables = std::array<std::array<std::uint64_t, 256>, 8>;

constexpr Tables makeTables() {
    Tables tables{};
    for (std::uint64_t byte = 0; byte < 256; ++byte) {
        std::uint64_t rest = byte << 56;
        for (int bit = 0; bit < 8; ++bit) {
            rest = timesX(rest);
        }
        tables[0][byte] = rest;
    }
    for (std::size_t k = 1; k < tables.size(); ++k) {
        for (std::size_t byte = 0; byte < 256; ++byte) {
            const std::uint64_t before = tables[k - 1][byte];
            tables[k][byte] = before << 8 ^ tables[0][before >> 56];
        }
    }
    return tables;
}

constexpr Tables kTables = makeTables();

std::uint64_t loadBigEndian(const unsigned char* data) {
    std::uint64_t value;
    std::memcpy(&value, data, sizeof value);
    return std::endian::native == std::endian::little ? __builtin_bswap64(value) : value;
}

}  // namespace

std::uint64_t byTables(std::uint64_t crc, const unsigned char* data, std::size_t length) {
    for (; length >= 8; length -= 8, data += 8) {
        const std::uint64_t word = crc ^ loadBigEndian(data);
        crc = kTables[7][word >> 56] ^ kTables[6][word >> 48 & 255] ^ kTables[5][word >> 40 & 255] ^
              kTables[4][word >> 32 & 255] ^ kTables[3][word >> 24 & 255] ^ kTables[2][word >> 16 & 255] ^
              kTables[1][word >> 8 & 255] ^ kTables[0][word & 255];
    }
    for (; length != 0; --length, ++data) {
        crc = crc << 8 ^ kTables[0][crc >> 56 ^ *data];
    }
    return crc;
}

#if defined(__x86_64__)
namespace {

#define KESTRIX_MULTIPLY __attribute__((target("pclmul,ssse3")))

// x^power modulo P.
constexpr std::uint64_t powerOfX(unsigned power) {
    std::uint64_t rest = 1;
    for (unsigned i = 0; i < power; ++i) {
        rest = timesX(rest);
    }
    return rest;
}

// x^128 divided by P, without the leading x^64.
constexpr std::uint64_t reciprocal() {
    std::uint64_t quotient = 0;
    std::uint64_t rest = kPolynomial;
    for (int bit = 0; bit < 64; ++bit) {
        quotient = quotient << 1 | rest >> 63;
        rest = timesX(rest);
    }
    return quotient;
}

// Byte shuffles out of one table: an index with the top bit set yields zero. kShuffle + 16 turns a block's
// bytes round, so that the first one becomes the highest; starting elsewhere also moves the block up or down.
alignas(16) constexpr std::array<unsigned char, 48> kShuffle = [] {
    std::array<unsigned char, 48> table{};
    for (std::size_t i = 0; i < table.size(); ++i) {
        table[i] = i >= 16 && i < 32 ? static_cast<unsigned char>(31 - i) : 0x80;
    }
    return table;
}();

KESTRIX_MULTIPLY inline __m128i load(const unsigned char* bytes) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

KESTRIX_MULTIPLY inline __m128i loadBlock(const unsigned char* data) {
    return _mm_shuffle_epi8(load(data), load(kShuffle.data() + 16));
}

// `block` moved on by the distance whose powers of x are given (high half: distance + 64).
KESTRIX_MULTIPLY inline __m128i moved(__m128i block, __m128i powers) {
    return _mm_xor_si128(_mm_clmulepi64_si128(block, powers, 0x00),
                         _mm_clmulepi64_si128(block, powers, 0x11));
}

template <unsigned distance>
KESTRIX_MULTIPLY inline __m128i powersFor() {
    constexpr std::uint64_t kHigh = powerOfX(distance + 64);
    constexpr std::uint64_t kLow = powerOfX(distance);
    return _mm_set_epi64x(static_cast<long long>(kHigh), static_cast<long long>(kLow));
}

// The rest of block times x^64.
KESTRIX_MULTIPLY inline std::uint64_t restOf(__m128i block) {
    constexpr std::uint64_t kHighPower = powerOfX(128);
    constexpr std::uint64_t kReciprocal = reciprocal();
    const __m128i constants =
        _mm_set_epi64x(static_cast<long long>(kHighPower), static_cast<long long>(kReciprocal));
    const __m128i polynomial = _mm_cvtsi64_si128(static_cast<long long>(kPolynomial));
    const __m128i sum = _mm_xor_si128(_mm_clmulepi64_si128(block, constants, 0x11), _mm_slli_si128(block, 8));
    const __m128i high = _mm_srli_si128(sum, 8);
    const __m128i quotient =
        _mm_xor_si128(high, _mm_srli_si128(_mm_clmulepi64_si128(high, constants, 0x00), 8));
    const __m128i rest = _mm_xor_si128(sum, _mm_clmulepi64_si128(quotient, polynomial, 0x00));
    return static_cast<std::uint64_t>(_mm_cvtsi128_si64(rest));
}

}  // namespace

bool canMultiply() {
    return __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("ssse3");
}

KESTRIX_MULTIPLY std::uint64_t byMultiply(std::uint64_t crc, const unsigned char* data, std::size_t length) {
    // 1 to 16 bytes first, so that only whole blocks follow. The incoming checksum lies on the first eight
    // bytes and may reach into the second block.
    const std::size_t odd = (length - 1) % 16 + 1;
    const unsigned char* const oddShuffle = kShuffle.data() + 16 - odd;
    const __m128i start = _mm_set_epi64x(0, static_cast<long long>(__builtin_bswap64(crc)));
    __m128i block = _mm_shuffle_epi8(_mm_xor_si128(load(data), start), load(oddShuffle + 16));
    const __m128i carried = _mm_shuffle_epi8(start, load(oddShuffle));
    data += odd;
    length -= odd;
    if (length == 0) return restOf(block);

    const __m128i byOne = powersFor<128>();
    block = _mm_xor_si128(moved(block, byOne), _mm_xor_si128(loadBlock(data), carried));
    data += 16;
    length -= 16;
    if (length >= 112) {
        const __m128i byFour = powersFor<512>();
        __m128i second = loadBlock(data);
        __m128i third = loadBlock(data + 16);
        __m128i fourth = loadBlock(data + 32);
        for (data += 48, length -= 48; length >= 64; data += 64, length -= 64) {
            block = _mm_xor_si128(moved(block, byFour), loadBlock(data));
            second = _mm_xor_si128(moved(second, byFour), loadBlock(data + 16));
            third = _mm_xor_si128(moved(third, byFour), loadBlock(data + 32));
            fourth = _mm_xor_si128(moved(fourth, byFour), loadBlock(data + 48));
        }
        block = _mm_xor_si128(moved(block, byOne), second);
        block = _mm_xor_si128(moved(block, byOne), third);
        block = _mm_xor_si128(moved(block, byOne), fourth);
    }
    for (; length != 0; data += 16, length -= 16) {
        block = _mm_xor_si128(moved(block, byOne), loadBlock(data));
    }
    return restOf(block);
}

#undef KESTRIX_MULTIPLY
#else
bool canMultiply() {
    return false;
}
std::uint64_t byMultiply(std::uint64_t crc, const unsigned char* data, std::size_t length) {
    return byTables(crc, data, length);
}
#endif

}  // namespace crc64_ways

std::uint64_t crc64_ecma182(std::uint64_t crc, const void* data, std::size_t length) {
    if (data == nullptr) return 0;
    const auto* bytes = static_cast<const unsigned char*>(data);
    if (length >= crc64_ways::kLeastForMultiply && crc64_ways::canMultiply()) {
        return crc64_ways::byMultiply(crc, bytes, length);
    }
    return crc64_ways::byTables(crc, bytes, length);
}

}  // namespace kestrix
