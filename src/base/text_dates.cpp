// A list of a million files holds two million dates, and ICU takes a microsecond for each. But there are few
// days in it, and only 1440 minutes in a day: the text of each is made once, and a date and time is two of
// them with what the locale puts between. Days and minutes are counted in local time and formatted as if they
// were Greenwich's, so that the zone is asked in one way in the whole program.
#include "base/text_dates.h"

#include <unicode/udat.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

#include "base/calendar.h"
#include "base/text_locale.h"

namespace kestrix::text {
namespace {

constexpr std::int64_t kMinute = 60;
constexpr std::int64_t kDay = 86'400;
constexpr std::size_t kMinutesOfDay = 1440;
constexpr std::size_t kDaysKept = 4096;  // eleven years in a row
// Farther than this ICU's calendars do not reach.
constexpr std::int64_t kFarthest = 180'000'000'000'000;

class Format {
  public:
    Format(const std::string& locale, UDateFormatStyle time, UDateFormatStyle date) {
        UErrorCode status = U_ZERO_ERROR;
        format_ =
            udat_open(time, date, locale.empty() ? nullptr : locale.c_str(), u"GMT", -1, nullptr, 0, &status);
        if (U_FAILURE(status)) format_ = nullptr;
    }
    Format(const Format&) = delete;
    Format& operator=(const Format&) = delete;
    ~Format() { udat_close(format_); }

    std::string operator()(std::int64_t seconds) const {
        if (!format_) return {};
        constexpr int kLongest = 120;
        UChar wide[kLongest];
        UErrorCode status = U_ZERO_ERROR;
        const UDate date = static_cast<UDate>(seconds) * 1000;
        const std::int32_t length = udat_format(format_, date, wide, kLongest, nullptr, &status);
        char narrow[kLongest * 3];
        std::int32_t bytes = 0;
        u_strToUTF8(narrow, sizeof narrow, &bytes, wide, length, &status);
        if (U_FAILURE(status)) return {};
        std::string text(narrow, static_cast<std::size_t>(bytes));
        std::replace(text.begin(), text.end(), ',', ' ');
        return text;
    }

  private:
    UDateFormat* format_ = nullptr;
};

}  // namespace

class ShortDates::State {
  public:
    explicit State(const std::string& locale)
        : both_(locale, UDAT_SHORT, UDAT_SHORT),
          dateOnly_(locale, UDAT_NONE, UDAT_SHORT),
          timeOnly_(locale, UDAT_SHORT, UDAT_NONE) {
        learnOrder();
    }

    // `local` as if it were Greenwich's.
    void append(std::string& text, std::int64_t local) {
        if (order_ == Order::neither) {
            text += both_(local);
            return;
        }
        const std::int64_t day = local / kDay - (local % kDay < 0 ? 1 : 0);
        const std::string& date = dateOf(day);
        const std::string& time = timeOf(static_cast<std::size_t>((local - day * kDay) / kMinute));
        text += order_ == Order::dateFirst ? date : time;
        text += between_;
        text += order_ == Order::dateFirst ? time : date;
    }

  private:
    enum class Order { neither, dateFirst, timeFirst };
    struct KnownDay {
        std::int64_t day = INT64_MIN;
        std::string text;
    };

    // Learned from one moment and tried on others: one in each half of day and year, and one of another era.
    void learnOrder() {
        constexpr std::int64_t kLearned = 1'456'753'500;
        const std::string whole = both_(kLearned), date = dateOnly_(kLearned), time = timeOnly_(kLearned);
        if (date.empty() || time.empty() || whole.size() < date.size() + time.size()) return;
        Order order = Order::neither;
        if (whole.starts_with(date) && whole.ends_with(time)) order = Order::dateFirst;
        if (whole.starts_with(time) && whole.ends_with(date)) order = Order::timeFirst;
        const std::string& first = order == Order::dateFirst ? date : time;
        between_ = whole.substr(first.size(), whole.size() - date.size() - time.size());
        order_ = order;
        for (const std::int64_t tried : {944'039'100LL, 1'752'537'599LL, 86'400LL, -3'000'000'000LL}) {
            std::string joined;
            append(joined, tried);
            if (joined != both_(tried)) order_ = Order::neither;
        }
    }

    const std::string& dateOf(std::int64_t day) {
        KnownDay& known = days_[static_cast<std::size_t>(day) % kDaysKept];
        if (known.day != day) known = {day, dateOnly_(day * kDay)};
        return known.text;
    }

    const std::string& timeOf(std::size_t minute) {
        std::string& text = minutes_[minute];
        if (text.empty()) text = timeOnly_(static_cast<std::int64_t>(minute) * kMinute);
        return text;
    }

    Format both_;
    Format dateOnly_;
    Format timeOnly_;
    Order order_ = Order::neither;
    std::string between_;
    std::vector<KnownDay> days_ = std::vector<KnownDay>(kDaysKept);
    std::array<std::string, kMinutesOfDay> minutes_;
};

ShortDates::ShortDates() : ShortDates(userLocale("LC_TIME")) {}
ShortDates::ShortDates(std::string locale) : locale_(std::move(locale)) {}
ShortDates::~ShortDates() = default;

void ShortDates::appendShortDateAndTime(std::string& text, std::int64_t secondsSince1970) {
    if (secondsSince1970 == 0) return;
    if (secondsSince1970 < -kFarthest || secondsSince1970 > kFarthest) return;
    if (!state_) state_ = std::make_unique<State>(locale_);
    state_->append(text, localSeconds(secondsSince1970));
}

}  // namespace kestrix::text
