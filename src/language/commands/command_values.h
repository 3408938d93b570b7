// Reading the values that a sentence brought to a factory.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "language/command.h"

namespace kestrix {

// The first value if it is of this type, or nullptr.
template <typename Value>
const Value* firstValue(const CommandArguments& args) {
    return args.empty() ? nullptr : std::any_cast<Value>(&args.front());
}

// The first value if it is a whole number of any usual type.
inline std::optional<std::int64_t> firstInteger(const CommandArguments& args) {
    if (const auto* value = firstValue<int>(args)) return *value;
    if (const auto* value = firstValue<long>(args)) return *value;
    if (const auto* value = firstValue<long long>(args)) return *value;
    return std::nullopt;
}

}  // namespace kestrix
