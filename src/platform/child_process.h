// Runs another program and takes what it writes.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace kestrix {

// What is left of a program that has ended.
struct ChildOutcome {
    std::string output;  // as it came, cut at the limit
    std::string errors;
    bool outputWasCut = false;
    bool errorsWereCut = false;
    int exitStatus = 0;  // 128 + the signal's number if one ended it
    bool stopped = false;
};

// One program, started by its path with its arguments and no shell in between, so that a file name is never
// more than a file name. It reads nothing (standard input is /dev/null) unless it is given an input, holds
// none of this process's files, has the usual answers to signals, and leads a process group of its own, so
// that a stop ends what it started as well and a Ctrl-C in the terminal is this program's to pass on.
//
// Threads: `stop` from any; the rest belongs to one at a time. Destruction kills what still runs.
class ChildProgram {
  public:
    // Of each of the two outputs. What comes beyond it is read and dropped, so the program never waits.
    static constexpr std::size_t kUsualLimit = 1 << 20;

    // Starts it. `input` is an open descriptor for it to read from, which stays the caller's. Throws Error
    // (POSIX) that names the program; ENOEXEC: a text without a line that names its interpreter.
    ChildProgram(const std::string& program, const std::vector<std::string>& arguments,
                 std::size_t limit = kUsualLimit, int input = -1);
    ~ChildProgram();
    ChildProgram(const ChildProgram&) = delete;
    ChildProgram& operator=(const ChildProgram&) = delete;

    // Blocks until the program has ended; what it left running in the background is not waited for. To be
    // called once.
    ChildOutcome wait();

    // Asks the program's group to end, and kills it if that has not helped after two seconds. Takes effect in
    // `wait`, also in one that is still to come.
    void stop();

  private:
    struct State;
    std::unique_ptr<State> state_;
};

// Whether this user may execute the file.
bool isExecutable(const std::string& path);

}  // namespace kestrix
