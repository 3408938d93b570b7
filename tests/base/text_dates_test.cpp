#include "base/text_dates.h"

#include <gtest/gtest.h>
#include <time.h>
#include <unicode/udat.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <cstdlib>
#include <random>

namespace kestrix::text {
namespace {

std::string shortDate(ShortDates& dates, std::int64_t seconds) {
    std::string text;
    dates.appendShortDateAndTime(text, seconds);
    return text;
}

class ShortDatesTest : public testing::Test {
  protected:
    ShortDatesTest() {
        ::setenv("TZ", "UTC", 1);
        ::tzset();
    }
};

TEST_F(ShortDatesTest, HoldNoCommaAndNothingForWhatIsNotKnown) {
    ShortDates dates("en_GB");
    EXPECT_EQ(shortDate(dates, 1'456'753'500), "29/02/2016  13:45");
    EXPECT_EQ(shortDate(dates, 1'456'704'000), "29/02/2016  00:00");
    EXPECT_EQ(shortDate(dates, -1), "31/12/1969  23:59");
    EXPECT_EQ(shortDate(dates, 0), "");
    EXPECT_EQ(shortDate(dates, std::numeric_limits<std::int64_t>::min()), "");
}

TEST_F(ShortDatesTest, EveryLocaleIsAsTheLibraryWritesIt) {
    std::mt19937_64 random(1);
    for (std::int32_t i = 0; i < udat_countAvailable(); ++i) {
        const char* locale = udat_getAvailable(i);
        UErrorCode status = U_ZERO_ERROR;
        UDateFormat* format = udat_open(UDAT_SHORT, UDAT_SHORT, locale, u"GMT", -1, nullptr, 0, &status);
        ShortDates dates(locale);
        for (int time = 0; time < 20; ++time) {
            const auto seconds = static_cast<std::int64_t>(random() % 8'000'000'000) - 3'000'000'000;
            UChar wide[200];
            const auto length =
                udat_format(format, static_cast<double>(seconds) * 1000, wide, 200, nullptr, &status);
            std::string expected;
            icu::UnicodeString(wide, length).toUTF8String(expected);
            std::replace(expected.begin(), expected.end(), ',', ' ');
            EXPECT_EQ(shortDate(dates, seconds), expected) << locale << ' ' << seconds;
        }
        udat_close(format);
    }
}

}  // namespace
}  // namespace kestrix::text
