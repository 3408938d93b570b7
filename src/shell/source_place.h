// The place of a call in the words of the log and of failure reports. Private to this folder.
#pragma once

#include <source_location>
#include <string>

namespace kestrix {

// The last path component of the source file: "logger.cpp".
std::string sourceFileName(const std::source_location& where);

// The same without its extension: "logger".
std::string sourceFileStem(const std::source_location& where);

// The bare name of the function: "log". The compiler gives a whole signature, with the type it returns in
// front, its namespaces, and its parameters.
std::string sourceFunctionName(const std::source_location& where);

}  // namespace kestrix
