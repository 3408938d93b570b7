// Every thread blocks the signals, so the first waits in the kernel until the watching thread takes it from a
// signalfd. That thread then unblocks them for itself alone: whatever the answer to the first signal may hang
// in, a second one reaches a handler that ends the program.
#include "platform/interrupts.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>

#include <array>
#include <csignal>
#include <thread>

#include "platform/linux/system_call.h"

namespace kestrix {

namespace {

constexpr std::array kWatched = {SIGINT, SIGTERM};

void endProgram(int signal) {
    ::_exit(128 + signal);
}

}  // namespace

struct InterruptWatcher::State {
    std::function<void(int)> interrupted;
    sigset_t watched;
    sigset_t maskBefore;
    std::array<struct sigaction, kWatched.size()> actionsBefore;
    Descriptor signals;
    Descriptor ended;
    std::thread thread;

    void watch();
};

void InterruptWatcher::State::watch() {
    pollfd waits[] = {{signals.get(), POLLIN, 0}, {ended.get(), POLLIN, 0}};
    retrying([&] { return ::poll(waits, 2, -1); });
    if (waits[1].revents != 0) return;
    signalfd_siginfo taken{};
    const ssize_t got = retrying([&] { return ::read(signals.get(), &taken, sizeof taken); });
    if (got != static_cast<ssize_t>(sizeof taken)) return;
    ::pthread_sigmask(SIG_UNBLOCK, &watched, nullptr);
    interrupted(static_cast<int>(taken.ssi_signo));
    // Stays until the end, since this thread is the only one that a second signal can reach.
    retrying([&] { return ::poll(&waits[1], 1, -1); });
}

InterruptWatcher::InterruptWatcher(std::function<void(int signal)> interrupted)
    : state_(std::make_unique<State>()) {
    state_->interrupted = std::move(interrupted);
    struct sigaction ending {};
    ending.sa_handler = endProgram;
    sigemptyset(&ending.sa_mask);
    sigemptyset(&state_->watched);
    for (std::size_t index = 0; index < kWatched.size(); ++index) {
        struct sigaction& before = state_->actionsBefore[index];
        ::sigaction(kWatched[index], nullptr, &before);
        // A shell lets its background jobs ignore Ctrl-C; it must stay ignored.
        if (before.sa_handler == SIG_IGN) continue;
        sigaddset(&state_->watched, kWatched[index]);
        ::sigaction(kWatched[index], &ending, nullptr);
    }
    ::pthread_sigmask(SIG_BLOCK, &state_->watched, &state_->maskBefore);
    state_->signals = Descriptor(::signalfd(-1, &state_->watched, SFD_CLOEXEC));
    state_->ended = Descriptor(::eventfd(0, EFD_CLOEXEC));
    state_->thread = std::thread([state = state_.get()] { state->watch(); });
}

InterruptWatcher::~InterruptWatcher() {
    ::eventfd_write(state_->ended.get(), 1);
    state_->thread.join();
    for (std::size_t index = 0; index < kWatched.size(); ++index) {
        ::sigaction(kWatched[index], &state_->actionsBefore[index], nullptr);
    }
    ::pthread_sigmask(SIG_SETMASK, &state_->maskBefore, nullptr);
}

}  // namespace kestrix
