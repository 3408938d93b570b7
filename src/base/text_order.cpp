// A key is the collator's sort key with its closing zero byte, and then the text itself. Sort keys hold no
// other zero byte, so one never runs into the other, and texts that people take for equal ("a" and "A") are
// still in a fixed order.
#include <unicode/ucol.h>
#include <unicode/ustring.h>

#include <array>
#include <cstring>
#include <memory>
#include <string>

#include "base/text.h"
#include "base/text_locale.h"

namespace kestrix::text {
namespace {

// Only so much of a text is given to the collator; behind it the bytes decide. No name is near it.
constexpr std::size_t kLongestCollated = 1 << 16;

struct CloseCollator {
    void operator()(UCollator* collator) const { ucol_close(collator); }
};
using Collator = std::unique_ptr<UCollator, CloseCollator>;

Collator openCollator() {
    UErrorCode status = U_ZERO_ERROR;
    Collator collator(ucol_open(userLocale("LC_COLLATE").c_str(), &status));
    if (U_FAILURE(status)) return nullptr;
    ucol_setAttribute(collator.get(), UCOL_NUMERIC_COLLATION, UCOL_ON, &status);
    ucol_setStrength(collator.get(), UCOL_SECONDARY);
    return U_SUCCESS(status) ? std::move(collator) : nullptr;
}

// The calling thread's own, since a collator serves one thread at a time; cloning is far cheaper than
// opening. Null where ICU finds no data: then the bytes alone decide.
const UCollator* threadCollator() {
    static const Collator kFirst = openCollator();
    thread_local const Collator kOwn = []() -> Collator {
        if (!kFirst) return nullptr;
        UErrorCode status = U_ZERO_ERROR;
        Collator clone(ucol_clone(kFirst.get(), &status));
        return U_SUCCESS(status) ? std::move(clone) : nullptr;
    }();
    return kOwn.get();
}

// Code units of a text in UTF-16, on the stack where they fit. Never more of them than bytes.
class Utf16 {
  public:
    explicit Utf16(std::string_view text) {
        text = text.substr(0, kLongestCollated);
        if (text.size() > onStack_.size()) onHeap_.resize(text.size());
        UErrorCode status = U_ZERO_ERROR;
        u_strFromUTF8WithSub(data(), static_cast<int32_t>(text.size()), &length_, text.data(),
                             static_cast<int32_t>(text.size()), 0xFFFD, nullptr, &status);
        if (U_FAILURE(status)) length_ = 0;
    }
    const UChar* units() const { return onHeap_.empty() ? onStack_.data() : onHeap_.data(); }
    int32_t length() const { return length_; }

  private:
    UChar* data() { return onHeap_.empty() ? onStack_.data() : onHeap_.data(); }

    std::array<UChar, 512> onStack_;
    std::u16string onHeap_;
    int32_t length_ = 0;
};

}  // namespace

std::string collationKey(std::string_view text) {
    std::string key;
    if (const UCollator* collator = threadCollator()) {
        const Utf16 units(text);
        std::array<std::uint8_t, 512> buffer;
        const int32_t length = ucol_getSortKey(collator, units.units(), units.length(), buffer.data(),
                                               static_cast<int32_t>(buffer.size()));
        const auto size = static_cast<std::size_t>(length);
        key.reserve(size + text.size());
        key.resize(size);
        if (size <= buffer.size()) {
            std::memcpy(key.data(), buffer.data(), size);
        } else {
            ucol_getSortKey(collator, units.units(), units.length(),
                            reinterpret_cast<std::uint8_t*>(key.data()), length);
        }
    }
    key += text;
    return key;
}

int naturalCompare(std::string_view a, std::string_view b) {
    const UCollator* collator = threadCollator();
    if (collator != nullptr && a != b) {
        const Utf16 unitsOfA(a);
        const Utf16 unitsOfB(b);
        const UCollationResult order =
            ucol_strcoll(collator, unitsOfA.units(), unitsOfA.length(), unitsOfB.units(), unitsOfB.length());
        if (order != UCOL_EQUAL) return order == UCOL_LESS ? -1 : 1;
    }
    return a.compare(b);
}

}  // namespace kestrix::text
