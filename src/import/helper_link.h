// The application's end of the link to the import helper.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "import/import_limits.h"
#include "import/import_protocol.h"
#include "platform/helper_process.h"
#include "platform/open_file.h"

namespace kestrix {

// Keeps one helper program and asks it for one document at a time. A helper that died, hung or talked
// nonsense is gone when the call returns; the next call starts another. Threads: one at a time, also for
// destruction, which ends the helper.
class HelperLink {
  public:
    // `wakeUp` makes a running call ask again whether it shall be cancelled. It outlives this.
    HelperLink(std::string program, const WakeUp& wakeUp, const ImportLimits& limits);
    ~HelperLink();

    struct Call {
        ImportRequest request;  // the number is the link's affair
        const OpenFile& document;
        const ImportProgress& progress;  // on the calling thread
        const std::function<bool()>& shouldCancel;
    };
    // The answer, its body in place: text, noText or words. Throws Error (import), for what the helper says
    // of the document or for its end.
    ImportReply call(const Call& call);

    // Starts the helper unless it runs, without waiting for it. Throws Error (noHelper).
    void start();
    bool isRunning() const { return process_ != nullptr; }
    // Asks the helper to end and waits for that.
    void quit();

  private:
    using Time = std::chrono::steady_clock::time_point;
    struct Waiting;

    void waitForStart(const Call& call);
    std::string whyNotStarted(const Call& call);  // one try; empty if it was running before
    ImportReply answerTo(const Call& call, std::uint32_t number, Waiting& waiting);
    std::optional<ImportReply> nextReply(const Call& call, Waiting& waiting);
    ImportReply received(const Call& call);
    [[noreturn]] void failImproper(const Call& call);
    [[noreturn]] void failKilled(const Call& call, const Waiting& waiting);
    [[noreturn]] void failEnded(const Call& call);

    std::string program_;
    const WakeUp& wakeUp_;
    ImportLimits limits_;
    std::unique_ptr<HelperProcess> process_;
    bool hasStarted_ = false;  // it has shut itself in and said so
    Time born_;
    std::uint32_t lastNumber_ = 0;
};

}  // namespace kestrix
