// Dates in the short form of the user's locale.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace kestrix::text {

// One thread. Costs nothing until it is first asked; about a microsecond a date from then on.
class ShortDates {
  public:
    ShortDates();
    ~ShortDates();

    // Date and time in the locale's short styles, each comma replaced by a blank. Empty for 0, not known.
    std::string shortDateAndTime(std::int64_t secondsSince1970);

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace kestrix::text
