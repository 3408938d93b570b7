#include "shell/logger.h"

#include <fmt/format.h>

#include <chrono>

#include "base/calendar.h"
#include "base/error.h"
#include "base/path.h"
#include "base/text.h"
#include "platform/directory.h"
#include "platform/stored_file.h"
#include "platform/system_info.h"
#include "shell/source_place.h"

namespace kestrix {

namespace {

// No colon between hours and minutes: existing logs, and what reads them, have it so.
std::string timeString(WallTime now) {
    const auto second = std::chrono::floor<std::chrono::seconds>(now);
    const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(now - second).count();
    const LocalTime local = localTime(secondsSince1970(now));
    return fmt::format("{}/{} {}{:02}:{:02}.{:03}", local.day, local.month, local.hour, local.minute,
                       local.second, milliseconds);
}

// A message may name a file whose name is no valid UTF-8; the log stays readable text all the same.
std::string lineOf(std::string_view message, WallTime now) {
    std::string line = timeString(now) + " \t" + text::displayable(message);
    if (line.back() != '\n') line += '\n';
    return line;
}

// The moment the file was made; on file systems that do not keep it, the moment of its last line.
std::optional<long long> startOf(const std::string& file) {
    FileAttributes attributes;
    if (readAttributes(file, true, attributes) != 0) return std::nullopt;
    const bool known = attributes.created != Timestamp{};
    return known ? attributes.created.seconds : attributes.modified.seconds;
}

bool isOfAnotherDay(const std::optional<long long>& start, long long now) {
    return start && !sameLocalDay(*start, now);
}

void appendLine(const std::string& file, const std::string& line) {
    try {
        appendToFile(file, line);
    } catch (const Error& error) {
        logToSystem(std::string("Logger: Can't open log file: ") + error.what());
    }
}

}  // namespace

std::atomic<bool> Logger::shouldLog = false;
std::atomic<Logger*> Logger::shared = nullptr;

Logger::Logger(const std::string& cacheFolder, MainQueue& mainQueue, Clock& clock)
    : urls_{path::join(cacheFolder, "Today's Log.txt"), path::join(cacheFolder, "Previous Log.txt")},
      mainQueue_(mainQueue),
      clock_(clock) {}

void Logger::log(std::string_view message) {
    const WallTime now = clock_.now();
    std::string line = lineOf(message, now);
    prepareFile(now);
    appendLine(urls_.currentLogURL, line);
    tellDelegates(std::move(line));
}

// The block owns all it needs: it may run when this logger is gone.
void Logger::tellDelegates(std::string line) {
    auto delegates = delegates_.get();
    if (delegates.empty()) return;
    mainQueue_.post([line = std::move(line), delegates = std::move(delegates)] {
        for (const auto& weak : delegates) {
            if (const auto delegate = weak.lock()) delegate->logged(line);
        }
    });
}

// One look at the file's attributes per line is all that the usual case costs.
void Logger::prepareFile(WallTime now) {
    try {
        const auto start = startOf(urls_.currentLogURL);
        if (!start) makeFolder(std::string(path::parent(urls_.currentLogURL)));
        if (isOfAnotherDay(start, secondsSince1970(now))) changeDay(now);
    } catch (const Error& error) {
        logToSystem(std::string("Logger: ") + error.what());
    }
}

// Under a lock that holds between threads and between processes, and with a second look behind it: of two who
// meet a new day at once, the later would otherwise move the fresh log over yesterday's. What fails is
// written straight to the log, since a call of log would come here again.
void Logger::changeDay(WallTime now) {
    const FileLock lock(urls_.currentLogURL);
    if (!isOfAnotherDay(startOf(urls_.currentLogURL), secondsSince1970(now))) return;

    std::string failures;
    try {
        removeFile(urls_.yesterdayLogURL);
    } catch (const Error& error) {
        failures += lineOf(std::string("Logger: Remove yesterday failed: ") + error.what(), now);
    }
    try {
        renameFile(urls_.currentLogURL, urls_.yesterdayLogURL);
    } catch (const Error& error) {
        failures += lineOf(std::string("Logger: Rename current to yesterday failed: ") + error.what(), now);
    }
    if (!failures.empty()) appendLine(urls_.currentLogURL, failures);
}

void Logger::addDelegate(std::weak_ptr<LogDelegate> delegate) {
    delegates_.modify([&](auto& delegates) {
        std::erase_if(delegates, [](const auto& weak) { return weak.expired(); });
        delegates.push_back(std::move(delegate));
    });
}

std::optional<std::string> Logger::logContents() const {
    try {
        return readWholeFile(urls_.currentLogURL);
    } catch (const Error&) {
        return std::nullopt;
    }
}

void LogFunc(std::string_view message, std::source_location where) {
    if (!Logger::shouldLog) return;
    Logger* logger = Logger::shared;
    if (logger == nullptr) return;
    logger->log(
        fmt::format("{} {}:{} {}", sourceFileStem(where), sourceFunctionName(where), where.line(), message));
}

}  // namespace kestrix
