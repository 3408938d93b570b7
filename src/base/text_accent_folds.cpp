#include "base/text_accent_folds.h"

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <memory>

namespace kestrix::text {

AccentFolds& AccentFolds::of(bool ignoreCase) {
    // Never freed: threads may still search when the program ends.
    static AccentFolds* const kTables[] = {new AccentFolds(false), new AccentFolds(true)};
    return *kTables[ignoreCase ? 1 : 0];
}

std::vector<std::uint32_t> AccentFolds::all(UChar32 codePoint) const {
    static const icu::Normalizer2* const kNfd = [] {
        UErrorCode status = U_ZERO_ERROR;
        return icu::Normalizer2::getNFDInstance(status);
    }();
    icu::UnicodeString decomposed;
    if (!kNfd || !kNfd->getDecomposition(codePoint, decomposed)) decomposed.setTo(codePoint);
    std::vector<std::uint32_t> folded;
    for (std::int32_t at = 0; at < decomposed.length(); at = decomposed.moveIndex32(at, 1)) {
        const UChar32 one = decomposed.char32At(at);
        if (u_charType(one) == U_NON_SPACING_MARK) continue;
        folded.push_back(
            static_cast<std::uint32_t>(ignoreCase_ ? u_foldCase(one, U_FOLD_CASE_DEFAULT) : one));
    }
    return folded;
}

// Two threads may make the same page; the first one's is kept.
const AccentFolds::Page* AccentFolds::makePage(std::uint32_t number) {
    auto page = std::make_unique<Page>();
    for (std::uint32_t i = 0; i < kPage; ++i) {
        const auto folded = all(static_cast<UChar32>(number * kPage + i));
        (*page)[i] = folded.empty() ? kDropped : folded[0] | (folded.size() > 1 ? kMore : 0);
    }
    const Page* known = nullptr;
    if (pages_[number].compare_exchange_strong(known, page.get(), std::memory_order_acq_rel))
        known = page.release();
    return known;
}

}  // namespace kestrix::text
