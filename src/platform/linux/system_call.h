// What every system call of this folder needs: repeating after a signal, and failures in words.
#pragma once

#include <unistd.h>

#include <cerrno>
#include <string>
#include <string_view>

#include "platform/descriptor.h"

namespace kestrix {

// Calls until the call was not cut short by a signal. For calls that answer -1 and set errno.
template <typename Call>
auto retrying(Call call) {
    auto result = call();
    while (result == -1 && errno == EINTR)
        result = call();
    return result;
}

// Throws Error: "cannot ACTION PATH: reason".
[[noreturn]] void throwError(std::string_view action, std::string_view path, int number);

}  // namespace kestrix
