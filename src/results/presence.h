// Whether the file of a record is there, asked when it is shown.
#pragma once

#include <string>

#include "files/search_result.h"

namespace kestrix {

// Whether there is certainly nothing at the path; a symbolic link is something. Any thread.
bool hasGone(const std::string& path);

enum class Presence {
    here,
    missing,  // its disk is there, the file is not
    offline,  // its disk is away
};

// Only what a catalog found is looked for, by one look at the disk: other sources have just seen their files.
// A catalog marks its records as missing-if-not-there only when its disk was there; so a file that is not
// there without that mark lies on a disk that is away. Any thread.
Presence presenceOf(const SearchResult& record);

}  // namespace kestrix
