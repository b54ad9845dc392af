#include "common/socket_peer.h"

#include <array>
#include <cerrno>
#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include "common/file_descriptor.h"

namespace {

constexpr uid_t kNobody = 65'534;
constexpr uid_t kUnknownUser = 3'999'999'999U;

TEST(SocketPeer, IsWhoMadeTheOtherEnd) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
    const common::FileDescriptor ours(ends[0]);
    const common::FileDescriptor theirs(ends[1]);
    const auto peer = common::PeerOf(ours.Get());
    ASSERT_TRUE(peer);
    EXPECT_EQ(peer->pid, ::getpid());
    EXPECT_EQ(peer->uid, ::geteuid());
    EXPECT_EQ(peer->gid, ::getegid());
}

TEST(SocketPeer, IsNotKnownOfWhatIsNoSocket) {
    errno = 0;
    EXPECT_FALSE(common::PeerOf(-1));
    EXPECT_EQ(errno, EBADF);
}

TEST(SocketPeer, IsTrustedAsRootOrByName) {
    const passwd* const nobody = ::getpwuid(kNobody);
    ASSERT_NE(nobody, nullptr);
    const std::string name = nobody->pw_name;
    EXPECT_TRUE(common::IsRootOr(0, name));
    EXPECT_TRUE(common::IsRootOr(0, ""));
    EXPECT_TRUE(common::IsRootOr(kNobody, name));
    EXPECT_FALSE(common::IsRootOr(kNobody, "root"));
    EXPECT_FALSE(common::IsRootOr(kNobody, ""));
    EXPECT_FALSE(common::IsRootOr(kUnknownUser, name));
    EXPECT_FALSE(common::IsRootOr(kUnknownUser, "")) << "who has no name has not the empty one";
}

}  // namespace
