#include "platform/message_socket.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <array>
#include <cstring>

#include "platform/linux/system_call.h"

namespace kestrix {

namespace {

constexpr int kSeals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL;

// Room for two descriptors, so that a second one is seen instead of cutting the message.
union Control {
    cmsghdr alignment;
    std::array<char, CMSG_SPACE(2 * sizeof(int))> bytes;
};

msghdr header(iovec& part, Control& control, std::size_t controlSize) {
    msghdr made{};
    made.msg_iov = &part;
    made.msg_iovlen = 1;
    if (controlSize != 0) {
        made.msg_control = control.bytes.data();
        made.msg_controllen = controlSize;
    }
    return made;
}

// Takes all descriptors that came along; the first one is returned, and `count` tells how many there were.
Descriptor takeDescriptors(msghdr& received, std::size_t& count) {
    Descriptor first;
    count = 0;
    for (cmsghdr* part = CMSG_FIRSTHDR(&received); part != nullptr; part = CMSG_NXTHDR(&received, part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS) continue;
        const std::size_t here = (part->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (std::size_t i = 0; i < here; ++i, ++count) {
            int number = -1;
            std::memcpy(&number, CMSG_DATA(part) + i * sizeof(int), sizeof number);
            Descriptor taken(number);
            if (count == 0) first = std::move(taken);
        }
    }
    return first;
}

}  // namespace

std::pair<MessageSocket, MessageSocket> MessageSocket::makePair() {
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
        throwError("make", "a pair of sockets", errno);
    return {MessageSocket(Descriptor(ends[0])), MessageSocket(Descriptor(ends[1]))};
}

bool MessageSocket::send(std::string_view bytes, int descriptor) const {
    Control control{};
    iovec part{const_cast<char*>(bytes.data()), bytes.size()};
    msghdr message = header(part, control, descriptor < 0 ? 0 : CMSG_SPACE(sizeof(int)));
    if (descriptor >= 0) {
        cmsghdr* rights = CMSG_FIRSTHDR(&message);
        rights->cmsg_level = SOL_SOCKET;
        rights->cmsg_type = SCM_RIGHTS;
        rights->cmsg_len = CMSG_LEN(sizeof(int));
        std::memcpy(CMSG_DATA(rights), &descriptor, sizeof descriptor);
    }
    return retrying([&] { return ::sendmsg(descriptor_.get(), &message, MSG_NOSIGNAL); }) >= 0;
}

std::optional<Message> MessageSocket::receive() const {
    Message message;
    message.bytes.resize(kLongestMessage);
    Control control{};
    iovec part{message.bytes.data(), message.bytes.size()};
    msghdr received = header(part, control, sizeof control.bytes);
    const auto got = retrying([&] { return ::recvmsg(descriptor_.get(), &received, MSG_CMSG_CLOEXEC); });
    if (got <= 0) return std::nullopt;  // nobody sends an empty message
    std::size_t descriptors = 0;
    message.descriptor = takeDescriptors(received, descriptors);
    const bool wasCut = (received.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) != 0;
    message.bytes.resize(wasCut || descriptors > 1 ? 0 : static_cast<std::size_t>(got));
    return message;
}

Descriptor sealedMemory(std::string_view bytes) {
    Descriptor memory(::memfd_create("kestrix", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (!memory.isOpen()) return memory;
    for (std::size_t done = 0; done < bytes.size();) {
        const auto written =
            retrying([&] { return ::write(memory.get(), bytes.data() + done, bytes.size() - done); });
        if (written <= 0) return Descriptor();
        done += static_cast<std::size_t>(written);
    }
    if (::fcntl(memory.get(), F_ADD_SEALS, kSeals) != 0) return Descriptor();
    return memory;
}

std::optional<std::string> sealedContents(const Descriptor& memory, std::size_t size) {
    const int seals = ::fcntl(memory.get(), F_GET_SEALS);
    if (seals < 0 || (seals & kSeals) != kSeals) return std::nullopt;
    struct stat status;
    if (::fstat(memory.get(), &status) != 0 || static_cast<std::size_t>(status.st_size) != size)
        return std::nullopt;
    std::string contents(size, '\0');
    for (std::size_t done = 0; done < size;) {
        const auto got = retrying(
            [&] { return ::pread(memory.get(), &contents[done], size - done, static_cast<off_t>(done)); });
        if (got <= 0) return std::nullopt;
        done += static_cast<std::size_t>(got);
    }
    return contents;
}

}  // namespace kestrix
