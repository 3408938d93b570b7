#include "platform/linux/system_call.h"

#include <fmt/format.h>

#include <system_error>

#include "base/error.h"

namespace kestrix {

// A close that is interrupted is not repeated: Linux has let go of the number already.
void closeDescriptor(int number) {
    ::close(number);
}

void throwError(std::string_view action, std::string_view path, int number) {
    throw Error(kPosixDomain, number,
                fmt::format("cannot {} {}: {}", action, path, std::generic_category().message(number)));
}

}  // namespace kestrix
