// Where this user's files of ours lie, after the XDG base directories.
#pragma once

#include <string>
#include <vector>

namespace kestrix {

// All absolute, without trailing slash. Nothing is created here; whoever writes makes the folder first.
struct UserFolders {
    std::string home;          // of the password database; $HOME where that has none
    std::string settingsFile;  // $XDG_CONFIG_HOME/kestrix/settings.json
    std::string data;          // $XDG_DATA_HOME/kestrix
    std::string cache;         // $XDG_CACHE_HOME/kestrix

    // From the environment. $KESTRIX_HOME, when set, holds all but `home`. A base directory that is unset or
    // not absolute has its usual place below $HOME.
    static UserFolders fromEnvironment();
};

// Where data of all programs is installed, the user's own folder first: $XDG_DATA_HOME, then $XDG_DATA_DIRS.
// Not moved by $KESTRIX_HOME, as nothing of ours lies there.
std::vector<std::string> sharedDataFolders();

}  // namespace kestrix
