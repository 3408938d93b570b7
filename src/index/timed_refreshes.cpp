#include "index/timed_refreshes.h"

#include <charconv>
#include <nlohmann/json.hpp>
#include <optional>

#include "base/calendar.h"
#include "shell/logger.h"
#include "shell/preferences.h"

namespace kestrix {

namespace {

constexpr const char* kEnabled = "fileContentCachingTimeUpdatesEnabled";
constexpr const char* kTime = "fileContentCachingUpdateTime";
constexpr const char* kLastTime = "fileContentCachingUpdateLastTime";

int minuteOfDay(std::int64_t moment) {
    const LocalTime time = localTime(moment);
    return time.hour * 60 + time.minute;
}

// "03:30"
std::optional<int> minuteOfDay(const std::string& text) {
    const std::size_t colon = text.find(':');
    if (colon == std::string::npos) return std::nullopt;
    int hour = -1, minute = -1;
    const char* const end = text.data() + text.size();
    const auto first = std::from_chars(text.data(), text.data() + colon, hour);
    const auto second = std::from_chars(text.data() + colon + 1, end, minute);
    const bool isWhole = first.ptr == text.data() + colon && second.ptr == end;
    if (!isWhole || hour < 0 || hour > 23 || minute < 0 || minute > 59) return std::nullopt;
    return hour * 60 + minute;
}

std::optional<int> minuteThatIsSet(const Preferences& preferences) {
    const auto value = preferences.value(kTime);
    if (!value) return std::nullopt;
    if (value->is_string()) return minuteOfDay(value->get<std::string>());
    if (value->is_number()) return minuteOfDay(static_cast<std::int64_t>(value->get<double>()));
    return std::nullopt;
}

}  // namespace

TimedRefreshes::TimedRefreshes(Preferences& preferences, Clock& clock, MainQueue& mainQueue, Indexes indexes)
    : preferences_(preferences), clock_(clock), mainQueue_(mainQueue), indexes_(std::move(indexes)) {}

void TimedRefreshes::start() {
    tick();
}

void TimedRefreshes::tick() {
    if (stopped_) return;
    startScheduldedRefreshIfNeeded();
    performNext();
    mainQueue_.postAfter(kPeriod, [weak = weak_from_this()] {
        if (const auto self = weak.lock()) self->tick();
    });
}

void TimedRefreshes::startScheduldedRefreshIfNeeded() {
    if (!preferences_.boolean(kEnabled) || timedRefreshCurrentIndex_ || !timedRefreshIndexes_.empty()) return;
    const std::int64_t now = secondsSince1970(clock_.now());
    const std::optional<int> wanted = minuteThatIsSet(preferences_);
    if (!wanted || minuteOfDay(now) != *wanted) return;
    const std::int64_t last = preferences_.integer(kLastTime);
    if (last / 60 == now / 60) return;
    try {
        preferences_.set(kLastTime, now);
    } catch (const Error& error) {
        LogFunc(error.what());  // the pass may come again within this minute
    }
    timedRefreshIndexes_ = indexes_();
    for (const auto& index : timedRefreshIndexes_)
        index->setShouldDoATimedRefresh(true);
}

void TimedRefreshes::performNext() {
    if (stopped_ || timedRefreshIndexes_.empty()) return;
    if (timedRefreshCurrentIndex_) return;
    timedRefreshCurrentIndex_ = timedRefreshIndexes_.front();
    timedRefreshIndexes_.erase(timedRefreshIndexes_.begin());
    operations_.add([this, index = timedRefreshCurrentIndex_, weak = weak_from_this()] {
        index->setShouldDoATimedRefresh(false);
        index->refresh(false);
        mainQueue_.post([weak] {
            const auto self = weak.lock();
            if (!self) return;
            self->timedRefreshCurrentIndex_.reset();
            self->performNext();
        });
    });
}

void TimedRefreshes::stop() {
    stopped_ = true;
}

}  // namespace kestrix
