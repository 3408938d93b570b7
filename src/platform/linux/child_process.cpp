// The end of the child is announced by a descriptor (pidfd), so one poll waits for it, for both outputs and
// for a stop. Waiting for the outputs to close instead would hang on whatever the child left in the
// background.
#include "platform/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <optional>

#include "platform/linux/spawn.h"
#include "platform/linux/system_call.h"

namespace kestrix {

namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr auto kPatience = std::chrono::seconds(2);
constexpr std::size_t kBuffer = 65536;

struct Pipe {
    Descriptor readEnd;
    Descriptor writeEnd;
};

Pipe makePipe(const std::string& program) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) throwError("start", program, errno);
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

// One output as it comes in.
struct Capture {
    Descriptor from;
    std::string text;
    bool wasCut = false;

    // What is there now, up to one buffer; closes at the end. False when nothing is there.
    bool readOnce(std::size_t limit) {
        std::array<char, kBuffer> buffer;
        const auto got = retrying([&] { return ::read(from.get(), buffer.data(), buffer.size()); });
        if (got > 0) {
            const auto size = static_cast<std::size_t>(got);
            const std::size_t kept = std::min(size, limit - text.size());
            text.append(buffer.data(), kept);
            wasCut = wasCut || kept < size;
            return true;
        }
        if (got == 0 || errno != EAGAIN) from = Descriptor();
        return false;
    }
};

int statusOf(int waitStatus) {
    return WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : 128 + WTERMSIG(waitStatus);
}

}  // namespace

struct ChildProgram::State {
    std::size_t limit;
    pid_t id = 0;  // 0: it has been waited for
    Descriptor ended;
    Descriptor stopAsked;
    Capture output;
    Capture errors;
    std::optional<SteadyClock::time_point> killAt;  // a stop was passed on, a kill not yet
    bool stopped = false;

    int reap();
    void waitForEnd();
    void passStopOn();
    int timeout() const;
};

ChildProgram::ChildProgram(const std::string& program, const std::vector<std::string>& arguments,
                           std::size_t limit, int input)
    : state_(std::make_unique<State>()) {
    state_->limit = limit;
    state_->stopAsked = Descriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!state_->stopAsked.isOpen()) throwError("start", program, errno);
    Pipe output = makePipe(program);
    Pipe errors = makePipe(program);
    Spawn spawn;
    if (input < 0) {
        spawn.openNothing(STDIN_FILENO);
    } else {
        spawn.give(STDIN_FILENO, input);
    }
    spawn.give(STDOUT_FILENO, output.writeEnd.get());
    spawn.give(STDERR_FILENO, errors.writeEnd.get());
    StartedProcess started = spawn.start(program, arguments, ::environ, STDERR_FILENO + 1);
    state_->id = started.id;
    state_->ended = std::move(started.ended);
    state_->output.from = std::move(output.readEnd);
    state_->errors.from = std::move(errors.readEnd);
    for (const Capture* capture : {&state_->output, &state_->errors})
        ::fcntl(capture->from.get(), F_SETFL, O_NONBLOCK);
}

ChildProgram::~ChildProgram() {
    if (state_->id == 0) return;
    ::kill(-state_->id, SIGKILL);
    state_->reap();
}

int ChildProgram::State::reap() {
    int status = 0;
    retrying([&] { return ::waitpid(id, &status, 0); });
    id = 0;
    return status;
}

ChildOutcome ChildProgram::wait() {
    State& state = *state_;
    state.waitForEnd();
    for (Capture* capture : {&state.output, &state.errors}) {
        // No more than a full pipe: what runs on in the background may go on writing.
        for (std::size_t most = 0; most < (1 << 20) / kBuffer && capture->from.isOpen(); ++most) {
            if (!capture->readOnce(state.limit)) break;
        }
    }
    ChildOutcome outcome;
    outcome.exitStatus = statusOf(state.reap());
    outcome.output = std::move(state.output.text);
    outcome.errors = std::move(state.errors.text);
    outcome.outputWasCut = state.output.wasCut;
    outcome.errorsWereCut = state.errors.wasCut;
    outcome.stopped = state.stopped;
    return outcome;
}

// The child is not reaped in here, so its number and its group's are still its own when a signal is sent.
void ChildProgram::State::waitForEnd() {
    while (true) {
        std::array<pollfd, 4> watched = {{{ended.get(), POLLIN, 0},
                                          {output.from.get(), POLLIN, 0},
                                          {errors.from.get(), POLLIN, 0},
                                          {stopped ? -1 : stopAsked.get(), POLLIN, 0}}};
        retrying([&] { return ::poll(watched.data(), watched.size(), timeout()); });
        if (killAt && SteadyClock::now() >= *killAt) {
            ::kill(-id, SIGKILL);
            killAt.reset();
        }
        if (watched[3].revents != 0) passStopOn();
        if (watched[1].revents != 0) output.readOnce(limit);
        if (watched[2].revents != 0) errors.readOnce(limit);
        if (watched[0].revents != 0) return;
    }
}

void ChildProgram::State::passStopOn() {
    stopped = true;
    killAt = SteadyClock::now() + kPatience;
    ::kill(-id, SIGTERM);
}

int ChildProgram::State::timeout() const {
    if (!killAt) return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*killAt - SteadyClock::now());
    return static_cast<int>(std::max<std::int64_t>(left.count(), 0));
}

void ChildProgram::stop() {
    ::eventfd_write(state_->stopAsked.get(), 1);
}

bool isExecutable(const std::string& path) {
    return ::access(path.c_str(), X_OK) == 0;
}

}  // namespace kestrix
