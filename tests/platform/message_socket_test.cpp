#include "platform/message_socket.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

namespace kestrix {
namespace {

TEST(MessageSocket, MessagesKeepTheirBoundsAndBringDescriptors) {
    auto [one, other] = MessageSocket::makePair();
    const Descriptor null(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    ASSERT_TRUE(one.send("first"));
    ASSERT_TRUE(one.send("second", null.get()));
    const auto first = other.receive();
    const auto second = other.receive();
    EXPECT_EQ(first->bytes, "first");
    EXPECT_FALSE(first->descriptor.isOpen());
    EXPECT_EQ(second->bytes, "second");
    EXPECT_TRUE(second->descriptor.isOpen());
    EXPECT_NE(second->descriptor.get(), null.get());
    ASSERT_TRUE(one.send(std::string(MessageSocket::kLongestMessage + 1, 'x')));
    EXPECT_EQ(other.receive()->bytes, "");
    one = MessageSocket();
    EXPECT_FALSE(other.receive());
    EXPECT_FALSE(other.send("to nobody"));
}

TEST(SealedMemory, OnlyMemoryThatNobodyCanChangeIsRead) {
    const std::string bytes(100'000, 'x');
    const Descriptor sealed = sealedMemory(bytes);
    EXPECT_EQ(sealedContents(sealed, bytes.size()), bytes);
    EXPECT_EQ(::pwrite(sealed.get(), "y", 1, 0), -1);
    EXPECT_FALSE(sealedContents(sealed, bytes.size() - 1));
    const Descriptor open(::memfd_create("open", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    ASSERT_EQ(::write(open.get(), "xy", 2), 2);
    EXPECT_FALSE(sealedContents(open, 2));
    const Descriptor file(::open("/proc/self/exe", O_RDONLY | O_CLOEXEC));
    EXPECT_FALSE(sealedContents(file, 2));
    EXPECT_FALSE(sealedContents(Descriptor(), 0));
}

}  // namespace
}  // namespace kestrix
