// Keeps files by one of their dates.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "base/clock.h"
#include "language/command.h"

namespace kestrix {

enum class WhenType { ever, now, recent, today, yesterday, tomorrow, specificDay, dateRange };

// When something happened. A value. All moments are whole seconds since 1970.
struct DateCommandWhen {
    WhenType when = WhenType::ever;
    std::optional<std::int64_t> specificDay;  // set for `specificDay`
    std::optional<NumberRange> dateRange;     // set for `dateRange`

    static DateCommandWhen day(std::int64_t moment);
    static DateCommandWhen range(NumberRange range);
    bool operator==(const DateCommandWhen&) const = default;

    // The range at this moment: "recent" moves on with the clock. A day has 86,400 seconds here, also when
    // clocks are changed within it.
    NumberRange timeIntervalDateRange(const Clock& clock) const;

    // Its name, or its dates in a form that a line can hold: "today", "2016-03-05", "2016-01-01 2017-01-01".
    std::string toString() const;
};

enum class DateCommandWhat { modificationDate, creationDate, accessDate };

// Accepts files whose date lies in the range, the upper end not included.
class DateCommand : public Command {
  public:
    // The clock outlives the command.
    DateCommand(const Clock& clock, DateCommandWhen when, DateCommandWhat what)
        : clock_(clock), when_(when), what_(what) {}

    const DateCommandWhen& when() const { return when_; }
    DateCommandWhat what() const { return what_; }

    std::string_view className() const override { return "DateCommand"; }
    std::string commandToString() const override;
    std::string commandExample() const override;
    // when (the name), range ([from, to] worked out now), what
    nlohmann::json explainedFields() const override;
    CommandApplyResult commandImpApply(SearchResult&, SearchDataSourceDelegate*,
                                       const QueryContainer&) override;
    void commandImpQuerySearchArguments(QuerySearchArguments&) const override;
    std::shared_ptr<Command> copy() const override { return std::make_shared<DateCommand>(*this); }

  private:
    const Clock& clock_;
    DateCommandWhen when_;
    DateCommandWhat what_;
};

}  // namespace kestrix
