#include "platform/system_info.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sched.h>
#include <sys/utsname.h>
#include <syslog.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "base/error.h"
#include "platform/linux/system_call.h"
#include "platform/stored_file.h"

namespace kestrix {

namespace {

struct Freed {
    void operator()(char* memory) const { std::free(memory); }
};
using CText = std::unique_ptr<char, Freed>;

std::string readOrEmpty(const std::string& path) {
    try {
        return readWholeFile(path).value_or("");
    } catch (const Error&) {
        return {};
    }
}

// What stands behind `key` at the start of a line, to the end of that line.
std::string_view valueOfLine(std::string_view text, std::string_view key) {
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        if (line.starts_with(key)) return line.substr(key.size());
        text.remove_prefix(std::min(text.size(), line.size() + 1));
    }
    return {};
}

// os-release is written in the shell's way: quotes around, a backslash before awkward characters.
std::string withoutShellQuotes(std::string_view value) {
    std::string plain;
    for (std::size_t at = 0; at < value.size(); ++at) {
        if (value[at] == '"' || value[at] == '\'') continue;
        if (value[at] == '\\' && at + 1 < value.size()) ++at;
        plain += value[at];
    }
    return plain;
}

std::string distributionName() {
    for (const char* place : {"/etc/os-release", "/usr/lib/os-release"}) {
        const std::string text = readOrEmpty(place);
        const std::string_view name = valueOfLine(text, "PRETTY_NAME=");
        if (!name.empty()) return withoutShellQuotes(name);
    }
    return {};
}

}  // namespace

std::string operatingSystemVersion() {
    utsname kernel{};
    if (::uname(&kernel) != 0) return "Linux";
    const std::string distribution = distributionName();
    if (distribution.empty()) return fmt::format("{} {}", kernel.sysname, kernel.release);
    return fmt::format("{} {} ({})", kernel.sysname, kernel.release, distribution);
}

std::string processorArchitecture() {
    utsname kernel{};
    return ::uname(&kernel) == 0 && kernel.machine[0] != '\0' ? kernel.machine : "Unknown";
}

int processorCount() {
    cpu_set_t usable;
    CPU_ZERO(&usable);
    // Fails on machines with more than 1,024 processors; those are counted whole.
    if (::sched_getaffinity(0, sizeof usable, &usable) == 0) return std::max(1, CPU_COUNT(&usable));
    return std::max(1, static_cast<int>(::sysconf(_SC_NPROCESSORS_ONLN)));
}

std::string processName() {
    return program_invocation_short_name;
}

std::string programPath() {
    return resolvedPath("/proc/self/exe");
}

std::string workingDirectory() {
    // The C library makes room itself, however long the path is.
    const CText folder(::getcwd(nullptr, 0));  // NOLINT(clang-analyzer-unix.StdCLibraryFunctions)
    if (!folder) throwError("find", "the working directory", errno);
    return folder.get();
}

std::string resolvedPath(const std::string& path) {
    const CText resolved(::realpath(path.c_str(), nullptr));
    return resolved ? resolved.get() : std::string();
}

void reserveDescriptors(std::size_t count) {
    const int last = ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, static_cast<int>(count) - 1);
    if (last >= 0) ::close(last);
}

void logToSystem(const std::string& message) {
    ::syslog(LOG_USER | LOG_NOTICE, "%s", message.c_str());
}

// Not from getrusage: its peak includes that of the program which started this one, before exec.
std::size_t peakMemory() {
    const std::string status = readOrEmpty("/proc/self/status");
    std::string_view kilobytes = valueOfLine(status, "VmHWM:");
    kilobytes.remove_prefix(std::min(kilobytes.size(), kilobytes.find_first_not_of(" \t")));
    std::size_t number = 0;
    std::from_chars(kilobytes.data(), kilobytes.data() + kilobytes.size(), number);
    return number * 1024;
}

}  // namespace kestrix
