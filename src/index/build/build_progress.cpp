#include "index/build/build_progress.h"

#include <fmt/format.h>

namespace kestrix {

namespace {

std::string grouped(std::int64_t count) {
    std::string digits = std::to_string(count);
    for (std::size_t at = digits.size(); at > 3;) {
        at -= 3;
        digits.insert(at, 1, ',');
    }
    return digits;
}

void describe(ActivityItem::Texts& texts, std::int64_t files, std::optional<std::int64_t> expected) {
    texts.leftText = fmt::format("Cached {} items.", files);
    texts.rightText = grouped(files) + " files";
    texts.completedUnitCount = files;
    texts.currentItemPercentage.reset();
    if (!expected || *expected < 1) return;
    const auto percent =
        static_cast<std::int64_t>(static_cast<double>(files) / static_cast<double>(*expected) * 100);
    if (percent > 100) return;
    texts.currentItemPercentage = static_cast<int>(percent);
    texts.leftText = fmt::format("Cached {} of {} items. {}%.", files, *expected, percent);
    texts.rightText = fmt::format("{} files/{}%", grouped(files), percent);
}

}  // namespace

BuildProgress::BuildProgress(ActivityController* activities, Clock& clock, const std::string& catalogName,
                             std::optional<std::int64_t> expected, std::function<void()> cancel)
    : activities_(activities), clock_(clock), expected_(expected), lastTold_(clock.steadyNow()) {
    if (!activities_) return;
    ActivityItem::Options options;
    options.image = ActivityItem::Image::cache;
    options.cancelFunc = [cancel = std::move(cancel)](ActivityItem&) { cancel(); };
    item_ = activities_->begin("Caching \"" + catalogName + "\"", "", std::move(options));
    item_->change([&](ActivityItem::Texts& texts) { texts.totalUnitCount = expected_; });
}

BuildProgress::~BuildProgress() {
    if (item_) activities_->remove(item_->id());
}

void BuildProgress::seen(std::int64_t files) {
    if (item_ && clock_.steadyNow() - lastTold_ >= kInterval) tell(files);
}

void BuildProgress::tell(std::int64_t files) {
    if (!item_) return;
    lastTold_ = clock_.steadyNow();
    item_->change([&](ActivityItem::Texts& texts) { describe(texts, files, expected_); });
    activities_->save(item_);
}

}  // namespace kestrix
