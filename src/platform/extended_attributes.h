// Extended attributes of files. Only those under "user." count here.
#pragma once

#include <string>
#include <vector>

namespace kestrix {

// The names, with "user." in front; empty where there are none or they cannot be read. Symbolic links are
// followed.
std::vector<std::string> listExtendedAttributes(const std::string& path);

}  // namespace kestrix
