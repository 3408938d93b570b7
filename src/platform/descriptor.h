// The owner of one open descriptor of the operating system.
#pragma once

#include <utility>

namespace kestrix {

void closeDescriptor(int number);

// Closes its descriptor when it goes. Movable. Threads: as an int.
class Descriptor {
  public:
    explicit Descriptor(int number = -1) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~Descriptor() {
        if (number_ >= 0) closeDescriptor(number_);
    }

    bool isOpen() const { return number_ >= 0; }
    int get() const { return number_; }
    int release() { return std::exchange(number_, -1); }

  private:
    int number_;
};

}  // namespace kestrix
