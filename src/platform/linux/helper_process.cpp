#include "platform/helper_process.h"

#include <fmt/format.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstring>
#include <limits>

#include "platform/linux/spawn.h"
#include "platform/linux/system_call.h"

namespace kestrix {

namespace {

int inMilliseconds(std::chrono::milliseconds time) {
    return static_cast<int>(std::clamp<std::int64_t>(time.count(), 0, std::numeric_limits<int>::max()));
}

HelperEnd endOf(int status, const rusage& used) {
    HelperEnd end;
    end.peakMemory = static_cast<std::size_t>(used.ru_maxrss) * 1024;
    if (WIFSIGNALED(status)) {
        const int signal = WTERMSIG(status);
        const char* words = ::sigdescr_np(signal);
        end.outOfTime = signal == SIGXCPU;
        end.cause = fmt::format("signal {} ({})", signal, words == nullptr ? "unknown" : words);
    } else {
        end.cause = fmt::format("exit code {}", WEXITSTATUS(status));
    }
    return end;
}

}  // namespace

WakeUp::WakeUp() : event_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!event_.isOpen()) throwError("make", "an event", errno);
}

void WakeUp::wake() const {
    ::eventfd_write(event_.get(), 1);
}

void WakeUp::clear() const {
    eventfd_t count;
    ::eventfd_read(event_.get(), &count);
}

HelperProcess::HelperProcess(const std::string& program, const std::vector<std::string>& environment) {
    auto [own, other] = MessageSocket::makePair();
    Spawn spawn;
    for (const int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        spawn.openNothing(number);
    spawn.give(kHelperSocket, other.descriptor());
    StartedProcess started = spawn.start(program, {}, pointersTo(environment).data(), kHelperSocket + 1);
    socket_ = std::move(own);
    ended_ = std::move(started.ended);
    id_ = started.id;
}

HelperProcess::~HelperProcess() {
    if (id_ != 0) end(std::chrono::milliseconds(0));
}

HelperProcess::Wait HelperProcess::wait(const WakeUp& wakeUp, std::chrono::milliseconds timeout) const {
    std::array<pollfd, 3> watched = {
        {{socket_.descriptor(), POLLIN, 0}, {ended_.get(), POLLIN, 0}, {wakeUp.descriptor(), POLLIN, 0}}};
    ::poll(watched.data(), watched.size(), inMilliseconds(timeout));
    return {watched[0].revents != 0, watched[1].revents != 0, watched[2].revents != 0};
}

HelperEnd HelperProcess::end(std::chrono::milliseconds patience) {
    pollfd watched{ended_.get(), POLLIN, 0};
    if (::poll(&watched, 1, inMilliseconds(patience)) <= 0) ::kill(-id_, SIGKILL);
    int status = 0;
    rusage used{};
    retrying([&] { return ::wait4(id_, &status, 0, &used); });
    id_ = 0;
    return endOf(status, used);
}

}  // namespace kestrix
