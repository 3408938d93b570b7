// How the import helper is called.
#pragma once

namespace kestrix {

inline constexpr const char* kHelperName = "kestrix-import-helper";

// As first argument: put up the walls for a converter, then become the program whose path and arguments
// follow. It reads its standard input and writes its standard output. Without arguments the helper talks on
// kHelperSocket.
inline constexpr const char* kRunConverter = "run";

// With these exit codes of its own it ends in the first case; a converter's are below 64.
inline constexpr int kNoWalls = 71;
inline constexpr int kNoConverter = 72;

}  // namespace kestrix
