// The engine's part played against the real program.

#include <array>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/socket.h>

#include "product/scanhost/worker.h"
#include "tests/support/quickest.h"
#include "tests/support/scratch.h"
#include "tests/support/served_files.h"
#include "tests/unit/product/scanapi/archives.h"
#include "tests/unit/product/scanhost/host_client.h"

namespace {

using archives::Eicar;
using scanning::ScanOutcome;
using scanning::Verdict;
using scanwire::Batch;
using scanwire::Ended;
using scanwire::FileVerdict;
using scanwire::FromWorker;
using scanwire::LeftOut;
using scanwire::Load;
using scanwire::Loaded;
using scanwire::Member;
using scanwire::NotLoaded;
using scanwire::Replace;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr char kOwnSignatures[] = SCANAPI_DEFS "/corvane.ldb";
const ScanOutcome kEicarFound{Verdict::Infected, "Eicar-Test-Signature.UNOFFICIAL", "", ""};
const ScanOutcome kClean{Verdict::Clean, "", "", ""};

common::FileDescriptor OpenFile(const std::string& path) {
    return common::FileDescriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC));
}

// What hosts of this user have left where they may.
std::vector<std::string> Leftovers() {
    std::vector<std::string> found;
    for (const char* folder : {"/dev/shm", "/tmp"}) {
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            if (entry.path().filename().string().starts_with("corvane-scan")) {
                found.push_back(entry.path());
            }
        }
    }
    return found;
}

class HostTest : public testing::Test {
protected:
    // A host with `workers` workers, which are not told of yet.
    void StartLoaded(std::uint32_t workers = 1, std::vector<std::string> databases = {}) {
        databases.emplace_back(kOwnSignatures);
        m_host.Load(databases, {.workers = workers});
        ASSERT_TRUE(m_host.Await<Loaded>());
    }

    // Patterns that begin as a file of "a" does make its scan slow: some 50 ms for each kilobyte.
    std::string SlowSignatures(int count = 20000) {
        std::string patterns;
        for (int i = 0; i < count; ++i) {
            std::string hex = "6161616161616161";
            for (unsigned int bit = 0; bit < 16; ++bit) {
                hex += (static_cast<unsigned int>(i) >> bit & 1U) != 0 ? "62" : "61";
            }
            patterns += "Slow.Test." + std::to_string(i) + ":0:*:" + hex + "63\n";
        }
        WriteFile(m_scratch / "slow.ndb", patterns);
        return m_scratch / "slow.ndb";
    }

    // A worker that is deep in the first of two files, the second of which is infected.
    void KeepBusy(WorkerClient& worker) {
        const std::string slow(1U << 20U, 'a');
        worker.SendRegion();
        worker.Put(0, slow);
        worker.Put(slow.size(), Eicar());
        worker.Send(Batch{.profile = {.unknownTypes = true},
                          .items = {{.id = 7, .size = slow.size()},
                                    {.id = 8, .offset = slow.size(), .size = Eicar().size()}}});
        ASSERT_TRUE(WaitUntil([&] { return worker.AtHand() == 7; }, kPatience));
    }

    // Its place is taken by another, which scans.
    void ExpectReplaced(std::uint32_t number, std::uint32_t generation, int status) {
        EXPECT_EQ(m_host.Await<Ended>(), (Ended{number, generation, status}));
        auto next = m_host.AwaitWorker();
        ASSERT_TRUE(next);
        EXPECT_EQ(next->Said().worker, number);
        EXPECT_EQ(next->Said().generation, generation + 1);
        EXPECT_EQ(next->Scan(Eicar()), kEicarFound);
    }

    ScratchFolder m_scratch;
    HostClient m_host;
};

TEST_F(HostTest, DatabasesAreLoadedAndTheDamagedOneIsLeftOut) {
    WriteFile(m_scratch / "damaged.ndb", "One.Test:0:*:6f6e652d74657374\nnonsense\n");
    WriteFile(m_scratch / "two.ndb", "Two.Test:0:*:74776f2d74657374\n");
    m_host.Load({m_scratch / "damaged.ndb", kOwnSignatures, m_scratch / "two.ndb"});
    EXPECT_EQ(m_host.Await<LeftOut>(), (LeftOut{m_scratch / "damaged.ndb", "Malformed database"}));
    EXPECT_EQ(m_host.Await<Loaded>(), Loaded{2});
    auto worker = m_host.AwaitWorker();
    ASSERT_TRUE(worker);
    EXPECT_EQ(worker->Said().worker, 0U);
    EXPECT_EQ(worker->Said().generation, 1U);
    EXPECT_TRUE(IsRunning(worker->Said().pid));
    EXPECT_EQ(worker->Scan(Eicar()), kEicarFound);
    EXPECT_EQ(worker->Scan("a two-test"),
              (ScanOutcome{Verdict::Infected, "Two.Test.UNOFFICIAL", "", ""}));
    EXPECT_EQ(worker->Scan("a one-test"), kClean);
}

TEST_F(HostTest, WithoutAnyDatabaseTheHostSaysSoAndEnds) {
    m_host.Load({m_scratch / "missing.ndb"});
    EXPECT_TRUE(m_host.Await<LeftOut>());
    EXPECT_EQ(m_host.Await<NotLoaded>(), NotLoaded{"no database could be loaded"});
    EXPECT_EQ(m_host.AwaitEnd(), 1);
}

TEST_F(HostTest, ThereAreAsManyWorkersAsWished) {
    StartLoaded(3);
    for (std::uint32_t number = 0; number < 3; ++number) {
        auto worker = m_host.AwaitWorker();
        ASSERT_TRUE(worker);
        EXPECT_EQ(worker->Said().worker, number);
        EXPECT_EQ(worker->Scan(Eicar()), kEicarFound);
    }
    EXPECT_TRUE(WaitUntil([this] { return ChildrenOf(m_host.Pid()).size() == 3; }));
}

TEST_F(HostTest, ABatchIsScannedInItsOrderByBytesAndByDescriptor) {
    StartLoaded();
    auto worker = m_host.AwaitWorker();
    ASSERT_TRUE(worker);
    worker->SendRegion();
    worker->Put(100, Eicar());
    worker->Put(300, "harmless");
    const std::string encrypted =
        archives::Zip({{.name = "a", .content = "secret", .encrypted = true}});
    worker->Put(400, encrypted);
    WriteFile(m_scratch / "zip", archives::Zip({{.name = "in/e.com", .content = Eicar()}}));
    WriteFile(m_scratch / "text", "text");
    const auto zip = OpenFile(m_scratch / "zip");
    const auto text = OpenFile(m_scratch / "text");
    worker->Send(Batch{.profile = {.archives = true, .unknownTypes = true},
                       .items = {{.id = 11, .offset = 100, .size = Eicar().size(), .baseName = "e"},
                                 {.id = 12,
                                  .size = std::filesystem::file_size(m_scratch / "zip"),
                                  .byDescriptor = true},
                                 {.id = 13, .offset = 300, .size = 8},
                                 {.id = 14, .size = 4, .byDescriptor = true},
                                 {.id = 15, .offset = 400, .size = encrypted.size()}}},
                 {zip.Get(), text.Get()});
    EXPECT_EQ(
        worker->RecordsUpTo(15),
        (std::vector<FromWorker>{
            FileVerdict{11, kEicarFound}, Member{12, "in/e.com"},
            FileVerdict{12, {Verdict::Infected, "Eicar-Test-Signature.UNOFFICIAL", "in/e.com", ""}},
            FileVerdict{13, kClean}, FileVerdict{14, kClean},
            FileVerdict{15, {Verdict::Unreadable, "", "", "encrypted"}}}));
    // It says so a moment after the last verdict.
    EXPECT_TRUE(WaitUntil([&worker] { return worker->AtHand() == 0; }));
}

TEST_F(HostTest, TheProfileIsThatOfTheBatch) {
    StartLoaded();
    auto worker = m_host.AwaitWorker();
    ASSERT_TRUE(worker);
    worker->SendRegion();
    const std::string zip = archives::Zip({{.name = "e.com", .content = Eicar()}});
    worker->Put(0, zip);
    const std::string unknown =
        std::string("\x01\x02\x03\x04\x05\x06\x07\x81\x8d") + std::string(8, '\0') + "no type";
    worker->Put(5000, unknown);
    worker->Send(Batch{.profile = {},
                       .items = {{.id = 1, .size = zip.size()},
                                 {.id = 2, .offset = 5000, .size = unknown.size()}}});
    EXPECT_EQ(worker->RecordsUpTo(2),
              (std::vector<FromWorker>{FileVerdict{1, kClean},
                                       FileVerdict{2, {Verdict::PassedOver, "", "", ""}}}));
}

TEST_F(HostTest, AFileCutShortUnderItsScanIsUnread) {
    StartLoaded();
    auto worker = m_host.AwaitWorker();
    ASSERT_TRUE(worker);
    WriteFile(m_scratch / "short", "short");
    EXPECT_EQ(worker->Scan(OpenFile(m_scratch / "short").Get(), 100000),
              (ScanOutcome{Verdict::Unreadable, "", "", "it could not be read to its end"}));
}

TEST_F(HostTest, MembersAreToldOfWhileALongScanRuns) {
    StartLoaded(1, {SlowSignatures()});
    auto worker = m_host.AwaitWorker();
    ASSERT_TRUE(worker);
    const std::string slow(800, 'a');
    const std::string zip = archives::Zip({{.name = "first", .content = slow},
                                           {.name = "second", .content = slow},
                                           {.name = "third", .content = slow}});
    worker->SendRegion();
    worker->Put(0, zip);
    worker->Send(Batch{.profile = {.archives = true}, .items = {{.id = 3, .size = zip.size()}}});
    std::vector<std::vector<FromWorker>> packets;
    do {
        packets.push_back(worker->NextPacket());
        ASSERT_FALSE(packets.back().empty());
    } while (!std::holds_alternative<FileVerdict>(packets.back().back()));
    // What came before a long part is told of after it at the latest.
    EXPECT_GE(packets.size(), 3U);
    EXPECT_EQ(packets.front().front(), FromWorker(Member{3, "first"}));
    EXPECT_EQ(packets.back().back(), FromWorker(FileVerdict{3, kClean}));
}

TEST_F(HostTest, AKilledWorkerIsToldOfAndReplaced) {
    StartLoaded(1, {SlowSignatures()});
    auto worker = m_host.AwaitWorker();
    ASSERT_TRUE(worker);
    KeepBusy(*worker);
    ASSERT_EQ(kill(worker->Said().pid, SIGKILL), 0);
    EXPECT_TRUE(worker->NextPacket().empty());
    EXPECT_EQ(worker->AtHand(), 7U);
    ExpectReplaced(0, 1, -SIGKILL);
}

TEST_F(HostTest, AWorkerIsReplacedAtOnce) {
    StartLoaded(2, {SlowSignatures()});
    auto first = m_host.AwaitWorker();
    auto second = m_host.AwaitWorker();
    ASSERT_TRUE(first && second);
    KeepBusy(*second);
    m_host.Send(Replace{.worker = 1, .generation = 1});
    EXPECT_TRUE(second->NextPacket().empty());
    ExpectReplaced(1, 1, -SIGKILL);
    EXPECT_EQ(first->Scan(Eicar()), kEicarFound);
}

// As one that waits for a server on the network, or for a program that serves a file system.
TEST_F(HostTest, AWorkerThatCannotEvenBeKilledIsReplacedAllTheSame) {
    const std::string folder = m_scratch / "served";
    std::filesystem::create_directory(folder);
    auto server = std::make_unique<ServedFiles>(
        folder, std::vector<ServedFiles::File>{{"file", std::string(5000, 'x')}});
    if (!server->IsMounted()) {
        GTEST_SKIP() << "no file system may be served here";
    }
    StartLoaded();
    auto worker = m_host.AwaitWorker();
    ASSERT_TRUE(worker);
    {
        const auto file = OpenFile(folder + "/file");
        EXPECT_EQ(worker->Scan(file.Get(), 5000), kClean);
        server->HangAtReads();
        worker->Send(
            Batch{.profile = {}, .items = {{.id = 77, .size = 5000, .byDescriptor = true}}},
            {file.Get()});
    }
    ASSERT_TRUE(WaitUntil([&] { return server->Hung() > 0; }, kPatience));
    m_host.Send(Replace{.worker = 0, .generation = 1});
    ExpectReplaced(0, 1, -SIGKILL);
    // Which has ended by itself, as nobody holds its socket any more.
    ExpectReplaced(0, 2, scanhost::kExitEngineGone);
    m_host.CloseControl();
    EXPECT_EQ(m_host.AwaitEnd(), 0) << "nor does the host wait for it";
    server.reset();
    EXPECT_TRUE(WaitUntil([&] { return !IsRunning(worker->Said().pid); }, kPatience));
}

TEST_F(HostTest, WhoIsGoneIsNotReplacedAgain) {
    StartLoaded();
    auto worker = m_host.AwaitWorker();
    ASSERT_TRUE(worker);
    m_host.Send(Replace{.worker = 0, .generation = 1});
    EXPECT_TRUE(m_host.Await<Ended>());
    auto second = m_host.AwaitWorker();
    ASSERT_TRUE(second);
    for (const Replace& past : {Replace{0, 1}, Replace{0, 3}, Replace{1, 1}, Replace{9999, 1}}) {
        m_host.Send(past);
    }
    // The host has read all of them when it answers one that counts.
    EXPECT_EQ(second->Scan(Eicar()), kEicarFound);
    m_host.Send(Replace{.worker = 0, .generation = 2});
    ExpectReplaced(0, 2, -SIGKILL);
}

TEST_F(HostTest, AWorkerWhoseSocketIsClosedEndsAndIsReplaced) {
    StartLoaded();
    auto worker = m_host.AwaitWorker();
    ASSERT_TRUE(worker);
    worker->Close();
    ExpectReplaced(0, 1, scanhost::kExitEngineGone);
}

TEST_F(HostTest, AThousandReplacementsLeaveNothingBehind) {
    StartLoaded(2);
    auto other = m_host.AwaitWorker();
    auto worker = m_host.AwaitWorker();
    ASSERT_TRUE(other && worker);
    // By then the host has closed its own ends of both, or is about to.
    EXPECT_EQ(worker->Scan(Eicar()), kEicarFound);
    const std::size_t before = OpenDescriptorsOf(m_host.Pid());
    for (int i = 0; i < 1000; ++i) {
        m_host.Send(Replace{.worker = 1, .generation = worker->Said().generation});
        ASSERT_TRUE(m_host.Await<Ended>()) << i;
        worker = m_host.AwaitWorker();
        ASSERT_TRUE(worker) << i;
    }
    EXPECT_EQ(worker->Said().generation, 1001U);
    EXPECT_TRUE(WaitUntil([&] { return OpenDescriptorsOf(m_host.Pid()) <= before; }));
    EXPECT_TRUE(WaitUntil([this] { return ChildrenOf(m_host.Pid()).size() == 2; }));
    EXPECT_EQ(other->Scan(Eicar()), kEicarFound);
    EXPECT_EQ(worker->Scan(Eicar()), kEicarFound);
}

TEST_F(HostTest, AWorkerHasItsSocketAndNothingElseOfTheHosts) {
    // Above the numbers of the host's own, which a later worker would inherit, too.
    StartLoaded(3);
    for (int i = 0; i < 3; ++i) {
        auto worker = m_host.AwaitWorker();
        ASSERT_TRUE(worker);
        EXPECT_EQ(worker->Scan(Eicar()), kEicarFound);
        // The standard ones, the socket, and none for the two mappings.
        EXPECT_EQ(OpenDescriptorsOf(worker->Said().pid), 4U) << i;
    }
}

TEST_F(HostTest, NothingIsLeftWhenTheEngineGoes) {
    StartLoaded(2, {SlowSignatures()});
    auto busy = m_host.AwaitWorker();
    auto idle = m_host.AwaitWorker();
    ASSERT_TRUE(busy && idle);
    KeepBusy(*busy);
    m_host.CloseControl();
    EXPECT_EQ(m_host.AwaitEnd(), 0);
    EXPECT_FALSE(IsRunning(busy->Said().pid));
    EXPECT_FALSE(IsRunning(idle->Said().pid));
    EXPECT_EQ(Leftovers(), std::vector<std::string>());
}

TEST_F(HostTest, TheWorkersOfAKilledHostEnd) {
    StartLoaded(2, {SlowSignatures()});
    auto busy = m_host.AwaitWorker();
    auto idle = m_host.AwaitWorker();
    ASSERT_TRUE(busy && idle);
    KeepBusy(*busy);
    ASSERT_EQ(kill(m_host.Pid(), SIGKILL), 0);
    EXPECT_EQ(m_host.AwaitEnd(), -SIGKILL);
    EXPECT_TRUE(WaitUntil(
        [&] { return !IsRunning(busy->Said().pid) && !IsRunning(idle->Said().pid); }, kPatience));
}

TEST_F(HostTest, AHostThatLoadsEndsAtOnceWithTheEngine) {
    // Seconds of loading.
    std::string hashes;
    for (long long i = 0; i < 2000000; ++i) {
        std::array<char, 64> line{};
        std::snprintf(line.data(), line.size(), "%032lld:%lld:Hash.Test\n", i * 4099,
                      i % 5000 + 100);
        hashes += line.data();
    }
    WriteFile(m_scratch / "large.hdb", hashes);
    constexpr auto kEnough = 400ms;
    const auto quickest = QuickestOf(5, kEnough, [&] {
        HostClient host;
        host.Load({m_scratch / "large.hdb"});
        EXPECT_FALSE(host.Next(300ms));
        const auto before = Clock::now();
        host.CloseControl();
        EXPECT_TRUE(host.AwaitEnd());
        return Clock::now() - before;
    });
    EXPECT_LT(quickest, kEnough);
}

TEST_F(HostTest, AnEngineThatGoesBeforeLoadingEndsTheHost) {
    m_host.Send(scanwire::Database{kOwnSignatures});
    m_host.CloseControl();
    EXPECT_EQ(m_host.AwaitEnd(), 1);
}

TEST_F(HostTest, NonsenseInsteadOfDatabasesEndsTheHost) {
    EXPECT_EQ(scanwire::SendPacket(m_host.Socket(), "nonsense"), scanwire::Sent::kWhole);
    EXPECT_EQ(m_host.AwaitEnd(), 1);
}

TEST_F(HostTest, ADescriptorThatNobodyAskedForEndsTheHost) {
    EXPECT_EQ(scanwire::SendPacket(m_host.Socket(), scanwire::Written(scanwire::ToHost(Load{})),
                                   std::array{m_host.Socket()}),
              scanwire::Sent::kWhole);
    EXPECT_EQ(m_host.AwaitEnd(), 1);
}

TEST_F(HostTest, NonsenseAfterLoadingEndsHostAndWorkers) {
    StartLoaded();
    auto worker = m_host.AwaitWorker();
    ASSERT_TRUE(worker);
    m_host.Send(Load{});
    EXPECT_TRUE(m_host.AwaitEnd());
    EXPECT_FALSE(IsRunning(worker->Said().pid));
}

// Each ends the worker without a crash, and another takes its place.
class HostileEngineTest : public HostTest {
protected:
    void SetUp() override {
        StartLoaded();
        m_worker = m_host.AwaitWorker();
        ASSERT_TRUE(m_worker);
    }
    void TearDown() override { ExpectReplaced(0, 1, scanhost::kExitRefused); }

    std::optional<WorkerClient> m_worker;
};

TEST_F(HostileEngineTest, NoMessage) {
    EXPECT_EQ(scanwire::SendPacket(m_worker->Socket(), "nonsense"), scanwire::Sent::kWhole);
}

TEST_F(HostileEngineTest, TooLongAPacket) {
    const std::string bytes(scanwire::kMaxPacket + 1, '\x22');
    EXPECT_EQ(send(m_worker->Socket(), bytes.data(), bytes.size(), 0),
              static_cast<ssize_t>(bytes.size()));
}

TEST_F(HostileEngineTest, ABatchWithoutARegion) {
    m_worker->Send(Batch{.profile = {}, .items = {{.id = 1}}});
}

TEST_F(HostileEngineTest, ASecondRegion) {
    m_worker->SendRegion();
    m_worker->SendRegion();
}

TEST_F(HostileEngineTest, ARegionWithoutMemory) {
    m_worker->Send(scanwire::Region{4096});
}

TEST_F(HostileEngineTest, ARegionBeyondItsMemory) {
    const common::FileDescriptor small(memfd_create("small", MFD_CLOEXEC));
    ASSERT_EQ(ftruncate(small.Get(), 4096), 0);
    m_worker->Send(scanwire::Region{4097}, {small.Get(), small.Get()});
}

TEST_F(HostileEngineTest, AHandWithoutItsPage) {
    const common::FileDescriptor region(memfd_create("region", MFD_CLOEXEC));
    ASSERT_EQ(ftruncate(region.Get(), 4096), 0);
    const common::FileDescriptor empty(memfd_create("empty", MFD_CLOEXEC));
    m_worker->Send(scanwire::Region{4096}, {region.Get(), empty.Get()});
}

TEST_F(HostileEngineTest, MemoryThatIsNoFile) {
    m_worker->Send(scanwire::Region{4096}, {m_worker->Socket(), m_worker->Socket()});
}

TEST_F(HostileEngineTest, BytesBehindTheRegion) {
    m_worker->SendRegion(4096);
    m_worker->Send(Batch{.profile = {}, .items = {{.id = 1, .offset = 4000, .size = 97}}});
}

TEST_F(HostileEngineTest, AnOffsetBehindTheRegion) {
    m_worker->SendRegion(4096);
    m_worker->Send(Batch{.profile = {}, .items = {{.id = 1, .offset = 5000}}});
}

TEST_F(HostileEngineTest, ADescriptorTooFew) {
    m_worker->SendRegion(4096);
    m_worker->Send(Batch{.profile = {}, .items = {{.id = 1, .size = 5, .byDescriptor = true}}});
}

TEST_F(HostileEngineTest, ADescriptorTooMany) {
    m_worker->SendRegion(4096);
    m_worker->Send(Batch{.profile = {}, .items = {{.id = 1}}}, {m_worker->Socket()});
}

}  // namespace
