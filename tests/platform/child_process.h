// Runs a piece of a test in a child process, where it may do what this one must not: change user, mount, end.
#pragma once

#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <exception>
#include <iostream>

namespace kestrix {

class ChildProcess {
  public:
    template <typename Work>
    explicit ChildProcess(Work work) {
        std::cout.flush();
        id_ = ::fork();
        if (id_ == 0) ::_exit(answer(work) ? 0 : 1);
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess() { exitCode(); }

    // Waits for its end. Negative if a signal ended it.
    int exitCode() {
        if (id_ > 0) {
            int status = 0;
            ::waitpid(id_, &status, 0);
            exitCode_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
            id_ = 0;
        }
        return exitCode_;
    }

    // Whether the work answered true. An exception counts as false and is shown.
    bool holds() { return exitCode() == 0; }

  private:
    template <typename Work>
    static bool answer(Work work) {
        try {
            return work();
        } catch (const std::exception& failure) {
            std::cerr << "in the child: " << failure.what() << '\n';
            return false;
        }
    }

    pid_t id_ = 0;
    int exitCode_ = -1;
};

template <typename Work>
bool holdsInChild(Work work) {
    return ChildProcess(work).holds();
}

// As above, as a user whom permissions bind: root may read and write everything.
template <typename Work>
bool holdsForOrdinaryUser(Work work) {
    return holdsInChild([&] {
        constexpr uid_t kNobody = 65534;
        if (::geteuid() == 0 && (::setgid(kNobody) != 0 || ::setuid(kNobody) != 0)) return false;
        return work();
    });
}

// As above, with a mount table of its own. Needs root.
template <typename Work>
bool holdsWithOwnMounts(Work work) {
    return holdsInChild([&] {
        if (::unshare(CLONE_NEWNS) != 0) return false;
        if (::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return false;
        return work();
    });
}

}  // namespace kestrix
