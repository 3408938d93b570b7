#include "app/cli/environment.h"

#include <cstdlib>

namespace kestrix::cli {

std::string_view environmentValue(const char* name) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing here changes the environment
    const char* value = std::getenv(name);
    return value == nullptr ? std::string_view() : std::string_view(value);
}

}  // namespace kestrix::cli
