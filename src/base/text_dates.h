// Dates in the short form of the user's locale.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace kestrix::text {

// One thread. Costs nothing until it is first asked; from then on some ten nanoseconds for a day that was
// asked for lately and a microsecond for another.
class ShortDates {
  public:
    // Of the locale that the environment names for times.
    ShortDates();
    // Of an ICU locale; empty: ICU's default.
    explicit ShortDates(std::string locale);
    ~ShortDates();

    // Appends local date and time in the locale's short styles, each comma replaced by a blank. Nothing for
    // 0, not known, and for times beyond all calendars.
    void appendShortDateAndTime(std::string& text, std::int64_t secondsSince1970);

  private:
    class State;
    std::string locale_;
    std::unique_ptr<State> state_;
};

}  // namespace kestrix::text
