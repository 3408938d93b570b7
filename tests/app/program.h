// Runs the built program as a user would.
#pragma once

#include <fcntl.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "tests/support/temporary_folder.h"

namespace kestrix {

struct Outcome {
    int code = -1;  // 128 + the signal's number if one killed the program
    std::string output;
    std::string errors;
};

// How the program's standard output is treated.
enum class Reader { readsAll, closesAfterFirst, interruptsAndReads, interruptsAndStalls };

// One home for settings and log, new for each test; the program sees no other.
class Program {
  public:
    const TemporaryFolder& folder() const { return folder_; }
    std::string home() const { return home_; }
    void setHome(std::string home) { home_ = std::move(home); }
    // For what root is never refused. Not root: nothing changes.
    void runAsNobody() { asNobody_ = ::geteuid() == 0; }
    // What stands on standard input; nothing unless this is called.
    void setInput(std::string_view text) { input_ = folder_.file("stdin", text); }
    void setVariable(std::string name, std::string value) { variables_[std::move(name)] = std::move(value); }

    Outcome run(const std::vector<std::string>& arguments, Reader reader = Reader::readsAll) const {
        int output[2];
        if (::pipe2(output, O_CLOEXEC) != 0) std::abort();
        const std::string errorFile = folder_.path("stderr");
        const pid_t child = start(arguments, output[1], errorFile);
        ::close(output[1]);
        Outcome outcome;
        readFrom(output[0], child, reader, outcome.output);
        finish(child, errorFile, outcome);
        if (reader != Reader::closesAfterFirst) ::close(output[0]);
        return outcome;
    }

    // With standard output going into a file or device; -1 for `path` empty: closed.
    Outcome runInto(const std::string& path, const std::vector<std::string>& arguments) const {
        const int output = path.empty() ? -1 : ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
        const std::string errorFile = folder_.path("stderr");
        const pid_t child = start(arguments, output, errorFile);
        if (output >= 0) ::close(output);
        Outcome outcome;
        finish(child, errorFile, outcome);
        return outcome;
    }

    // With standard output on a terminal of 80 columns. Standard error goes elsewhere.
    Outcome runOnTerminal(const std::vector<std::string>& arguments) const {
        int terminal = -1, side = -1;
        if (::openpty(&terminal, &side, nullptr, nullptr, nullptr) != 0) std::abort();
        const std::string errorFile = folder_.path("stderr");
        const pid_t child = start(arguments, side, errorFile);
        ::close(side);
        Outcome outcome;
        readFrom(terminal, child, Reader::readsAll, outcome.output);
        finish(child, errorFile, outcome);
        ::close(terminal);
        return outcome;
    }

    pid_t startSilently(const std::vector<std::string>& arguments) const {
        return start(arguments, -1, "/dev/null");
    }

  private:
    pid_t start(const std::vector<std::string>& arguments, int output, const std::string& errorFile) const {
        std::vector<const char*> list = {KESTRIX_BINARY};
        for (const std::string& argument : arguments)
            list.push_back(argument.c_str());
        list.push_back(nullptr);
        const pid_t child = ::fork();
        if (child != 0) return child;
        ::setenv("KESTRIX_HOME", home_.c_str(), 1);
        ::setenv("LC_ALL", "en_GB.UTF-8", 1);
        for (const char* name : {"KESTRIX_LOG", "NO_COLOR"})
            ::unsetenv(name);
        ::setenv("TERM", "xterm", 1);
        ::dup2(::open(input_.c_str(), O_RDONLY | O_CLOEXEC), STDIN_FILENO);
        const int errors = ::open(errorFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        ::dup2(errors, STDERR_FILENO);
        if (output >= 0) {
            ::dup2(output, STDOUT_FILENO);
        } else {
            ::close(STDOUT_FILENO);
        }
        for (const auto& [name, value] : variables_)
            ::setenv(name.c_str(), value.c_str(), 1);
        if (asNobody_ && ::setuid(65534) != 0) ::_exit(126);
        ::execv(KESTRIX_BINARY, const_cast<char* const*>(list.data()));
        ::_exit(127);
    }

    static void readFrom(int descriptor, pid_t child, Reader reader, std::string& text) {
        char buffer[4096];
        bool first = true;
        for (ssize_t got; (got = ::read(descriptor, buffer, sizeof buffer)) > 0; first = false) {
            text.append(buffer, static_cast<std::size_t>(got));
            if (!first || reader == Reader::readsAll) continue;
            if (reader == Reader::closesAfterFirst) {
                ::close(descriptor);
                return;
            }
            ::kill(child, SIGINT);
            if (reader == Reader::interruptsAndStalls) return;
        }
    }

    static void finish(pid_t child, const std::string& errorFile, Outcome& outcome) {
        int status = 0;
        ::waitpid(child, &status, 0);
        outcome.code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        std::ifstream errors(errorFile, std::ios::binary);
        outcome.errors.assign(std::istreambuf_iterator<char>(errors), {});
    }

    TemporaryFolder folder_;
    std::string input_ = "/dev/null";
    bool asNobody_ = false;
    std::map<std::string, std::string> variables_;
    std::string home_ = folder_.path("home");
};

}  // namespace kestrix
