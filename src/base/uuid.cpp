#include "base/uuid.h"

#include <bit>
#include <cstring>
#include <random>

namespace kestrix {

namespace {

// xoshiro256**: 256 bits of state, so that many threads of many processes never meet.
class Generator {
  public:
    Generator() {
        std::random_device device;
        for (std::uint64_t& word : state_)
            word = std::uint64_t{device()} << 32 | device();
    }

    std::uint64_t next() {
        const std::uint64_t result = std::rotl(state_[1] * 5, 7) * 9;
        const std::uint64_t shifted = state_[1] << 17;
        state_[2] ^= state_[0];
        state_[3] ^= state_[1];
        state_[1] ^= state_[2];
        state_[0] ^= state_[3];
        state_[2] ^= shifted;
        state_[3] = std::rotl(state_[3], 45);
        return result;
    }

  private:
    std::array<std::uint64_t, 4> state_;
};

constexpr bool isDashAt(std::size_t position) {
    return position == 8 || position == 13 || position == 18 || position == 23;
}

constexpr std::size_t kTextLength = 36;

std::optional<std::uint8_t> digitValue(char digit) {
    if (digit >= '0' && digit <= '9') return static_cast<std::uint8_t>(digit - '0');
    if (digit >= 'a' && digit <= 'f') return static_cast<std::uint8_t>(digit - 'a' + 10);
    if (digit >= 'A' && digit <= 'F') return static_cast<std::uint8_t>(digit - 'A' + 10);
    return std::nullopt;
}

}  // namespace

Uuid Uuid::make() {
    thread_local Generator generator;
    const std::uint64_t words[] = {generator.next(), generator.next()};
    Uuid uuid;
    static_assert(sizeof words == sizeof uuid.bytes_);
    std::memcpy(uuid.bytes_.data(), words, sizeof words);
    uuid.bytes_[6] = static_cast<std::uint8_t>((uuid.bytes_[6] & 0x0F) | 0x40);  // version 4
    uuid.bytes_[8] = static_cast<std::uint8_t>((uuid.bytes_[8] & 0x3F) | 0x80);  // variant of RFC 4122
    return uuid;
}

std::optional<Uuid> Uuid::parse(std::string_view text) {
    if (text.size() != kTextLength) return std::nullopt;
    Uuid uuid;
    std::size_t digits = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (isDashAt(at)) {
            if (text[at] != '-') return std::nullopt;
            continue;
        }
        const auto value = digitValue(text[at]);
        if (!value) return std::nullopt;
        std::uint8_t& byte = uuid.bytes_[digits++ / 2];
        byte = static_cast<std::uint8_t>(byte << 4 | *value);
    }
    return uuid;
}

std::string Uuid::text() const {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string text;
    text.reserve(kTextLength);
    for (std::uint8_t byte : bytes_) {
        if (isDashAt(text.size())) text += '-';
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0x0F];
    }
    return text;
}

}  // namespace kestrix

// The bytes are random already: folding them is all the hashing they need.
std::size_t std::hash<kestrix::Uuid>::operator()(const kestrix::Uuid& uuid) const noexcept {
    std::uint64_t halves[2];
    std::memcpy(halves, uuid.bytes_.data(), sizeof halves);
    return static_cast<std::size_t>(halves[0] ^ halves[1]);
}
