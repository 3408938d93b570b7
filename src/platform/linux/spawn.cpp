#include "platform/linux/spawn.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <csignal>

#include "platform/linux/system_call.h"

namespace kestrix {

Spawn::Spawn() {
    ::posix_spawnattr_init(&attributes_);
    ::posix_spawn_file_actions_init(&files_);
    sigset_t none;
    sigemptyset(&none);
    sigset_t usual;
    sigemptyset(&usual);
    sigaddset(&usual, SIGPIPE);
    ::posix_spawnattr_setsigmask(&attributes_, &none);
    ::posix_spawnattr_setsigdefault(&attributes_, &usual);
    ::posix_spawnattr_setpgroup(&attributes_, 0);
    ::posix_spawnattr_setflags(&attributes_,
                               POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
}

Spawn::~Spawn() {
    ::posix_spawn_file_actions_destroy(&files_);
    ::posix_spawnattr_destroy(&attributes_);
}

void Spawn::give(int number, int own) {
    ::posix_spawn_file_actions_adddup2(&files_, own, number);
}

void Spawn::openNothing(int number) {
    ::posix_spawn_file_actions_addopen(&files_, number, "/dev/null", O_RDWR, 0);
}

StartedProcess Spawn::start(const std::string& program, const std::vector<std::string>& arguments,
                            char* const* environment, int firstClosed) {
    ::posix_spawn_file_actions_addclosefrom_np(&files_, firstClosed);
    std::vector<char*> pointers = pointersTo(arguments);
    pointers.insert(pointers.begin(), const_cast<char*>(program.c_str()));
    StartedProcess started;
    const int error =
        ::posix_spawn(&started.id, program.c_str(), &files_, &attributes_, pointers.data(), environment);
    if (error != 0) throwError("start", program, error);
    // By number: the library's header declares pidfd_open without C linkage (glibc 2.36).
    started.ended = Descriptor(static_cast<int>(::syscall(SYS_pidfd_open, started.id, 0)));
    if (started.ended.isOpen()) return started;
    const int reason = errno;
    ::kill(-started.id, SIGKILL);
    retrying([&] { return ::waitpid(started.id, nullptr, 0); });
    throwError("watch", program, reason);
}

std::vector<char*> pointersTo(const std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 2);
    for (const std::string& text : texts)
        pointers.push_back(const_cast<char*>(text.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

}  // namespace kestrix
