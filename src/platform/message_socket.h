// Messages between two processes of ours on this machine.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/descriptor.h"

namespace kestrix {

struct Message {
    std::string bytes;
    Descriptor descriptor;  // of an open file that came along; not open if none did
};

// One end of a pair. A message arrives whole or not at all, in the order in which they were sent, and may
// carry one open descriptor. Threads: one may receive while another sends.
class MessageSocket {
  public:
    static constexpr std::size_t kLongestMessage = 64 * 1024;  // bytes

    // Both ends, closed in programs that are started. Throws Error (POSIX).
    static std::pair<MessageSocket, MessageSocket> makePair();

    MessageSocket() = default;
    explicit MessageSocket(Descriptor descriptor) : descriptor_(std::move(descriptor)) {}

    // Blocks while the other end has much to read. The descriptor stays the caller's. False: the other end is
    // gone.
    bool send(std::string_view bytes, int descriptor = -1) const;
    // Blocks until a message is there. Nothing: the other end is gone. A longer message than kLongestMessage
    // or one with more than one descriptor comes as an empty one.
    std::optional<Message> receive() const;

    int descriptor() const { return descriptor_.get(); }

  private:
    Descriptor descriptor_;
};

// A piece of memory that can be handed over as a descriptor and that nobody can change any more.

// Not open if there is no room for it.
Descriptor sealedMemory(std::string_view bytes);
// What it holds. Nothing unless it is sealed memory of exactly this size.
std::optional<std::string> sealedContents(const Descriptor& memory, std::size_t size);

}  // namespace kestrix
