// Makes date commands from what the sentences say about time.
#pragma once

#include "language/commands/date_command.h"

namespace kestrix {

// Its values are a DateCommandWhat (or the flag `what`, or else the modification date), months, years, days
// and counts as `int`, a CalendarUnit, and DateCommandWhen for dates as written.
//
// Which year a month without one belongs to is worked out when the command is made: a date that lies ahead is
// moved one year back, so that a month alone is always the last such month. The end of a period is moved only
// together with its start or when the period stays one: in November, "november" goes on to its end, and "in
// 2026" ends with that year.
//
// Flags that sentences may set:
//     what=modified|created|accessed
//     from=start      "since 2016" begins with that year, where "after 2016" begins behind it
//     to=through      of two dates the second is the last day of the range, not the first behind it
//     order=month     "march 5": the month comes before the day
class DateCommandCreator : public CommandFactory {
  public:
    // The clock outlives the factory and all its commands.
    explicit DateCommandCreator(const Clock& clock) : clock_(clock) {}

    std::vector<std::string> commandNames() const override;
    // Also nullptr for values of which the calendar makes no range: 31 February, 2012 to 2010.
    std::shared_ptr<Command> create(const std::string& commandName, const CommandArguments& args,
                                    const CommandFlags& flags) const override;

  private:
    const Clock& clock_;
};

}  // namespace kestrix
