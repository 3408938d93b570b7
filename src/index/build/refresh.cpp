// When a catalog is brought up to date of its own accord.
#include <chrono>
#include <cmath>

#include "base/calendar.h"
#include "index/content_index.h"
#include "shell/preferences.h"

namespace kestrix {

namespace {

// A stored date may be any number; one that is not near now is not today.
bool isToday(double lastUpdated, WallTime now) {
    if (std::abs(lastUpdated - secondsSince2001(now)) > 2.0 * 86'400) return false;
    return sameLocalDay(static_cast<std::int64_t>(std::floor(lastUpdated)) + kSecondsFrom1970To2001,
                        secondsSince1970(now));
}

}  // namespace

// The age counts in both directions: after a clock was set back, a date that lies ahead stops a catalog for
// no longer than its interval, and the refresh then stores a date of this clock.
bool ContentIndex::isDue(CachingUpdatesTag tag) {
    if (tag == CachingUpdatesTag::appRestart) return !hasBeenUpdated_.exchange(true);
    const auto interval = secondsOf(tag);
    if (!interval) return false;
    const double lastUpdated = documentInfo().lastUpdated;
    const WallTime now = environment_.clock.now();
    if (tag == CachingUpdatesTag::day && !isToday(lastUpdated, now)) return true;
    return std::abs(secondsSince2001(now) - lastUpdated) > static_cast<double>(*interval);
}

// The setting counts once a user has chosen a value: a fresh installation refreshes no catalog by itself.
std::optional<CachingUpdatesTag> ContentIndex::intervalTag() const {
    constexpr const char* kSetting = "updateCachesEvery";
    const CachingUpdatesTag own = updatesEvery();
    if (own != CachingUpdatesTag::defaultTiming) return own;
    if (!environment_.preferences.hasStoredValue(kSetting)) return std::nullopt;
    return cachingUpdatesTagOf(environment_.preferences.integer(kSetting));
}

bool ContentIndex::scheduleRefreshIfNeeded() {
    if (!environment_.preferences.boolean("diskCatalogCaching")) return false;
    if (state_ != ContentIndexLMDBState::none || !environment_.startRefresh) return false;
    const auto tag = intervalTag();
    if (!tag || !isDue(*tag)) return false;
    environment_.startRefresh([self = shared_from_this()] { self->refresh(false); });
    return true;
}

void ContentIndex::setShouldDoATimedRefresh(bool should) {
    using enum ContentIndexLMDBState;
    ContentIndexLMDBState before = should ? none : waitingToBuild;
    state_.compare_exchange_strong(before, should ? waitingToBuild : none);
}

ContentIndex::BuildOutcome ContentIndex::refresh(bool userInitiated) {
    const auto target = targetURL();
    const bool mayBuild = state_ != ContentIndexLMDBState::building && !environment_.buildsEnd;
    // A file that has gone was removed by another process, and is not made again.
    if (!target || !mayBuild || cacheSizeOnDisk() == 0 || !isTargetMounted()) return {};
    BuildOutcome outcome;
    try {
        loadDocumentInfo();  // another process may have built since
        outcome = build({*target}, userInitiated, documentInfo().lastIndexMode);
    } catch (const Error& error) {
        tell(error);
        outcome.fault = error.what();
    }
    if (environment_.refreshed) environment_.refreshed(*this, outcome);
    return outcome;
}

}  // namespace kestrix
