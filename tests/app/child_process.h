// Finding what a program under test has started.
#pragma once

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

namespace kestrix {

// The process that this one starts, from whichever thread; 0 if none comes in five seconds.
inline pid_t awaitChildOf(pid_t process) {
    pid_t child = 0;
    for (int tries = 0; tries < 1000 && child == 0; ++tries) {
        ::usleep(5000);
        std::error_code ended;
        std::filesystem::directory_iterator tasks("/proc/" + std::to_string(process) + "/task", ended);
        for (; child == 0 && !ended && tasks != std::filesystem::end(tasks); tasks.increment(ended))
            std::ifstream(tasks->path() / "children") >> child;
    }
    return child;
}

}  // namespace kestrix
