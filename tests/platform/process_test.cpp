// What passes between this process and its surroundings: streams and signals.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <future>
#include <thread>

#include "platform/interrupts.h"
#include "platform/standard_streams.h"
#include "tests/platform/child_process.h"

namespace kestrix {
namespace {

using namespace std::chrono_literals;

TEST(StandardStreams, AllBytesPassANonBlockingPipeWithASlowReader) {
    int pipeEnds[2];
    ASSERT_EQ(::pipe2(pipeEnds, O_CLOEXEC), 0);
    constexpr std::size_t kSize = 3'000'000;
    std::size_t received = 0;
    std::jthread reader([&] {
        std::string buffer(7'001, '\0');
        while (received < kSize) {
            const ssize_t got = ::read(pipeEnds[0], buffer.data(), buffer.size());
            if (got <= 0) break;
            received += static_cast<std::size_t>(got);
        }
    });
    EXPECT_TRUE(holdsInChild([&] {
        ::dup2(pipeEnds[1], STDOUT_FILENO);
        ::fcntl(STDOUT_FILENO, F_SETFL, O_NONBLOCK);
        return writeTo(StandardStream::output, std::string(kSize, 'x')) == WriteOutcome::written &&
               closeStream(StandardStream::output) == WriteOutcome::written;
    }));
    ::close(pipeEnds[1]);
    reader.join();
    ::close(pipeEnds[0]);
    EXPECT_EQ(received, kSize);
}

TEST(StandardStreams, AGoneReaderAFullDiskAndAClosedStreamAreToldApart) {
    EXPECT_TRUE(holdsInChild([] {
        int pipeEnds[2];
        if (::pipe2(pipeEnds, O_CLOEXEC) != 0) return false;
        ::dup2(pipeEnds[1], STDOUT_FILENO);
        ::close(pipeEnds[0]);
        ::close(pipeEnds[1]);
        ignoreBrokenPipes();
        return writeTo(StandardStream::output, "x") == WriteOutcome::readerGone &&
               writeTo(StandardStream::output, "") == WriteOutcome::written;
    }));
    EXPECT_TRUE(holdsInChild([] {
        ::dup2(::open("/dev/full", O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
        int number = 0;
        return writeTo(StandardStream::output, "x", &number) == WriteOutcome::failed && number == ENOSPC;
    }));
    EXPECT_TRUE(holdsInChild([] {
        ::close(STDOUT_FILENO);
        int number = 0;
        return closeStream(StandardStream::output) == WriteOutcome::written &&
               writeTo(StandardStream::output, "x", &number) == WriteOutcome::failed && number == EBADF;
    }));
}

TEST(StandardStreams, TheWidthIsThatOfTheTerminalElseEighty) {
    EXPECT_TRUE(holdsInChild([] {
        int master = -1;
        int terminal = -1;
        const winsize size{24, 132, 0, 0};
        if (::openpty(&master, &terminal, nullptr, nullptr, &size) != 0) return false;
        ::dup2(terminal, STDERR_FILENO);
        ::dup2(::open("/dev/null", O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
        return isTerminal(StandardStream::error) && terminalWidth(StandardStream::error) == 132 &&
               !isTerminal(StandardStream::output) && terminalWidth(StandardStream::output) == 80;
    }));
}

TEST(InterruptWatcher, TheFirstSignalBecomesACallOnAnotherThread) {
    for (const int sent : {SIGINT, SIGTERM}) {
        EXPECT_TRUE(holdsInChild([sent] {
            std::promise<std::pair<int, std::thread::id>> heard;
            InterruptWatcher watcher([&](int signal) {
                heard.set_value({signal, std::this_thread::get_id()});
            });
            ::kill(::getpid(), sent);
            const auto [signal, thread] = heard.get_future().get();
            return signal == sent && thread != std::this_thread::get_id();
        }));
    }
}

// The exit code of a child that does this and then waits for good; negative if a signal ended it.
template <typename Work>
int endOf(Work work) {
    return ChildProcess([&]() -> bool {
               work();
               return false;
           })
        .exitCode();
}

TEST(InterruptWatcher, ASecondSignalEndsTheProgramAlsoWhileTheFirstIsBeingAnswered) {
    for (const bool answersForGood : {true, false}) {
        EXPECT_EQ(endOf([answersForGood] {
                      std::promise<void> heard;
                      InterruptWatcher watcher([&](int) {
                          heard.set_value();
                          while (answersForGood)
                              ::pause();
                      });
                      ::kill(::getpid(), SIGINT);
                      heard.get_future().wait();
                      ::kill(::getpid(), SIGTERM);
                      for (;;)
                          ::pause();
                  }),
                  128 + SIGTERM);
    }
}

TEST(InterruptWatcher, AfterItsEndSignalsActAsBefore) {
    EXPECT_EQ(endOf([] {
                  {
                      InterruptWatcher watcher([](int) {});
                  }
                  ::kill(::getpid(), SIGTERM);
                  for (;;)
                      ::pause();
              }),
              -1);
}

TEST(InterruptWatcher, ASignalThatWasIgnoredStaysIgnored) {
    EXPECT_TRUE(holdsInChild([] {
        std::signal(SIGINT, SIG_IGN);
        std::promise<int> heard;
        InterruptWatcher watcher([&](int signal) { heard.set_value(signal); });
        ::kill(::getpid(), SIGINT);
        ::kill(::getpid(), SIGTERM);
        return heard.get_future().get() == SIGTERM;
    }));
}

}  // namespace
}  // namespace kestrix
