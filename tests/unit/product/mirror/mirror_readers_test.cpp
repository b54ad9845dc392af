// A machine that updates while its mirror is renewed gets the old or the new state, whole.

#include <atomic>
#include <filesystem>
#include <gtest/gtest.h>
#include <mutex>
#include <set>
#include <string>
#include <sys/stat.h>

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

// Publishes states of two files that name the state, one after the other, until it is killed.
int KeepPublishing(const std::string& source, const std::string& mirror) {
    signed_index::SecretKey key;
    (void)key.Parse(kMirrorSecretKey);
    for (int state = 1;; ++state) {
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
        // Readers take a while as well: two states in the time of one read are one too many.
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
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
    const pid_t publisher =
        StartChild([&] { return KeepPublishing(folder / "source/", server.Root()); });
    ASSERT_TRUE(WaitUntil([&] { return Exists(server.Root() + "index.json.minisig"); }));

    fetch::Request request;
    request.addresses = {server.Address()};
    request.productDirectory = folder / "product/";
    request.downloadDirectory = folder / "download/";
    request.limits.firstPause = std::chrono::milliseconds(20);
    std::set<std::string> states;
    for (int i = 0; i < 60; ++i) {
        CountingListener listener;
        ASSERT_EQ(fetch::Fetch(request, listener).result, kUpdaterUpdated) << listener.m_log;
        EXPECT_EQ(listener.m_refused, 0) << listener.m_log;
        const std::string first = ReadFile(folder / "download/candidate/a.hdb").substr(5);
        EXPECT_EQ(ReadFile(folder / "download/candidate/b.hdb").substr(5), first);
        states.insert(first);
    }
    ::kill(publisher, SIGKILL);
    (void)JoinChild(publisher);
    EXPECT_GT(states.size(), 2U);
}

}  // namespace
