// The variables that the user's shell hands to the program.
#pragma once

#include <string_view>

namespace kestrix::cli {

// Empty if it is not set. Valid until the program ends, since nothing here changes the environment.
std::string_view environmentValue(const char* name);

}  // namespace kestrix::cli
