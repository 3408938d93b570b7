// Reading the fields of a stored JSON object: a missing key or one of the wrong type is an Error that names
// it. For the .cpp files of this folder.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

#include "index/records.h"

namespace kestrix {

// Lives no longer than the object it reads. T is bool, double, std::int64_t or std::string.
class JsonFields {
  public:
    // `what` is what the Error calls the object. Throws Error if it is no object.
    JsonFields(const nlohmann::json& object, const char* what);

    // Nothing for a key that is not there, or null.
    template <typename T>
    std::optional<T> optional(const char* key) const;

    template <typename T>
    T required(const char* key) const;

    // The path behind a URL; nothing also for a URL that is no file's.
    std::optional<std::string> optionalPath(const char* key) const;

    ContentIndexMode indexMode(const char* key) const;

    [[noreturn]] void refuse(const char* key) const;

  private:
    const nlohmann::json& object_;
    const char* what_;
};

}  // namespace kestrix
