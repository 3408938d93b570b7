// Folders that a walk has listed, kept open so that what lies in them is reached relative to them.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include "files/search_result.h"
#include "platform/directory.h"

namespace kestrix {

// Opens a folder whose path may be longer than the system takes at once. Returns 0 or an errno.
int openAnyPath(OpenDirectory& directory, const std::string& folder);

// A folder that went away while a walk was on its way to it is no failure: it was not there to be read.
bool countsAsUnreadable(int error);

// A folder that has been listed, with the names of its child folders that are still to be read.
struct FolderFamily {
    std::string path;
    DiskKey diskKey;
    std::string childNames;  // each with its null byte

    // Kept open from the listing while few families are; otherwise opened again when the first child is read.
    OpenDirectory directory;

    // Opens the folder if it is not open. Returns 0 or an errno. Any thread.
    int open();

  private:
    friend class FolderFamilies;
    std::mutex opening_;
    bool holdsPlace_ = false;
};

// Makes the families of one walk and outlives them. Any thread.
class FolderFamilies {
  public:
    std::shared_ptr<FolderFamily> make(OpenDirectory directory, const std::string& path,
                                       const DiskKey& diskKey, const std::string& childNames);

  private:
    bool takePlace();

    // Open folders at a time. Well below the usual limit of 1,024 open files a process, and enough that in
    // most trees no folder is opened twice.
    static constexpr int kOpenFolders = 256;

    std::atomic<int> openFolders_ = 0;
};

}  // namespace kestrix
