// Walls around a process that reads what strangers wrote.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

namespace kestrix {

struct ProcessLimits {
    std::size_t memory;              // bytes of private memory; what is beyond fails as if there were none
    std::size_t output;              // bytes of any file or shared memory that it writes
    std::chrono::seconds processor;  // then the process is ended
};

// For the rest of this process's life and for what it starts. Programs built with a sanitizer get no limit of
// memory, which their shadow would break at once.
void limitThisProcess(const ProcessLimits& limits);

enum class ShutIn {
    computing,   // reads and writes what is open, no more
    oneProgram,  // may become another program, once or more, but start none beside itself
};

// Shuts this process in for good, and what it starts with it: of the files only those at and below the given
// paths can be opened, for reading (and, for oneProgram, to be run); no network, no new process, no memory
// that is both made and run. Call it with one thread; those that are made later stay inside, and with
// `computing` none can be made any more after sealCalls.
//
// The kernel keeps the walls in two parts, and an old or restricted one may have only one of them.
class Walls {
  public:
    // Files, by Landlock. Whether the kernel does it.
    static bool closeFiles(const std::vector<std::string>& readable, ShutIn kind);
    // System calls, by a filter that knows what is needed and refuses the rest with EPERM, for all threads.
    // Without `filesAreClosed` it refuses to open any file, too. Whether the kernel does it.
    static bool sealCalls(ShutIn kind, bool filesAreClosed);
};

// Loads the C library's converters between an encoding and UTF-8, for good: each is a library of its own,
// which cannot be loaded behind the walls.
void keepConverter(const char* encoding);

// Becomes another program. Returns only if that fails.
void becomeProgram(const std::string& program, const std::vector<std::string>& arguments);

// Ends this process at once, without any clean-up.
[[noreturn]] void leaveProcess(int exitStatus);

// Gives what the heap holds without need back to the system.
void giveMemoryBack();

}  // namespace kestrix
