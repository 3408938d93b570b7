// The application's one log.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <source_location>
#include <string>
#include <string_view>
#include <vector>

#include "base/clock.h"
#include "base/lock.h"
#include "base/main_queue.h"

namespace kestrix {

// Whoever shows the log live. Called on the main queue.
class LogDelegate {
  public:
    virtual ~LogDelegate() = default;
    // One line with its time and its newline.
    virtual void logged(const std::string& line) = 0;
};

// Writes lines to "Today's Log.txt" in the caches folder; the first line of a new local day moves the file to
// "Previous Log.txt". The file is opened and closed for each line, so the log survives a crash up to its last
// line and several processes may write to it.
//
// A line is the local time as "d/M Hmm:ss.SSS" (9:05:07 on 3 February: "3/2 905:07.000"), a blank, a tab, the
// message and a newline.
//
// Threads: any; each line is one write. Failures: never thrown; what cannot be written goes to the system's
// log.
class Logger {
  public:
    struct LogURLs {
        std::string currentLogURL;
        std::string yesterdayLogURL;
    };

    Logger(const std::string& cacheFolder, MainQueue& mainQueue, Clock& clock = Clock::system());

    // Writes one message, whatever shouldLog says.
    void log(std::string_view message);

    void addDelegate(std::weak_ptr<LogDelegate> delegate);

    // Today's log as text; nothing if there is none.
    std::optional<std::string> logContents() const;

    const LogURLs& urls() const { return urls_; }

    // Switches LogFunc on. Off at first: a log nobody looks at should cost nothing.
    static std::atomic<bool> shouldLog;

    // The logger that LogFunc writes to; set by the application, nullptr before and after.
    static std::atomic<Logger*> shared;

  private:
    void prepareFile(WallTime now);
    void changeDay(WallTime now);
    void tellDelegates(std::string line);

    LogURLs urls_;
    MainQueue& mainQueue_;
    Clock& clock_;
    Locked<std::vector<std::weak_ptr<LogDelegate>>> delegates_;
};

// The call that the code uses: writes "file function:line message" to the shared logger if logging is on.
// Guard the making of a costly message with Logger::shouldLog.
void LogFunc(std::string_view message, std::source_location where = std::source_location::current());

}  // namespace kestrix
