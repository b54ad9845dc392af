// Somebody swaps folders, names and links, adds names, or writes in place and puts size and times
// back, at a random moment of the removal: nothing but what was scanned may go.

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <iostream>
#include <linux/capability.h>
#include <random>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

#include "product/scanapi/file_remover.h"
#include "product/scanapi/read_lease.h"
#include "product/vault/place.h"
#include "tests/support/scratch.h"
#include "tests/unit/product/scanapi/loaded_engine.h"

namespace {

using namespace scanapi;
namespace fs = std::filesystem;
using std::chrono::nanoseconds;
using std::chrono::steady_clock;

constexpr char kBad[] = "bad contents";
constexpr char kGood[] = "new contents";  // of the same size
constexpr std::size_t kSize = sizeof(kBad) - 1;

enum Trick {
    kSwapFolders,
    kSwapNames,
    kPutLink,
    kAddName,
    kWriteInPlace,
    kWriteInPlaceWithoutWaiting,
    kWriteThroughMapping,
    kTricks
};

int Rounds() {
    const char* const set = std::getenv("CORVANE_RACE_ROUNDS");
    return set != nullptr ? std::atoi(set) : 3500;
}

// From now on this thread gets no lease of another user's file, root or not.
void GiveUpLeases() {
    __user_cap_header_struct head{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[2]{};
    ASSERT_EQ(syscall(SYS_capget, &head, data), 0);
    data[0].effective &= ~(1U << static_cast<unsigned int>(CAP_LEASE));
    ASSERT_EQ(syscall(SYS_capset, &head, data), 0);
}

class DeletionRace : public testing::Test {
protected:
    void SetUp() override {
        if (!InSandbox()) {
            GTEST_SKIP() << "fills the vault: runs in tests/support/sandbox only";
        }
        setenv("XDG_DATA_HOME", m_tree.Path("data").c_str(), 1);
        m_racer = std::thread([this] { Race(); });
    }
    void TearDown() override {
        m_state = kEnd;
        if (m_racer.joinable()) {
            m_racer.join();
        }
    }

    void Run(int rounds, bool isOwn) {
        for (int round = 0; round < rounds; ++round) {
            if (round % 100 == 0) {
                fs::remove_all(vault::PathOfVault());
            }
            const bool hasVault = round % 2 == 0;
            m_trick = static_cast<Trick>(round / 2 % kTricks);
            Prepare(isOwn);
            EngineOpenStatus status = kOpenFailed;
            const auto file = TargetFile::Open(m_bad.c_str(), status);
            ASSERT_NE(file, nullptr);
            m_opened = file->Opened();
            // Over the whole of a removal, and a little beyond.
            m_delay = nanoseconds(std::uniform_int_distribution<long>(
                0, m_usual[hasVault].count() * 3 / 2)(m_random));
            m_isWritten = false;
            const auto start = steady_clock::now();
            m_state = kGo;
            Disposal disposal{{}, "Test.Virus", "1.00"};
            disposal.vault.isOn = hasVault;
            const auto result = RemoveScannedFile(*file, disposal).result;
            const auto took = steady_clock::now() - start;
            while (m_state == kGo) {
                std::this_thread::yield();
            }
            if (took < std::chrono::milliseconds(5)) {
                m_usual[hasVault] = (m_usual[hasVault] * 7 + took) / 8;
            }
            ++(result == RemovalResult::Removed ? m_removed : m_kept)[m_trick];
            if (IsWrong(result, *file)) {
                ++m_wrong[m_trick];
            }
        }
        for (int trick = 0; trick < kTricks; ++trick) {
            std::cout << "trick " << trick << ": removed " << m_removed[trick] << ", kept "
                      << m_kept[trick] << ", wrong " << m_wrong[trick] << "\n";
        }
    }

    void Prepare(bool isOwn) {
        for (const char* folder : {"d", "old", "other"}) {
            fs::remove_all(m_tree.Path(folder));
        }
        m_tree.Write("d/bad", kBad);
        m_tree.Write("d/good", kGood);
        m_tree.Write("other/bad", kGood);
        if (!isOwn) {
            ASSERT_EQ(chown(m_bad.c_str(), 4711, 4711), 0);
        }
    }

    // Whether something is gone that was not scanned. Names aside may be left; contents may not go.
    bool IsWrong(RemovalResult result, const TargetFile& file) {
        struct stat scanned {};
        fstat(file.Descriptor(), &scanned);
        switch (m_trick) {
            case kSwapFolders:
                return ReadAll(m_tree.Path("other/bad")) != kGood && ReadAll(m_bad) != kGood;
            case kSwapNames:
                return !IsAnywhere(kGood);
            case kPutLink:
                return ReadAll(m_tree.Path("d/good")) != kGood || !HasLink();
            case kAddName:
                return m_isWritten && ReadAll(m_tree.Path("d/second")) != kBad;
            default:
                // It held the new contents while it had a name, and has none now.
                return m_isWritten && result == RemovalResult::Removed;
        }
    }
    [[nodiscard]] bool IsAnywhere(const std::string& contents) const {
        for (const auto& entry : fs::directory_iterator(m_tree.Path("d"))) {
            if (ReadAll(entry.path()) == contents) {
                return true;
            }
        }
        return false;
    }
    [[nodiscard]] bool HasLink() const {
        for (const auto& entry : fs::directory_iterator(m_tree.Path("d"))) {
            if (entry.is_symlink()) {
                return true;
            }
        }
        return !m_isWritten;
    }

    void Race() {
        while (m_state != kEnd) {
            if (m_state != kGo) {
                std::this_thread::yield();
                continue;
            }
            const auto until = steady_clock::now() + m_delay;
            while (steady_clock::now() < until) {
            }
            Play();
            State expected = kGo;
            m_state.compare_exchange_strong(expected, kDone);
        }
    }

    void Play() {
        const std::string folder = m_tree.Path("d");
        const std::string good = m_tree.Path("d/good");
        switch (m_trick) {
            case kSwapFolders:
                (void)rename(folder.c_str(), m_tree.Path("old").c_str());
                (void)rename(m_tree.Path("other").c_str(), folder.c_str());
                break;
            case kSwapNames:
                (void)rename(m_bad.c_str(), m_tree.Path("d/moved").c_str());
                (void)rename(good.c_str(), m_bad.c_str());
                break;
            case kPutLink:
                (void)rename(m_bad.c_str(), m_tree.Path("d/moved").c_str());
                m_isWritten = symlink(good.c_str(), m_bad.c_str()) == 0;
                break;
            case kAddName:
                m_isWritten = link(m_bad.c_str(), m_tree.Path("d/second").c_str()) == 0;
                break;
            case kWriteInPlace:
                Write(O_WRONLY);
                break;
            case kWriteInPlaceWithoutWaiting:
                Write(O_WRONLY | O_NONBLOCK);
                break;
            case kWriteThroughMapping:
                Write(O_RDWR);
                break;
            case kTricks:
                break;
        }
    }
    void Write(int flags) {
        const common::FileDescriptor file(open(m_bad.c_str(), flags | O_CLOEXEC));
        if (!file) {
            return;
        }
        if (flags == O_RDWR) {
            void* const map = mmap(nullptr, kSize, PROT_WRITE, MAP_SHARED, file.Get(), 0);
            std::copy_n(kGood, kSize, static_cast<char*>(map));
            munmap(map, kSize);
        } else if (pwrite(file.Get(), kGood, kSize, 0) != static_cast<ssize_t>(kSize)) {
            return;
        }
        const timespec times[2] = {m_opened.st_atim, m_opened.st_mtim};
        futimens(file.Get(), times);
        struct stat now {};
        m_isWritten = fstat(file.Get(), &now) == 0 && now.st_nlink > 0;
    }

    enum State { kIdle, kGo, kDone, kEnd };

    TemporaryTree m_tree;
    std::string m_bad = m_tree.Path("d/bad");
    std::mt19937 m_random{20261122};
    std::thread m_racer;
    std::atomic<State> m_state = kIdle;
    Trick m_trick = kSwapFolders;
    nanoseconds m_delay{};
    nanoseconds m_usual[2] = {nanoseconds(50'000), nanoseconds(300'000)};
    struct stat m_opened {};
    bool m_isWritten = false;
    int m_removed[kTricks] = {};
    int m_kept[kTricks] = {};
    int m_wrong[kTricks] = {};
};

TEST_F(DeletionRace, NothingElseIsEverDeleted) {
    const auto probe = m_tree.Write("probe", "x");
    const common::FileDescriptor file(open(probe.c_str(), O_RDONLY | O_CLOEXEC));
    if (!ReadLease(file.Get()).IsHeld()) {
        GTEST_SKIP() << "the file system has no leases";
    }
    Run(Rounds(), true);
    for (int trick = 0; trick < kTricks; ++trick) {
        EXPECT_EQ(m_wrong[trick], 0) << "trick " << trick;
        EXPECT_GT(m_removed[trick], 0) << "trick " << trick << " always came first";
    }
    for (const Trick trick : {kSwapFolders, kSwapNames, kPutLink, kWriteInPlace}) {
        EXPECT_GT(m_kept[trick] + m_removed[trick], Rounds() / 8);
    }
    EXPECT_GT(m_kept[kSwapNames], 0) << "no trick ever came in time";
    EXPECT_GT(m_kept[kWriteInPlace], 0) << "no writer ever came in time";
}

TEST_F(DeletionRace, WithoutLeasesNoOtherFileIsEverDeleted) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs root to give a file away";
    }
    GiveUpLeases();
    Run(Rounds() / 2, false);
    for (const Trick trick : {kSwapFolders, kSwapNames, kPutLink, kAddName}) {
        EXPECT_EQ(m_wrong[trick], 0) << "trick " << trick;
    }
    EXPECT_GT(m_kept[kWriteInPlace], 0) << "no writer was ever seen";
}

}  // namespace
