// Code points as they are compared where accents do not matter: canonically decomposed, nonspacing marks
// (category Mn) dropped, and, on wish, case folded. For the text*.cpp files alone.
#pragma once

#include <unicode/umachine.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <vector>

namespace kestrix::text {

// Asking ICU costs a tenth of a microsecond a code point, so answers are kept in pages of 256 code points,
// each worked out when one of its code points is first met and kept for the life of the process: a text in
// one script fills one to three. Threads: any.
class AccentFolds {
  public:
    // The table that folds case, and the one that does not.
    static AccentFolds& of(bool ignoreCase);

    // What a code point is compared as: kDropped; a code point; or, with kMore, the first of several,
    // which `all` gives.
    static constexpr std::uint32_t kDropped = 0x1F'FFFF;  // above all code points
    static constexpr std::uint32_t kMore = 0x8000'0000;
    std::uint32_t first(UChar32 codePoint) {
        const auto value = static_cast<std::uint32_t>(codePoint);
        const Page* page = pages_[value / kPage].load(std::memory_order_acquire);
        if (!page) page = makePage(value / kPage);
        return (*page)[value % kPage];
    }

    // Empty for one that is dropped.
    std::vector<std::uint32_t> all(UChar32 codePoint) const;

  private:
    static constexpr std::uint32_t kPage = 256;
    using Page = std::array<std::uint32_t, kPage>;

    explicit AccentFolds(bool ignoreCase) : ignoreCase_(ignoreCase) {}
    const Page* makePage(std::uint32_t number);

    bool ignoreCase_;
    std::array<std::atomic<const Page*>, 0x110000 / kPage> pages_{};
};

}  // namespace kestrix::text
