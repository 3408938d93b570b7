#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <thread>

#include "base/error.h"
#include "platform/child_process.h"
#include "platform/interrupts.h"
#include "tests/support/temporary_folder.h"

namespace kestrix {
namespace {

using Texts = std::vector<std::string>;

class ChildProgramTest : public ::testing::Test {
  protected:
    std::string script(const std::string& text, const std::string& name = "script") {
        const std::string path = folder_.file(name, text);
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
        return path;
    }
    ChildOutcome run(const std::string& text, const Texts& arguments = {},
                     std::size_t limit = ChildProgram::kUsualLimit) {
        return ChildProgram(script("#!/bin/sh\n" + text), arguments, limit).wait();
    }

    TemporaryFolder folder_;
};

TEST_F(ChildProgramTest, ArgumentsArriveAsTheyAreWhateverAShellWouldMakeOfThem) {
    const Texts odd = {"two words", "", "$(touch x)", "'\"", "a\nb", "-n", "*", "\xff"};
    std::string expected;
    for (const std::string& argument : odd)
        expected += "<" + argument + ">";
    const ChildOutcome outcome = run("for a in \"$@\"; do printf '<%s>' \"$a\"; done", odd);
    EXPECT_EQ(outcome.output, expected);
    EXPECT_EQ(outcome.exitStatus, 0);
}

TEST_F(ChildProgramTest, BothOutputsAndTheStatusComeBackSeparately) {
    const ChildOutcome outcome = run("echo fine; echo wrong >&2; exit 7");
    EXPECT_EQ(outcome.output, "fine\n");
    EXPECT_EQ(outcome.errors, "wrong\n");
    EXPECT_EQ(outcome.exitStatus, 7);
    EXPECT_EQ(run("kill -KILL $$").exitStatus, 128 + SIGKILL);
}

TEST_F(ChildProgramTest, StandardInputIsEmptyAndNoFileOfOursIsOpenInIt) {
    EXPECT_EQ(run("cat; exit 0").output, "");
    const int leaked = ::dup(0);  // without close-on-exec
    const ChildOutcome outcome = run("test -e /proc/self/fd/" + std::to_string(leaked) + " && echo open");
    ::close(leaked);
    EXPECT_EQ(outcome.output, "");
}

TEST_F(ChildProgramTest, OutputBeyondTheLimitIsDroppedAndTheProgramStillEnds) {
    const ChildOutcome outcome = run("head -c 3000000 /dev/zero; head -c 500 /dev/zero >&2", {}, 1000);
    EXPECT_EQ(outcome.output.size(), 1000u);
    EXPECT_TRUE(outcome.outputWasCut);
    EXPECT_EQ(outcome.errors.size(), 500u);
    EXPECT_FALSE(outcome.errorsWereCut);
    EXPECT_EQ(outcome.exitStatus, 0);
}

TEST_F(ChildProgramTest, WhatItLeavesInTheBackgroundIsNotWaitedFor) {
    const ChildOutcome outcome = run("sleep 600 & echo $!");
    const pid_t left = std::stoi(outcome.output);
    EXPECT_EQ(::kill(left, SIGKILL), 0) << "it should still run";
}

TEST_F(ChildProgramTest, SignalsBlockedHereAreNotBlockedInIt) {
    const InterruptWatcher watcher([](int) {});
    const ChildOutcome outcome = run("kill -TERM $$; echo survived");
    EXPECT_EQ(outcome.exitStatus, 128 + SIGTERM);
    EXPECT_EQ(outcome.output, "");
}

// The pipe ends when the last of those that hold it has gone.
TEST_F(ChildProgramTest, AStopEndsItAndWhatItStarted) {
    const std::string held = folder_.path("held");
    ASSERT_EQ(::mkfifo(held.c_str(), 0600), 0);
    ChildProgram program(script("#!/bin/sh\nsleep 600 > \"$1\" & wait"), {held});
    std::jthread other([&] {
        const int pipe = ::open(held.c_str(), O_RDONLY | O_CLOEXEC);
        program.stop();
        char byte;
        EXPECT_EQ(::read(pipe, &byte, 1), 0);
        ::close(pipe);
    });
    const ChildOutcome outcome = program.wait();
    EXPECT_TRUE(outcome.stopped);
    EXPECT_EQ(outcome.exitStatus, 128 + SIGTERM);
}

TEST_F(ChildProgramTest, WhatDoesNotHeedAStopIsKilled) {
    const auto before = std::signal(SIGTERM, SIG_IGN);  // which it inherits
    ChildProgram program("/bin/sleep", {"600"});
    std::signal(SIGTERM, before);
    program.stop();
    EXPECT_EQ(program.wait().exitStatus, 128 + SIGKILL);
}

TEST_F(ChildProgramTest, DroppingItKillsIt) {
    { const ChildProgram program("/bin/sleep", {"600"}); }
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "a child was left";
}

int codeOfStarting(const std::string& program) {
    try {
        const ChildProgram started(program, {});
        return 0;
    } catch (const Error& failure) {
        EXPECT_NE(std::string(failure.what()).find(program), std::string::npos);
        return failure.code();
    }
}

TEST_F(ChildProgramTest, WhatCannotBeStartedSaysWhy) {
    EXPECT_EQ(codeOfStarting(folder_.path("none")), ENOENT);
    EXPECT_EQ(codeOfStarting(folder_.file("plain", "#!/bin/sh\n")), EACCES);
    EXPECT_EQ(codeOfStarting(script("echo no interpreter named", "bare")), ENOEXEC);
    EXPECT_FALSE(isExecutable(folder_.path("plain")));
    EXPECT_TRUE(isExecutable(folder_.path("bare")));
}

}  // namespace
}  // namespace kestrix
