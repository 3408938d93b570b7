// Starting a program, as ChildProgram and HelperProcess do it.
#pragma once

#include <spawn.h>

#include <string>
#include <vector>

#include "platform/descriptor.h"

namespace kestrix {

struct StartedProcess {
    pid_t id = 0;
    Descriptor ended{};  // readable when it has ended
};

// The settings of one start: the program gets the usual answers to signals, leads a process group of its own
// and holds the descriptors that are named here and no others.
class Spawn {
  public:
    Spawn();
    ~Spawn();
    Spawn(const Spawn&) = delete;
    Spawn& operator=(const Spawn&) = delete;

    // The descriptor `own` of this process under a number of the program's.
    void give(int number, int own);
    // /dev/null, open for both ways.
    void openNothing(int number);

    // Starts it, with every descriptor from `firstClosed` on closed. Throws Error (POSIX) that names it.
    StartedProcess start(const std::string& program, const std::vector<std::string>& arguments,
                         char* const* environment, int firstClosed);

  private:
    posix_spawnattr_t attributes_;
    posix_spawn_file_actions_t files_;
};

// The texts as C wants them, with a null at the end; valid as long as they are.
std::vector<char*> pointersTo(const std::vector<std::string>& texts);

}  // namespace kestrix
