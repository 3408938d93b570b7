// Facts about this machine and process.
#pragma once

#include <cstddef>
#include <string>

namespace kestrix {

std::string operatingSystemVersion();  // "Linux 6.1.0-18-amd64 (Debian GNU/Linux 12)"
std::string processorArchitecture();   // "x86_64"; "Unknown" where it cannot be told
int processorCount();
std::string processName();
std::string programPath();       // of this program, symbolic links resolved; empty if it cannot be told
std::string workingDirectory();  // throws Error when it is gone
// The path with symbolic links resolved; empty if it does not exist.
std::string resolvedPath(const std::string& path);

// Makes room for this many open files at once. Call it while the process has one thread: the kernel grows the
// table of a process with several only after every processor has come to rest, which was measured to hold up
// a walk by 30 ms.
void reserveDescriptors(std::size_t count);

// One line to the system log, for what the program's own log cannot take.
void logToSystem(const std::string& message);

// Peak resident memory of this process in bytes; 0 if not known.
std::size_t peakMemory();

}  // namespace kestrix
