#include "shell/source_place.h"

#include <algorithm>
#include <string_view>

#include "base/path.h"

namespace kestrix {

std::string sourceFileName(const std::source_location& where) {
    return std::string(path::lastComponent(where.file_name()));
}

std::string sourceFileStem(const std::source_location& where) {
    const std::string name = sourceFileName(where);
    return name.substr(0, name.rfind('.'));
}

std::string sourceFunctionName(const std::source_location& where) {
    // clang writes the nameless namespace with the bracket that otherwise begins the parameters.
    static constexpr std::string_view kNameless = "(anonymous namespace)::";
    std::string name = where.function_name();
    for (auto at = name.find(kNameless); at != std::string::npos; at = name.find(kNameless)) {
        name.erase(at, kNameless.size());
    }
    name.resize(std::min(name.find('('), name.size()));
    // npos + 1 is 0: what is not found takes nothing away.
    name.erase(0, name.rfind(' ') + 1);
    name.erase(0, name.rfind(':') + 1);
    return name;
}

}  // namespace kestrix
