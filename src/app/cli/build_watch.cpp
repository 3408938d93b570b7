#include "app/cli/build_watch.h"

#include <fmt/format.h>

#include <cmath>

namespace kestrix::cli {

namespace {

constexpr Seconds kProgressDelay = Seconds(0.3);
constexpr Seconds kProgressInterval = Seconds(0.2);

double secondsSince(SteadyTime started, Clock& clock) {
    return Seconds(clock.steadyNow() - started).count();
}

std::string timeText(double seconds) {
    const auto whole = std::llround(seconds);
    return whole < 60 ? fmt::format("{} s", whole) : fmt::format("{}:{:02} min", whole / 60, whole % 60);
}

// "12,345 files/41%, 60000 files a second, 3 s left"
std::string progressText(const ActivityItem::Texts& texts, double seconds) {
    const auto files = static_cast<double>(texts.completedUnitCount.value_or(0));
    std::string text = texts.rightText.empty() ? texts.leftText : texts.rightText;
    if (files < 1 || seconds <= 0) return text;
    const double rate = files / seconds;
    text += fmt::format(", {:.0f} files a second", rate);
    const auto total = static_cast<double>(texts.totalUnitCount.value_or(0));
    if (total > files) text += ", " + timeText((total - files) / rate) + " left";
    return text;
}

}  // namespace

BuildWatch::BuildWatch(CommandContext& context)
    : context_(context), interrupts_([this](int signal) { interrupted(signal); }) {}

// On the watcher's thread; the list of catalogs is the main thread's to make. All builds end with this one,
// so that a signal is not lost that comes before the build has begun.
void BuildWatch::interrupted(int signal) {
    interruptedBy_ = signal;
    context_.application.mainQueue().post(
        [&application = context_.application] { application.catalogs().cancelAll(); });
}

std::optional<int> BuildWatch::interruptedBy() const {
    return interruptedBy_ == 0 ? std::nullopt : std::optional(interruptedBy_.load());
}

BuildWatch::Outcome BuildWatch::run(const std::shared_ptr<ContentIndex>& index, ContentIndexMode mode) {
    RunLoop& queue = context_.application.mainQueue();
    const SteadyTime started = context_.application.clock().steadyNow();
    Outcome outcome;
    std::exception_ptr failure;
    builds_.add([&] {
        try {
            outcome.build = index->build({index->targetURL().value()}, true, mode);
        } catch (const std::exception&) {
            failure = std::current_exception();
        }
        queue.quit();
    });
    if (progress_.isPossible())
        drawing_ = queue.postAfter(kProgressDelay, [this, started] { draw(started); });
    queue.run();
    builds_.waitUntilAllOperationsAreFinished();
    queue.runPending();
    if (drawing_) queue.cancel(*drawing_);
    drawing_.reset();
    progress_.clear();
    if (failure) std::rethrow_exception(failure);
    outcome.seconds = secondsSince(started, context_.application.clock());
    return outcome;
}

void BuildWatch::draw(SteadyTime started) {
    const auto items = context_.application.activities().items();
    if (!items.empty()) {
        progress_.show(
            progressText(items.back()->texts(), secondsSince(started, context_.application.clock())));
    }
    drawing_ =
        context_.application.mainQueue().postAfter(kProgressInterval, [this, started] { draw(started); });
}

}  // namespace kestrix::cli
