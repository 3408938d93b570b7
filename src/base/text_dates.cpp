#include "base/text_dates.h"

#include <unicode/udat.h>
#include <unicode/ustring.h>

#include <algorithm>

namespace kestrix::text {

struct ShortDates::State {
    UDateFormat* format = nullptr;

    State() {
        UErrorCode status = U_ZERO_ERROR;
        format = udat_open(UDAT_SHORT, UDAT_SHORT, nullptr, nullptr, -1, nullptr, 0, &status);
        if (U_FAILURE(status)) format = nullptr;
    }
    ~State() { udat_close(format); }
    State(const State&) = delete;
    State& operator=(const State&) = delete;
};

ShortDates::ShortDates() = default;
ShortDates::~ShortDates() = default;

std::string ShortDates::shortDateAndTime(std::int64_t secondsSince1970) {
    if (secondsSince1970 == 0) return {};
    if (!state_) state_ = std::make_unique<State>();
    if (!state_->format) return {};
    constexpr int kLongest = 120;
    UChar wide[kLongest];
    UErrorCode status = U_ZERO_ERROR;
    const UDate date = static_cast<UDate>(secondsSince1970) * 1000;
    const std::int32_t length = udat_format(state_->format, date, wide, kLongest, nullptr, &status);
    if (U_FAILURE(status)) return {};
    char narrow[kLongest * 3];
    std::int32_t bytes = 0;
    u_strToUTF8(narrow, sizeof narrow, &bytes, wide, length, &status);
    if (U_FAILURE(status)) return {};
    std::string text(narrow, static_cast<std::size_t>(bytes));
    std::replace(text.begin(), text.end(), ',', ' ');
    return text;
}

}  // namespace kestrix::text
