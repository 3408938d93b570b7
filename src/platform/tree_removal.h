// Deleting a file, or a folder with all that it holds, for good.
#pragma once

#include <functional>
#include <string>

#include "base/error.h"

namespace kestrix {

// What a removal asks and tells while it runs, on the thread that runs it. Every one may be empty.
struct RemovalWatch {
    // Asked before each entry; true ends the removal there.
    std::function<bool()> shouldStop;
    // Called after each entry that went.
    std::function<void()> removed;
    // Called for each entry that stays for a reason of its own, "cannot delete PATH: reason". The folders
    // above it stay too and are not told.
    std::function<void(const Error& failure)> failed;
};

enum class RemovalOutcome { removed, failed, stopped };

// Deletes what stands at `path`. Everything is opened relative to the folder above it, so a folder that is
// exchanged for a symbolic link meanwhile leads nowhere: a link is deleted itself and never followed. Links
// among the folders of `path` are followed, as its user wrote them. "/", mount points and what is mounted
// below `path` stay, bind mounts included: a folder on another mount than its parent is a failure. A failure
// does not end the removal; whatever else can be deleted is.
// Any thread; it blocks until it is done. Folders may be of any depth and name: at most 66 are open at once.
RemovalOutcome removeTree(const std::string& path, const RemovalWatch& watch);

}  // namespace kestrix
