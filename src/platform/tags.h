// The tags that a user gives to files and folders, kept with the file in the extended attribute
// "user.xdg.tags".
#pragma once

#include <string>
#include <vector>

namespace kestrix {

// The tags in the order in which they are stored, without blanks around them; empty where there are none or
// they cannot be read. Symbolic links are followed. Any thread.
std::vector<std::string> readTags(const std::string& path);

// Puts `tags` in place of what the file had; none removes the attribute. Blanks around a tag and tags that
// come a second time are dropped. The attribute separates tags by commas, so one that holds a comma, and an
// empty one, throw Error, as does a file system that keeps no attributes; nothing is changed then.
void writeTags(const std::string& path, const std::vector<std::string>& tags);

}  // namespace kestrix
