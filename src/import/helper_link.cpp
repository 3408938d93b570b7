#include "import/helper_link.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "base/text.h"
#include "import/import_failure.h"
#include "platform/system_info.h"

namespace kestrix {
namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr std::uint32_t kNumberOfStart = 0;
constexpr auto kStartPatience = std::chrono::seconds(20);
constexpr auto kQuitPatience = std::chrono::milliseconds(300);
constexpr std::size_t kLongestWords = 500;  // of a failure
constexpr const char* kEndsAtOnce = "it ends when it is started";

// OpenMP reads its limit when a program starts; more than one thread was measured to make recognition ten
// times slower, and the helper may start none.
std::vector<std::string> helperEnvironment() {
    return {"OMP_THREAD_LIMIT=1", "LC_ALL=C.UTF-8", "PATH=/usr/bin:/bin"};
}

// What the helper says, as one line that can be shown.
std::string oneLine(std::string_view words) {
    std::string line = text::displayable(words.substr(0, kLongestWords));
    std::ranges::replace_if(
        line, [](char byte) { return static_cast<unsigned char>(byte) < ' '; }, ' ');
    return line;
}

Error failureOf(const OpenFile& document, ImportFailure failure, std::string_view why) {
    return importError(failure, fmt::format("cannot read {}: {}", document.path(), why));
}

bool isAnswer(ImportRequest::Kind asked, ImportReply::Kind reply) {
    if (asked == ImportRequest::Kind::wordsInFile) return reply == ImportReply::Kind::words;
    return reply == ImportReply::Kind::text || reply == ImportReply::Kind::noText;
}

// A failure of the helper's telling. Only those that a document can cause are believed.
Error failureOf(const OpenFile& document, const ImportReply& reply) {
    const bool isKnown = reply.value >= static_cast<int>(ImportFailure::damaged) &&
                         reply.value <= static_cast<int>(ImportFailure::badReply);
    const auto failure = isKnown ? static_cast<ImportFailure>(reply.value) : ImportFailure::damaged;
    return failureOf(document, failure, oneLine(reply.body));
}

}  // namespace

// How long a call still waits, and what for.
struct HelperLink::Waiting {
    Waiting(std::chrono::milliseconds longestSilence, std::chrono::milliseconds total)
        : silence(longestSilence),
          silenceUntil(SteadyClock::now() + longestSilence),
          totalUntil(SteadyClock::now() + total) {}

    Time until() const {
        const Time patience = std::min(silenceUntil, totalUntil);
        return cancelUntil ? std::min(patience, *cancelUntil) : patience;
    }

    std::chrono::milliseconds silence;
    Time silenceUntil;
    Time totalUntil;
    std::optional<Time> cancelUntil{};  // the helper was told to stop, and may take until then
};

HelperLink::HelperLink(std::string program, const WakeUp& wakeUp, const ImportLimits& limits)
    : program_(std::move(program)), wakeUp_(wakeUp), limits_(limits) {}

HelperLink::~HelperLink() = default;

void HelperLink::start() {
    if (process_) return;
    try {
        process_ = std::make_unique<HelperProcess>(program_, helperEnvironment());
    } catch (const Error& error) {
        throw importError(ImportFailure::noHelper, error.what());
    }
    hasStarted_ = false;
    born_ = SteadyClock::now();
    process_->socket().send(
        encoded(ImportRequest{.kind = ImportRequest::Kind::start, .number = kNumberOfStart}));
}

void HelperLink::quit() {
    if (!process_) return;
    process_->socket().send(encoded(ImportRequest{.kind = ImportRequest::Kind::quit}));
    process_->end(kQuitPatience);
    process_.reset();
}

ImportReply HelperLink::call(const Call& call) {
    if (process_ && SteadyClock::now() - born_ > kHelperLife) quit();
    waitForStart(call);
    ImportRequest request = call.request;
    request.number = ++lastNumber_;
    if (!process_->socket().send(encoded(request), call.document.descriptor())) {
        // It ended between two documents, by no fault of this one.
        process_.reset();
        waitForStart(call);
        process_->socket().send(encoded(request), call.document.descriptor());
    }
    Waiting waiting(request.useOCR ? limits_.silenceWithOCR : limits_.silence,
                    request.useOCR ? limits_.documentWithOCR : limits_.document);
    ImportReply reply = answerTo(call, request.number, waiting);
    if (waiting.cancelUntil) throw failureOf(call.document, ImportFailure::cancelled, "it was cancelled");
    if (isAnswer(request.kind, reply.kind)) return reply;
    if (reply.kind != ImportReply::Kind::failure) failImproper(call);
    // What is left of its memory is in pieces.
    if (reply.value == static_cast<int>(ImportFailure::outOfMemory)) quit();
    throw failureOf(call.document, reply);
}

// One that is ended from outside while it starts has not seen the document, and another may do better.
void HelperLink::waitForStart(const Call& call) {
    std::string why = whyNotStarted(call);
    if (why == kEndsAtOnce) why = whyNotStarted(call);
    if (hasStarted_) return;
    process_.reset();
    throw importError(ImportFailure::noHelper,
                      fmt::format("the import helper {} is of no use: {}", program_, why));
}

std::string HelperLink::whyNotStarted(const Call& call) {
    start();
    if (hasStarted_) return {};
    Waiting waiting(kStartPatience, kStartPatience);
    try {
        const ImportReply reply = answerTo(call, kNumberOfStart, waiting);
        hasStarted_ = reply.kind == ImportReply::Kind::started;
        return reply.kind == ImportReply::Kind::failure ? oneLine(reply.body) : "it does not start";
    } catch (const Error& error) {
        if (waiting.cancelUntil) throw;
        const bool hasEnded = error.code() == static_cast<int>(ImportFailure::crashed);
        return hasEnded ? kEndsAtOnce : "it does not answer";
    }
}

ImportReply HelperLink::answerTo(const Call& call, std::uint32_t number, Waiting& waiting) {
    while (true) {
        if (!waiting.cancelUntil && call.shouldCancel()) {
            waiting.cancelUntil = SteadyClock::now() + limits_.cancelPatience;
            process_->socket().send(
                encoded(ImportRequest{.kind = ImportRequest::Kind::cancel, .number = number}));
        }
        auto reply = nextReply(call, waiting);
        if (!reply || reply->number != number) continue;
        if (reply->kind != ImportReply::Kind::progress) return std::move(*reply);
        waiting.silenceUntil = SteadyClock::now() + waiting.silence;
        if (call.progress) call.progress(std::clamp(reply->value, 0, 100));
    }
}

// Nothing when it was woken.
std::optional<ImportReply> HelperLink::nextReply(const Call& call, Waiting& waiting) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(waiting.until() - SteadyClock::now());
    if (left.count() <= 0) failKilled(call, waiting);
    const HelperProcess::Wait wait = process_->wait(wakeUp_, left);
    if (wait.woken) wakeUp_.clear();
    if (wait.message) return received(call);
    if (wait.ended) failEnded(call);
    return std::nullopt;
}

ImportReply HelperLink::received(const Call& call) {
    auto message = process_->socket().receive();
    if (!message) failEnded(call);
    auto reply = decodedReply(message->bytes);
    if (reply && !reply->bodyIsInline) {
        auto body = sealedContents(message->descriptor, reply->bodySize);
        if (body) {
            reply->body = std::move(*body);
        } else {
            reply.reset();
        }
    }
    if (!reply) failImproper(call);
    return std::move(*reply);
}

void HelperLink::failImproper(const Call& call) {
    process_.reset();
    throw failureOf(call.document, ImportFailure::badReply, "the import helper gave no proper answer");
}

void HelperLink::failKilled(const Call& call, const Waiting& waiting) {
    process_.reset();
    if (waiting.cancelUntil) throw failureOf(call.document, ImportFailure::cancelled, "it was cancelled");
    const bool wasSilent = waiting.silenceUntil <= waiting.totalUntil;
    throw failureOf(call.document, ImportFailure::tookTooLong,
                    wasSilent ? fmt::format("the import helper was silent for {}", waiting.silence)
                              : std::string("it takes too long"));
}

void HelperLink::failEnded(const Call& call) {
    const HelperEnd end = process_->end(kQuitPatience);
    process_.reset();
    // The kernel counts what this process held when it started the helper, too.
    constexpr std::size_t kNearlyAll = kHelperMemory / 5 * 4;
    if (end.outOfTime) throw failureOf(call.document, ImportFailure::tookTooLong, "it takes too long");
    if (end.peakMemory > kNearlyAll && peakMemory() < kNearlyAll)
        throw failureOf(call.document, ImportFailure::outOfMemory, "it takes too much memory");
    throw failureOf(call.document, ImportFailure::crashed,
                    fmt::format("the import helper ended over it with {}", end.cause));
}

}  // namespace kestrix
