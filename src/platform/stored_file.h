// Small files that must never be half written or lose another process's work.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/directory.h"

namespace kestrix {

// The whole file; nothing if there is none. Throws Error for anything else.
std::optional<std::string> readWholeFile(const std::string& path);

// Puts `bytes` in place of the file, or leaves it as it was: written in its folder without a name where the
// file system knows such files (open(2), O_TMPFILE), synced, named, renamed, the folder synced. Keeps the
// mode of an existing file; a new one is readable by its owner alone. Throws Error.
void replaceFile(const std::string& path, std::string_view bytes);

// Puts the finished file `from`, written in the folder of `to`, in place of `to`: synced, renamed, the folder
// synced. Throws Error; then `to` is as it was.
void putInPlace(const std::string& from, const std::string& to);

// Sets when the file was last changed, as exactly as its file system keeps dates. Throws Error.
void setModificationDate(const std::string& path, const Timestamp& date);

// As replaceFile, for a file that is written piece by piece: what stands at `path` stays until commit, and
// for good if commit is never called or fails. Symbolic links at the path are followed; what is there and no
// plain file is refused. One thread. All operations throw Error.
class FileReplacement {
  public:
    // Whose file it is. A new file of the program's own is readable by its owner alone; one of the user's
    // gets the usual permissions, and one that is there and may not be written is refused.
    enum class Owner { program, user };

    explicit FileReplacement(const std::string& path, Owner owner = Owner::program);
    ~FileReplacement();
    FileReplacement(const FileReplacement&) = delete;
    FileReplacement& operator=(const FileReplacement&) = delete;

    void write(std::string_view bytes);
    // Syncs and puts the file in place. Nothing may be written afterwards.
    void commit();

  private:
    struct State;
    std::unique_ptr<State> state_;
};

// Adds `bytes` at the end in one write, making the file if needed. Throws Error.
void appendToFile(const std::string& path, std::string_view bytes);

// Makes the folder and those above it. Throws Error.
void makeFolder(const std::string& path);

// Removes or renames a file; a missing one is no failure for removal. Throw Error.
void removeFile(const std::string& path);
void renameFile(const std::string& from, const std::string& to);

// Renames a file or folder unless something stands at `to` already; whether it did. Throws Error for anything
// else, also where `from` is gone.
bool renameToFreeName(const std::string& from, const std::string& to);

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
