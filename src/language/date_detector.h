// Dates written in one word, or in one phrase in quotes.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "language/calendar_units.h"

namespace kestrix {

enum class DateOrder { dayFirst, monthFirst };

// Reads the usual English and ISO forms:
//
//     2016-03-05   2016/03/05   2016.3.5   2016-03-05T14:30   2016-03-05T14:30:15Z   ...+01:00
//     5.3.2016     5/3/2016     5-3-2016   5/3/16             (the order of / and - is the locale's)
//     5-mar-2016   march-5-2016   "5 march 2016"   "march 5th, 2016"   "sat, 5 mar 2016"   "2016 march 5"
//
// A date without a time is local midnight; one with a time but no zone is local. Where the order of the
// locale gives no date but the other does (25/3/2016), the other is meant. Years of two digits lie between
// 1970 and 2069. No year, no date: what "5 march" means is for the sentences to say. A day that the calendar
// does not have is no date.
class DateDetector {
  public:
    // The dates of the text, which must be in lower case and nothing but a date: none or one.
    static std::vector<std::int64_t> simpleDatesInString(std::string_view text);
    static std::vector<std::int64_t> simpleDatesInString(std::string_view text, DateOrder order);
};

}  // namespace kestrix
