#include <fcntl.h>

#include "platform/linux/system_call.h"
#include "platform/standard_streams.h"

namespace kestrix {

// The lowest free number is the one that open takes. Read-only: what is written to such a place fails with
// EBADF, as it would have without it.
void reserveStandardStreams() {
    for (int number = STDIN_FILENO; number <= STDERR_FILENO; ++number) {
        if (::fcntl(number, F_GETFD) != -1) continue;
        if (retrying([] { return ::open("/dev/null", O_RDONLY); }) != number) return;
    }
}

}  // namespace kestrix
