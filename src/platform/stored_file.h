// Small files that must never be half written or lose another process's work.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kestrix {

// The whole file; nothing if there is none. Throws Error for anything else.
std::optional<std::string> readWholeFile(const std::string& path);

// Puts `bytes` in place of the file, or leaves it as it was: written beside it, synced, renamed, the folder
// synced. Keeps the mode of an existing file; a new one is readable by its owner alone. Throws Error.
void replaceFile(const std::string& path, std::string_view bytes);

// Adds `bytes` at the end in one write, making the file if needed. Throws Error.
void appendToFile(const std::string& path, std::string_view bytes);

// Makes the folder and those above it. Throws Error.
void makeFolder(const std::string& path);

// Removes or renames a file; a missing one is no failure for removal. Throw Error.
void removeFile(const std::string& path);
void renameFile(const std::string& from, const std::string& to);

// Moves a damaged file to a free name beside it ("settings.json.damaged-1") and returns that name. Throws
// Error.
std::string setAside(const std::string& path);

// Holds an advisory lock on `path` + ".lock" against other processes and other FileLocks of this one. Blocks
// until it is free. Throws Error.
class FileLock {
  public:
    explicit FileLock(const std::string& path);
    ~FileLock();
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

  private:
    int descriptor_ = -1;
};

}  // namespace kestrix
