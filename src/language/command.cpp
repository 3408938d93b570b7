#include "language/command.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace kestrix {

nlohmann::json Command::explainedFields() const {
    return nlohmann::json::object();
}

bool CommandFactory::implementsCommand(std::string_view name) const {
    const auto names = commandNames();
    return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace kestrix
