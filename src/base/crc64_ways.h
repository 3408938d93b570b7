// The two ways in which crc64.cpp computes the same checksum, apart so that tests and benchmarks reach both.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kestrix::crc64_ways {

// With tables, eight bytes a step: any machine, any length.
std::uint64_t byTables(std::uint64_t crc, const unsigned char* data, std::size_t length);

// With the carry-less multiply of the processor, where it has one.
inline constexpr std::size_t kLeastForMultiply = 16;
bool canMultiply();
// Needs canMultiply() and at least kLeastForMultiply bytes.
std::uint64_t byMultiply(std::uint64_t crc, const unsigned char* data, std::size_t length);

}  // namespace kestrix::crc64_ways
