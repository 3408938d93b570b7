// What every system call of this folder needs: repeating after a signal, an owner for descriptors, and
// failures in words.
#pragma once

#include <unistd.h>

#include <cerrno>
#include <string>
#include <string_view>
#include <utility>

namespace kestrix {

// Calls until the call was not cut short by a signal. For calls that answer -1 and set errno.
template <typename Call>
auto retrying(Call call) {
    auto result = call();
    while (result == -1 && errno == EINTR)
        result = call();
    return result;
}

// Owns one file descriptor. A close that is interrupted is not repeated: Linux has let go of the number
// already.
class Descriptor {
  public:
    explicit Descriptor(int number = -1) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~Descriptor() {
        if (number_ >= 0) ::close(number_);
    }

    bool isOpen() const { return number_ >= 0; }
    int get() const { return number_; }
    int release() { return std::exchange(number_, -1); }

  private:
    int number_;
};

// Throws Error: "cannot ACTION PATH: reason".
[[noreturn]] void throwError(std::string_view action, std::string_view path, int number);

}  // namespace kestrix
