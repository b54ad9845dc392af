// The automatic updates as they are installed - corvane-rapidupdate, corvane-updated and
// corvane-update with both its stages, and a web server - when one of the services is killed.

#include <algorithm>
#include <array>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <iostream>
#include <poll.h>
#include <set>
#include <sys/socket.h>
#include <sys/un.h>

#include "common/io.h"
#include "tests/support/disk_model.h"
#include "tests/support/mirror.h"
#include "tests/support/traced_program.h"
#include "tests/unit/product/definitions/definitions_fixture.h"
#include "update/files/update_links.h"

namespace fs = std::filesystem;

namespace {

using testing::AnyOf;
using testing::Eq;
using testing::HasSubstr;

constexpr char kProduct[] = "/usr/lib/Corvane/Corvane/";
constexpr char kSocket[] = "/run/corvane/update.sock";
constexpr std::size_t kIndexHead = 12;
constexpr std::size_t kIndexRecord = 542;

// What changes files, and what somebody else can see.
bool IsSeenOutside(std::string_view name, std::string_view line) {
    static const std::set<std::string_view> kSeen{"sendto", "accept4", "connect", "socketpair",
                                                  "clone",  "clone3",  "vfork",   "kill",
                                                  "listen", "wait4",   "fcntl"};
    return ChangesFiles(name, line) || kSeen.contains(name);
}

class ServiceFailure : public DefinitionsTest {
protected:
    void SetUp() override {
        if (!HasPrivateRoot() || !CanTrace()) {
            GTEST_SKIP() << "no private root, or no strace that may look at processes";
        }
        std::signal(SIGPIPE, SIG_IGN);
        m_product = kProduct;
        m_defs = m_product + "defs/";
        CleanUp();
        for (const char* folder : {"defs", "download", "updturl.keys", "reports"}) {
            fs::create_directories(m_product + folder);
        }
        fs::create_directories("/run/corvane");
        WriteFile(m_product + "updturl.keys/mirror.pub", kMirrorPublicKey);
        WriteFile(m_product + "updt.lck", "");
        WriteFile(m_product + "updt.rpt", std::string("ZQRF\0\0\0\0\0\0\0\0", kIndexHead));
        fs::create_symlink("defs/current/scanver.cnf", m_product + "scanver.cnf");
        PutSources();
        PutPrograms();
        Publish(1, OwnSignature('B'));
        ASSERT_EQ(UpdateByService(), 1);
        Publish(2, m_new);
        m_start = ReadTree(kProduct);
    }
    void TearDown() override {
        EndService();
        if (HasPrivateRoot()) {
            CleanUp();
        }
    }
    static void CleanUp() {
        fs::remove_all("/usr/lib/Corvane");
        fs::remove_all("/run/corvane");
    }

    // Automatic, from the web server.
    void PutSources() const {
        WriteFile(m_product + "zqupdate.opt",
                  std::string({3, 0, 0, 0, 1, 0, 0, 0}) + std::string(512, '\0'));
        const std::string address = m_server.Address();
        std::string record =
            std::string(4, '\0') + address + std::string(1032 - address.size(), '\0');
        CUpdate::Encrypt(reinterpret_cast<unsigned char*>(record.data()),
                         static_cast<int>(record.size()));
        WriteFile(m_product + "updlink.dat", std::string("\0\0\0\0\1\0", 6) + record);
    }

    // Under names of their own, by which what they leave behind is found.
    void PutPrograms() const {
        fs::copy_file(CORVANE_UPDATE, m_updater);
        fs::copy_file(UPDATED_PROGRAM, m_service);
        const std::string program = m_product + "corvane-update";
        WriteFile(program, "#!/bin/sh\nexec " + m_updater + " --as-caller \"$@\"\n");
        fs::permissions(program, fs::perms(0755));
        fs::create_directory(m_scratch / "bin");
        WriteFile(m_scratch / "bin/pkill", "#!/bin/sh\n");
        fs::permissions(m_scratch / "bin/pkill", fs::perms(0755));
        ::setenv("PATH", ((m_scratch / "bin:") + m_path).c_str(), 1);
    }

    void Publish(std::uint64_t serial, const std::string& database) const {
        MirrorContents contents;
        contents.serial = serial;
        contents.files = {{"a.ndb", OwnSignature('A')}, {"b.ndb", database}};
        WriteMirror(m_server.Root(), contents);
    }

    void ResetFiles() const {
        WriteTree(kProduct, m_start);
        fs::remove("/zqcommon.log");
    }
    void Reset() const {
        ResetFiles();
        fs::remove(kSocket);
    }

    [[nodiscard]] std::vector<pid_t> Running(const std::string& program) const {
        std::vector<pid_t> running;
        for (const auto& entry : fs::directory_iterator("/proc")) {
            std::error_code ignored;
            if (fs::read_symlink(entry.path() / "exe", ignored) == program) {
                running.push_back(std::stoi(entry.path().filename().string()));
            }
        }
        return running;
    }
    [[nodiscard]] bool IsNothingRunning() const {
        return Running(m_updater).empty() && Running(m_service).empty();
    }

    static common::FileDescriptor Connect() {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, kSocket, sizeof address.sun_path - 1);
        common::FileDescriptor connection(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        if (::connect(connection.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address) !=
            0) {
            connection.Reset();
        }
        return connection;
    }

    // Starts the service, by strace with options; it listens afterwards, or has ended.
    void StartService(const std::vector<std::string>& options = {}) {
        m_child = StartChild([&] {
            ::dup2(::open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
            std::vector<std::string> command{m_service};
            if (!options.empty()) {
                command = TracedCommand(options, command);
            }
            return Become(command);
        });
        EXPECT_TRUE(WaitUntil([this] { return Connect().IsOpen() || HasServiceEnded(); }));
    }
    [[nodiscard]] bool HasServiceEnded() const {
        siginfo_t info{};
        return ::waitid(P_PID, static_cast<id_t>(m_child), &info, WEXITED | WNOHANG | WNOWAIT) !=
                   0 ||
               info.si_pid == m_child;
    }
    // Its exit status, -1 when it was killed.
    int EndService() {
        if (m_child <= 0) {
            return -1;
        }
        for (const pid_t process : Running(m_service)) {
            ::kill(process, SIGTERM);
        }
        return JoinChild(std::exchange(m_child, -1));
    }

    // All that the service says to one who wants an update.
    static std::string AskService() {
        const common::FileDescriptor connection = Connect();
        std::string heard;
        std::array<char, 4096> buffer{};
        pollfd readable{connection.Get(), POLLIN, 0};
        ssize_t got = connection && common::WriteAll(connection.Get(), "update\n") ? 1 : 0;
        while (got > 0 && ::poll(&readable, 1, 30'000) > 0) {
            got = ::read(connection.Get(), buffer.data(), buffer.size());
            heard.append(buffer.data(), got > 0 ? static_cast<std::size_t>(got) : 0);
        }
        return heard;
    }

    // The result of an update by a service that nobody kills, -1 without one.
    int UpdateByService() {
        StartService();
        const std::string heard = AskService();
        EXPECT_EQ(EndService(), 0);
        const std::size_t at = heard.rfind("result ");
        return at == std::string::npos ? -1 : std::atoi(heard.c_str() + at + 7);
    }

    void ExpectOldOrNew() const {
        EXPECT_THAT(CurrentFile("b.ndb"), AnyOf(Eq(OwnSignature('B')), Eq(m_new)));
        ExpectWhole();
    }
    void ExpectNewAndNothingLeft() const {
        EXPECT_TRUE(WaitUntil([this] { return IsNothingRunning(); })) << "left behind";
        EXPECT_EQ(CurrentFile("b.ndb"), m_new);
        ExpectWhole();
        EXPECT_LE(Names().size(), 4U) << testing::PrintToString(Names());
        for (const auto& [path, entry] : ReadTree(kProduct)) {
            EXPECT_FALSE(path.ends_with(".new") || path.find("unfinished") != std::string::npos)
                << path;
        }
    }

    [[nodiscard]] std::vector<std::string> RapidUpdate() const {
        return {RAPIDUPDATE_PROGRAM, "--once"};
    }

    // The update report that was listed last; the list holds whole records alone.
    // Of a killed run a record may be counted that is missing, of a refused one a record be there
    // that is not counted: that is how lists are written.
    void ExpectReported(const std::vector<std::string>& subjects, bool isRefused = false) const {
        const std::string index = ReadFile(m_product + "updt.rpt");
        ASSERT_GE(index.size(), kIndexHead + kIndexRecord);
        ASSERT_EQ((index.size() - kIndexHead) % kIndexRecord, 0U);
        const std::size_t records = (index.size() - kIndexHead) / kIndexRecord;
        const auto count = static_cast<unsigned char>(index[8]);
        EXPECT_THAT(count, AnyOf(Eq(records), Eq(isRefused ? records - 1 : records + 1)));
        const char* const last = index.data() + index.size() - kIndexRecord;
        EXPECT_THAT(subjects, testing::Contains(std::string(last + 30)));
        const std::string report = m_product + "reports/" + std::string(last + 286);
        EXPECT_NE(ReadFile(report), "");
        EXPECT_EQ(ModeOf(report), 0666U);
        EXPECT_EQ(ModeOf(m_product + "updt.rpt"), 0666U);
    }

    MirrorServer m_server;
    std::string m_updater = m_scratch / "updater";
    std::string m_service = m_scratch / "service";
    std::string m_trace = m_scratch / "trace";
    std::string m_new = OwnSignature('C');
    std::string m_path = std::getenv("PATH");
    Tree m_start;
    pid_t m_child = -1;
};

TEST_F(ServiceFailure, TheUpdateServiceKilledAtAnyCallEndsItsRunAndTheNextOneUpdates) {
    Reset();
    StartService({"-o", m_trace});
    ASSERT_THAT(AskService(), HasSubstr("result 1\n"));
    EXPECT_EQ(EndService(), 0);
    const std::vector<SystemCall> calls = CallsIn(m_trace, IsSeenOutside);
    std::size_t killed = 0;
    const auto chosen = Spread(calls.size(), 25, "calls of corvane-updated killed at");
    for (const std::size_t i : chosen) {
        const std::string kill = calls[i].Injecting("signal=KILL");
        SCOPED_TRACE(kill);
        Reset();
        StartService({"-o", "/dev/null", "-e", kill});
        const std::string heard = AskService();
        killed += EndService() == -1 ? 1 : 0;
        EXPECT_TRUE(WaitUntil([this] { return IsNothingRunning(); })) << "left behind";
        ExpectOldOrNew();
        if (heard.find("result 1\n") != std::string::npos) {
            EXPECT_EQ(CurrentFile("b.ndb"), m_new) << heard;
        }
        EXPECT_THAT(UpdateByService(), AnyOf(Eq(1), Eq(2)));
        ExpectNewAndNothingLeft();
    }
    std::cout << killed << " killed\n";
    // How often it looks up is a matter of time.
    EXPECT_GE(killed * 4, chosen.size() * 3);
}

TEST_F(ServiceFailure, TheAutomaticUpdatesKilledAtAnyCallLeaveAWholeListAndTheNextOneUpdates) {
    Reset();
    StartService();
    ASSERT_EQ(RunTraced({"-o", m_trace}, RapidUpdate()), 0);
    ExpectReported({"UPDATED SUCCESSFULLY"});
    const std::vector<SystemCall> calls = CallsIn(m_trace, IsSeenOutside);
    ASSERT_GT(calls.size(), 10U);
    for (const std::size_t i : Spread(calls.size(), 25, "calls of corvane-rapidupdate killed at")) {
        SCOPED_TRACE(calls[i].Injecting("KILL"));
        ResetFiles();
        EXPECT_EQ(RunInjected(calls[i], "signal=KILL", RapidUpdate()), -1) << "nobody was killed";
        // The service takes its leaving for a wish to stop.
        EXPECT_TRUE(WaitUntil([this] { return Running(m_updater).empty(); })) << "left behind";
        ExpectOldOrNew();
        EXPECT_EQ(RunTraced({"-o", "/dev/null"}, RapidUpdate()), 0);
        ExpectReported({"UPDATED SUCCESSFULLY", "UP-TO-DATE"});
        EXPECT_EQ(CurrentFile("b.ndb"), m_new);
    }
    EXPECT_EQ(EndService(), 0);
    ExpectNewAndNothingLeft();
}

TEST_F(ServiceFailure, AReportThatFindsNoRoomSpoilsNeitherTheUpdateNorTheList) {
    Reset();
    StartService();
    ASSERT_EQ(RunTraced({"-o", m_trace}, RapidUpdate()), 0);
    const std::vector<SystemCall> calls = CallsIn(m_trace, ChangesFiles);
    for (const std::size_t i : Spread(calls.size(), 15, "calls of corvane-rapidupdate refused")) {
        for (const char* error : {"error=ENOSPC", "error=EIO"}) {
            SCOPED_TRACE(calls[i].Injecting(error));
            ResetFiles();
            EXPECT_EQ(RunInjected(calls[i], error, RapidUpdate()), 0) << "the update went well";
            EXPECT_EQ(CurrentFile("b.ndb"), m_new);
            EXPECT_EQ(RunTraced({"-o", "/dev/null"}, RapidUpdate()), 0);
            ExpectReported({"UP-TO-DATE"}, true);
        }
    }
}

TEST_F(ServiceFailure, SignalsKeepNothingFromBeingReported) {
    Reset();
    StartService();
    EXPECT_EQ(RunTraced({"-o", m_trace, "-e",
                         "inject=write,fsync,fchmod,fchmodat,ftruncate,unlinkat,renameat,sendto:"
                         "error=EINTR:when=1+2"},
                        RapidUpdate()),
              0);
    ExpectReported({"UPDATED SUCCESSFULLY"});
    EXPECT_THAT(ReadFile(m_trace), HasSubstr("INJECTED"));
    EXPECT_EQ(CurrentFile("b.ndb"), m_new);
}

}  // namespace
