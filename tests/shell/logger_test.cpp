#include "shell/logger.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <sstream>
#include <thread>

#include "base/main_queue.h"
#include "platform/directory.h"
#include "platform/stored_file.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {
namespace {

using namespace std::chrono_literals;

WallTime local(int year, int month, int day, int hour, int minute, int second) {
    std::tm fields{};
    fields.tm_year = year - 1900;
    fields.tm_mon = month - 1;
    fields.tm_mday = day;
    fields.tm_hour = hour;
    fields.tm_min = minute;
    fields.tm_sec = second;
    fields.tm_isdst = -1;
    return std::chrono::system_clock::from_time_t(std::mktime(&fields));
}

struct Listener : LogDelegate {
    void logged(const std::string& line) override { lines.push_back(line); }
    std::vector<std::string> lines;
};

class LoggerTest : public ::testing::Test {
  protected:
    ~LoggerTest() override {
        Logger::shared = nullptr;
        Logger::shouldLog = false;
    }

    // The creation time of a file cannot be chosen, so the clock is set to it and moved instead.
    void writeALogAndSetTheClockToItsDay(std::string_view content) {
        appendToFile(folder.file("cache/Today's Log.txt"), content);
        FileAttributes attributes;
        ASSERT_EQ(readAttributes(logger.urls().currentLogURL, true, attributes), 0);
        clock.setWallTime(WallTime(std::chrono::seconds(attributes.modified.seconds)));
    }
    std::optional<std::string> today() const { return readWholeFile(folder.path("cache/Today's Log.txt")); }
    std::optional<std::string> previous() const {
        return readWholeFile(folder.path("cache/Previous Log.txt"));
    }
    // The log without the time strings.
    std::string messages() const {
        std::istringstream lines(today().value_or(""));
        std::string messages;
        for (std::string line; std::getline(lines, line);) {
            const auto tab = line.find('\t');
            messages += (tab == line.npos ? line : line.substr(tab + 1)) + "\n";
        }
        return messages;
    }

    TemporaryFolder folder;
    ManualClock clock;
    RunLoop queue{clock};
    Logger logger{folder.path("cache"), queue, clock};
};

TEST_F(LoggerTest, LineHasTimeBlankTabMessageAndOneNewline) {
    clock.setWallTime(local(2026, 2, 3, 9, 5, 7));
    logger.log("one");
    EXPECT_EQ(today(), "3/2 905:07.000 \tone\n");

    std::filesystem::remove(logger.urls().currentLogURL);
    clock.setWallTime(local(2026, 12, 31, 0, 0, 0) + 45ms + 999us);
    logger.log("two\n");
    EXPECT_EQ(today(), "31/12 000:00.045 \ttwo\n");
}

TEST_F(LoggerTest, LinesOfOneDayFollowEachOther) {
    writeALogAndSetTheClockToItsDay("");
    logger.log("one");
    logger.log("");
    logger.log("two");
    EXPECT_EQ(messages(), "one\n\ntwo\n");
    EXPECT_EQ(logger.logContents(), today());
    EXPECT_EQ(previous(), std::nullopt);
}

TEST_F(LoggerTest, FirstLineOfANewDayReplacesThePreviousLog) {
    folder.file("cache/Previous Log.txt", "older\n");
    writeALogAndSetTheClockToItsDay("old\n");
    clock.advance(24h);
    logger.log("new");
    EXPECT_EQ(previous(), "old\n");
    EXPECT_EQ(messages(), "new\n");
}

TEST_F(LoggerTest, DayChangeThatFailsIsToldInTheLogAndLosesNoLine) {
    folder.file("cache/Previous Log.txt/in the way", "");
    writeALogAndSetTheClockToItsDay("old\n");
    clock.advance(24h);
    logger.log("new");
    const std::string all = messages();
    const auto removal = all.find("old\nLogger: Remove yesterday failed: ");
    const auto renaming = all.find("\nLogger: Rename current to yesterday failed: ");
    EXPECT_EQ(removal, 0u) << all;
    EXPECT_NE(renaming, all.npos) << all;
    EXPECT_TRUE(all.ends_with("\nnew\n")) << all;
    EXPECT_EQ(std::count(all.begin(), all.end(), '\n'), 4) << all;
}

TEST_F(LoggerTest, LinesOfSeveralThreadsStayWhole) {
    writeALogAndSetTheClockToItsDay("");
    const std::string longMessage(3000, 'x');
    std::vector<std::thread> threads;
    for (int each = 0; each < 4; ++each) {
        threads.emplace_back([&] {
            for (int line = 0; line < 50; ++line)
                logger.log(longMessage);
        });
    }
    for (auto& thread : threads)
        thread.join();
    std::string expected;
    for (int line = 0; line < 200; ++line)
        expected += longMessage + "\n";
    EXPECT_EQ(messages(), expected);
}

TEST_F(LoggerTest, NameThatIsNoTextIsLoggedReadably) {
    logger.log("bad \xff name");
    EXPECT_EQ(messages(), "bad \xEF\xBF\xBD name\n");
}

TEST_F(LoggerTest, FolderThatCannotBeMadeStopsNobody) {
    folder.file("file", "");
    Logger blocked(folder.path("file/cache"), queue, clock);
    blocked.log("lost");
    EXPECT_EQ(blocked.logContents(), std::nullopt);
}

TEST_F(LoggerTest, DelegatesGetEachLineOnTheMainQueueWhileTheyLive) {
    clock.setWallTime(local(2026, 2, 3, 9, 5, 7));
    const auto listener = std::make_shared<Listener>();
    auto gone = std::make_shared<Listener>();
    logger.addDelegate(listener);
    logger.addDelegate(gone);
    logger.log("one");
    gone.reset();
    EXPECT_TRUE(listener->lines.empty()) << "never on the caller's stack";
    queue.runPending();
    EXPECT_EQ(listener->lines, (std::vector<std::string>{"3/2 905:07.000 \tone\n"}));
}

constexpr int kTalkLine = __LINE__ + 4;
class Talker {
  public:
    std::vector<int> speak(int) const {
        LogFunc("hello");
        return {};
    }
};

TEST_F(LoggerTest, LogFuncNamesItsPlaceAndIsSilentWhileSwitchedOff) {
    Talker().speak(1);
    Logger::shared = &logger;
    Talker().speak(2);
    EXPECT_EQ(today(), std::nullopt);
    Logger::shouldLog = true;
    Talker().speak(3);
    EXPECT_EQ(messages(), "logger_test speak:" + std::to_string(kTalkLine) + " hello\n");
}

}  // namespace
}  // namespace kestrix
