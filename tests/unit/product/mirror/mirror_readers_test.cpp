// A machine that updates while its mirror is renewed gets the old or the new state, whole.

#include <array>
#include <filesystem>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "common/io.h"
#include "product/fetch/fetch.h"
#include "product/mirror/publish.h"
#include "tests/support/mirror.h"

namespace {

class CountingListener : public fetch::Listener {
public:
    void Status(std::uint16_t status, std::string_view /*name*/) override {
        m_refused += status == kUpdateProcessingFailed ? 1 : 0;
    }
    void Log(std::string_view text) override { m_log.append(text).append("\n"); }
    bool IsStopping() override { return false; }

    int m_refused = 0;
    std::string m_log;
};

// Publishes a state of two files that name the state for each byte that comes, and answers with
// one when it is there. One in the time of a read: two would be one too many for the reader.
int PublishWhenTold(int channel, const std::string& source, const std::string& mirror) {
    signed_index::SecretKey key;
    (void)key.Parse(kMirrorSecretKey);
    char byte = 0;
    for (int state = 1; ::read(channel, &byte, 1) == 1; ++state) {
        // At another moment of each read.
        std::this_thread::sleep_for(std::chrono::milliseconds(state % 20));
        std::vector<SourceDatabase> databases;
        for (const char* name : {"a.hdb", "b.hdb"}) {
            const std::string path = source + name;
            WriteFile(path, std::string(name) + " of state " + std::to_string(state) + "\n");
            databases.push_back({name, path, 0});
        }
        Published published;
        std::string problem;
        if (!PublishMirror(mirror, databases, &key, std::time(nullptr), 1, published, problem)) {
            return 1;
        }
        if (::write(channel, &byte, 1) != 1) {
            return 1;
        }
    }
    return 0;
}

TEST(MirrorReaders, SeeOneStateWholeWhileItIsRenewed) {
    const ScratchFolder folder;
    for (const char* name : {"source", "product", "product/updturl.keys", "download"}) {
        std::filesystem::create_directory(folder / name);
        ::chmod((folder / name).c_str(), 0755);
    }
    WriteFile(folder / "product/updturl.keys/test.pub", kMirrorPublicKey);
    ::chmod((folder / "product/updturl.keys/test.pub").c_str(), 0644);
    const MirrorServer server;
    std::array<int, 2> ends{};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
    common::FileDescriptor channel(ends[0]);
    common::FileDescriptor publishers(ends[1]);
    const pid_t publisher = StartChild([&] {
        channel.Reset();
        return PublishWhenTold(publishers.Get(), folder / "source/", server.Root());
    });
    publishers.Reset();
    const auto begin = [&] { return common::WriteAll(channel.Get(), "p"); };
    const auto isDone = [&] {
        char byte = 0;
        return ::read(channel.Get(), &byte, 1) == 1;
    };
    ASSERT_TRUE(begin() && isDone());

    fetch::Request request;
    request.addresses = {server.Address()};
    request.productDirectory = folder / "product/";
    request.downloadDirectory = folder / "download/";
    request.limits.firstPause = std::chrono::milliseconds(20);
    std::set<std::string> states;
    for (int i = 0; i < 60; ++i) {
        CountingListener listener;
        ASSERT_TRUE(begin());
        ASSERT_EQ(fetch::Fetch(request, listener).result, kUpdaterUpdated) << listener.m_log;
        EXPECT_EQ(listener.m_refused, 0) << listener.m_log;
        const std::string first = ReadFile(folder / "download/candidate/a.hdb").substr(5);
        EXPECT_EQ(ReadFile(folder / "download/candidate/b.hdb").substr(5), first);
        states.insert(first);
        ASSERT_TRUE(isDone());
    }
    channel.Reset();
    EXPECT_EQ(JoinChild(publisher), 0);
    EXPECT_GT(states.size(), 2U);
}

}  // namespace
