// Bounds-safe reading and writing of byte buffers. Fixed-width values are in native (little-endian) order.
#pragma once

#include <cstddef>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

namespace kestrix {

// The bytes from `begin` up to `end`, or nothing if that range does not lie inside the buffer.
std::optional<std::string_view> subdata_safe(std::string_view bytes, std::size_t begin, std::size_t end);

// Reads a value at `offset` and moves the offset behind it; nothing, with the offset unchanged, if the buffer
// ends before it.
template <typename T>
std::optional<T> safeValueAndIncrement(std::string_view bytes, std::size_t& offset) {
    static_assert(std::is_integral_v<T>);
    if (offset > bytes.size() || bytes.size() - offset < sizeof(T)) return std::nullopt;
    T value;
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    offset += sizeof value;
    return value;
}

template <typename T>
void appendValue(std::string& bytes, T value) {
    static_assert(std::is_integral_v<T>);
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

// Two lowercase hexadecimal digits a byte.
std::string hexString(std::string_view bytes);

}  // namespace kestrix
