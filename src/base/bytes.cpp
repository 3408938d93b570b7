#include "base/bytes.h"

namespace kestrix {

std::optional<std::string_view> subdata_safe(std::string_view bytes, std::size_t begin, std::size_t end) {
    if (begin > end || end > bytes.size()) return std::nullopt;
    return bytes.substr(begin, end - begin);
}

std::string hexString(std::string_view bytes) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string digits(bytes.size() * 2, '0');
    char* out = digits.data();
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        *out++ = kDigits[value >> 4];
        *out++ = kDigits[value & 15];
    }
    return digits;
}

}  // namespace kestrix
