#include "shell/guru_meditation.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "base/main_queue.h"
#include "platform/system_info.h"

namespace kestrix {
namespace {

std::string expectedDetails(const std::string& version, int line, const std::string& trace) {
    return fmt::format(
        "{} v{} error details:\n"
        "File: guru_meditation_test  Line: {}\n"
        "Trace: {}\n"
        "No space left on /disk\n"
        "OS: {}\n"
        "Mac Cores: {}  Arch: {}\n"
        "---------------------------------------",
        processName(), version, line, trace, operatingSystemVersion(), processorCount(),
        processorArchitecture());
}

const Error kFullDisk("POSIX", 28, "No space left on /disk");

TEST(GuruMeditation, DetailsStandInTheirOrder) {
    const auto where = std::source_location::current();
    const int line = static_cast<int>(where.line());
    EXPECT_EQ(GuruMeditation::errorToDetailedString(kFullDisk, {"open", "read"}, "1.2", where),
              expectedDetails("1.2", line, "open,read"));
    EXPECT_EQ(GuruMeditation::errorToDetailedString(kFullDisk, {}, "", where),
              expectedDetails("Unknown version", line, ""));
}

TEST(GuruMeditation, AlertIsShownOnTheMainQueueWithTheCrumbsOfThatMoment) {
    ManualClock clock;
    RunLoop queue(clock);
    GMTrace trace;
    std::vector<std::string> shown;
    GuruMeditation guru(
        queue, trace,
        [&](const Error& error, const auto& details) {
            shown.push_back(error.what());
            shown.push_back(details());
        },
        "1.2");
    const int line = __LINE__ + 1;
    guru.showErrorAlert(kFullDisk);
    EXPECT_TRUE(shown.empty());
    trace.add("later");
    queue.runPending();
    EXPECT_EQ(shown, (std::vector<std::string>{kFullDisk.what(), expectedDetails("1.2", line, "later")}));
}

constexpr int kFailLine = __LINE__ + 2;
Error failHere() {
    return errorWithCode(-36);
}

TEST(GuruMeditation, ErrorWithCodeNamesItsPlace) {
    const Error error = failHere();
    EXPECT_EQ(error.code(), -36);
    EXPECT_EQ(error.domain(), fmt::format("guru_meditation_test.cpp.failHere.{}", kFailLine));
}

}  // namespace
}  // namespace kestrix
