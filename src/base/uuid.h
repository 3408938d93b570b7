// Random identifiers (RFC 4122, version 4).
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kestrix {

// A value; a default-made one is all zero. Threads: any.
class Uuid {
  public:
    Uuid() = default;

    // A fresh one. Costs a few nanoseconds: each thread draws from a generator of its own that is seeded by
    // the system once, so these identify, but keep no secret.
    static Uuid make();

    // Reads the 36-character text form, in either case; nothing for any other text.
    static std::optional<Uuid> parse(std::string_view text);

    // "XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX" in upper case.
    std::string text() const;

    auto operator<=>(const Uuid&) const = default;

  private:
    std::array<std::uint8_t, 16> bytes_{};
    friend struct std::hash<Uuid>;
};

}  // namespace kestrix

template <>
struct std::hash<kestrix::Uuid> {
    std::size_t operator()(const kestrix::Uuid& uuid) const noexcept;
};
