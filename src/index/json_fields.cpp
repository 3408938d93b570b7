#include "index/json_fields.h"

#include <fmt/format.h>

#include <cstdint>
#include <nlohmann/json.hpp>
#include <type_traits>
#include <utility>

#include "base/error.h"

namespace kestrix {

namespace {

template <typename T>
bool holds(const nlohmann::json& value) {
    if constexpr (std::is_same_v<T, bool>) return value.is_boolean();
    if constexpr (std::is_same_v<T, double>) return value.is_number();
    if constexpr (std::is_same_v<T, std::string>) return value.is_string();
    if constexpr (std::is_same_v<T, std::int64_t>) {
        return value.is_number_integer() &&
               !(value.is_number_unsigned() && value.get<std::uint64_t>() > INT64_MAX);
    }
}

}  // namespace

JsonFields::JsonFields(const nlohmann::json& object, const char* what) : object_(object), what_(what) {
    if (!object.is_object()) throw Error("JSON", 0, fmt::format("{} is no JSON object", what));
}

template <typename T>
std::optional<T> JsonFields::optional(const char* key) const {
    const auto found = object_.find(key);
    if (found == object_.end() || found->is_null()) return std::nullopt;
    if (!holds<T>(*found)) refuse(key);
    return found->template get<T>();
}

template <typename T>
T JsonFields::required(const char* key) const {
    auto value = optional<T>(key);
    if (!value) refuse(key);
    return *std::move(value);
}

template std::optional<bool> JsonFields::optional(const char*) const;
template std::optional<double> JsonFields::optional(const char*) const;
template std::optional<std::int64_t> JsonFields::optional(const char*) const;
template std::optional<std::string> JsonFields::optional(const char*) const;
template bool JsonFields::required(const char*) const;
template double JsonFields::required(const char*) const;
template std::int64_t JsonFields::required(const char*) const;
template std::string JsonFields::required(const char*) const;

std::optional<std::string> JsonFields::optionalPath(const char* key) const {
    const auto url = optional<std::string>(key);
    return url ? pathOfFileUrl(*url) : std::nullopt;
}

ContentIndexMode JsonFields::indexMode(const char* key) const {
    const auto number = required<std::int64_t>(key);
    if (number < 0 || number > static_cast<int>(ContentIndexMode::ocrAndTextDocuments)) refuse(key);
    return static_cast<ContentIndexMode>(number);
}

void JsonFields::refuse(const char* key) const {
    throw Error("JSON", 0, fmt::format("{}: \"{}\" is missing or not what it should be", what_, key));
}

}  // namespace kestrix
