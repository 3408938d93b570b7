#include "platform/standard_streams.h"

#include <poll.h>
#include <sys/ioctl.h>

#include <csignal>

#include "platform/linux/system_call.h"

namespace kestrix {

namespace {

constexpr int kUsualWidth = 80;

int descriptorOf(StandardStream stream) {
    switch (stream) {
        case StandardStream::input:
            return STDIN_FILENO;
        case StandardStream::output:
            return STDOUT_FILENO;
        case StandardStream::error:
            return STDERR_FILENO;
    }
    return -1;
}

WriteOutcome outcomeOf(int number, int* errorNumber) {
    if (number == 0) return WriteOutcome::written;
    if (errorNumber != nullptr) *errorNumber = number;
    return number == EPIPE ? WriteOutcome::readerGone : WriteOutcome::failed;
}

// Another program that shares the terminal or pipe may have made it non-blocking: then waits until it takes
// more. A reader that goes away ends the wait too.
void waitUntilWritable(int descriptor) {
    pollfd waits{descriptor, POLLOUT, 0};
    retrying([&] { return ::poll(&waits, 1, -1); });
}

}  // namespace

bool isTerminal(StandardStream stream) {
    return ::isatty(descriptorOf(stream)) == 1;
}

int terminalWidth(StandardStream stream) {
    winsize size{};
    const bool known = ::ioctl(descriptorOf(stream), TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : kUsualWidth;
}

WriteOutcome writeTo(StandardStream stream, std::string_view bytes, int* errorNumber) {
    const int descriptor = descriptorOf(stream);
    while (!bytes.empty()) {
        const ssize_t written = retrying([&] { return ::write(descriptor, bytes.data(), bytes.size()); });
        if (written >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno == EAGAIN) {
            waitUntilWritable(descriptor);
        } else {
            return outcomeOf(errno, errorNumber);
        }
    }
    return WriteOutcome::written;
}

WriteOutcome closeStream(StandardStream stream, int* errorNumber) {
    const int number = ::close(descriptorOf(stream)) == 0 ? 0 : errno;
    // A stream that was closed from the start lost nothing, or writeTo has told already. An interrupted close
    // has closed.
    return outcomeOf(number == EBADF || number == EINTR ? 0 : number, errorNumber);
}

void ignoreBrokenPipes() {
    std::signal(SIGPIPE, SIG_IGN);
}

}  // namespace kestrix
