// Whole updates from a web server whose processes are killed, or refused one of the system calls
// that change something.

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <poll.h>
#include <unistd.h>

#include "common/io.h"
#include "product/updturl/request.h"
#include "tests/support/disk_model.h"
#include "tests/support/mirror.h"
#include "tests/support/traced_program.h"
#include "tests/unit/product/definitions/definitions_fixture.h"

namespace fs = std::filesystem;

namespace updturl {
namespace {

using testing::AnyOf;
using testing::Eq;

// What may be said of them: by whoever downloads, by whoever installs.
const std::map<std::string, std::vector<std::string>> kErrors{
    {"ENOSPC", {"No space left on device", "there is no room left on the disk"}},
    {"EIO", {"Input/output error"}}};

constexpr char kOldRecord[] = "{\"time\": 1, \"result\": 2, \"text\": \"of old\"}\n";

// What a program said on its standard output, and how it ended.
struct Told {
    int status = -1;
    std::string words;

    [[nodiscard]] bool Has(const std::string& text) const {
        return words.find(text) != std::string::npos;
    }
    // -1 when it said none.
    [[nodiscard]] int Result() const {
        const std::size_t at = ("\n" + words).rfind("\nresult ");
        return at == std::string::npos ? -1 : std::atoi(words.c_str() + at + 7);
    }
};

class UpdateFailure : public DefinitionsTest {
protected:
    void SetUp() override {
        if (!HasPrivateRoot() || !CanTrace()) {
            GTEST_SKIP() << "no private root, or no strace that may look at processes";
        }
        std::signal(SIGPIPE, SIG_IGN);
        WriteFile(m_product + "updturl.keys/mirror.pub", kMirrorPublicKey);
        fs::permissions(m_product + "updturl.keys/mirror.pub", fs::perms(0644));
        fs::create_directory(m_download);
        // A name of its own, by which what it leaves behind is found.
        fs::copy_file(CORVANE_UPDATE, m_updater);
        Publish(1, OwnSignature('B'));
        ASSERT_EQ(Ask(Whole()).Result(), 1);
        Publish(2, m_new);
        WriteFile(m_defs + "last-update.json", kOldRecord);
        m_startDefs = ReadTree(m_defs);
        m_startDownload = ReadTree(m_download);
    }

    // Of two databases, one of which stays.
    void Publish(std::uint64_t serial, const std::string& database) const {
        MirrorContents contents;
        contents.serial = serial;
        contents.files = {{"a.ndb", OwnSignature('A')}, {"b.ndb", database}};
        WriteMirror(m_server.Root(), contents);
    }

    void Reset() const {
        WriteTree(m_defs, m_startDefs);
        WriteTree(m_download, m_startDownload);
    }

    [[nodiscard]] std::vector<std::string> Whole() const { return {m_updater, "--as-caller"}; }
    [[nodiscard]] std::vector<std::string> Download() const {
        return {m_updater, "--fetch", "--as-caller"};
    }

    [[nodiscard]] std::string Words() const {
        Request request;
        request.applicationDirectory = m_product;
        request.downloadDirectory = m_download;
        request.addresses = {m_server.Address()};
        return RequestText(request).value_or("");
    }

    // Runs a program as one who asks it for an update and waits for its end.
    Told Ask(std::vector<std::string> command) const {
        std::array<int, 2> in{};
        std::array<int, 2> out{};
        EXPECT_EQ(::pipe2(in.data(), O_CLOEXEC) + ::pipe2(out.data(), O_CLOEXEC), 0);
        const common::FileDescriptor words(in[1]);
        const common::FileDescriptor answer(out[0]);
        const pid_t child = StartChild([&] {
            ::dup2(in[0], STDIN_FILENO);
            ::dup2(out[1], STDOUT_FILENO);
            ::dup2(::open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
            std::vector<char*> arguments;
            for (std::string& word : command) {
                arguments.push_back(word.data());
            }
            arguments.push_back(nullptr);
            ::execvp(arguments[0], arguments.data());
            return 127;
        });
        ::close(in[0]);
        ::close(out[1]);
        (void)common::WriteAll(words.Get(), Words());
        Told told;
        std::array<char, 4096> buffer{};
        pollfd readable{answer.Get(), POLLIN, 0};
        constexpr int kLimit = 30'000;
        ssize_t got = 1;
        while (got > 0 && ::poll(&readable, 1, kLimit) > 0) {
            got = ::read(answer.Get(), buffer.data(), buffer.size());
            told.words.append(buffer.data(), got > 0 ? static_cast<std::size_t>(got) : 0);
        }
        EXPECT_EQ(got, 0) << "it does not end: " << told.words;
        told.status = JoinChild(child);
        return told;
    }

    Told AskTraced(const std::vector<std::string>& options,
                   const std::vector<std::string>& program) const {
        std::vector<std::string> all{"-o", m_trace};
        all.insert(all.end(), options.begin(), options.end());
        return Ask(TracedCommand(all, program));
    }

    // The calls of this process itself that change something.
    std::vector<SystemCall> CallsOf(const std::vector<std::string>& program) const {
        Reset();
        EXPECT_EQ(AskTraced({}, program).Result(), 1);
        return CallsIn(m_trace, ChangesFiles);
    }

    // The call that was refused, as strace writes it.
    [[nodiscard]] std::string Refused() const {
        std::ifstream trace(m_trace);
        for (std::string line; std::getline(trace, line);) {
            if (line.find("(INJECTED)") != std::string::npos) {
                return line;
            }
        }
        return {};
    }

    [[nodiscard]] bool IsAnythingRunning() const {
        for (const auto& entry : fs::directory_iterator("/proc")) {
            std::error_code ignored;
            if (fs::read_symlink(entry.path() / "exe", ignored) == m_updater) {
                return true;
            }
        }
        return false;
    }

    void ExpectOldOrNew() const {
        EXPECT_THAT(CurrentFile("b.ndb"), AnyOf(Eq(OwnSignature('B')), Eq(m_new)));
        ExpectWhole();
        const std::string record = ReadFile(m_defs + "last-update.json");
        EXPECT_TRUE(record.starts_with("{\"time\": ") && record.ends_with("\"}\n")) << record;
    }

    // Another run ends well and leaves nothing but what belongs there.
    void ExpectAnotherRunToDo() const {
        const Told again = Ask(Whole());
        EXPECT_THAT(again.Result(), AnyOf(Eq(1), Eq(2))) << again.words;
        EXPECT_EQ(CurrentFile("b.ndb"), m_new) << again.words;
        ExpectWhole();
        for (const auto& [path, entry] : ReadTree(m_defs)) {
            EXPECT_TRUE(path == "current" || path == "lock" || path == "last-update.json" ||
                        path.starts_with("set-"))
                << path;
        }
        EXPECT_LE(Names().size(), 4U) << testing::PrintToString(Names());
        for (const auto& [path, entry] : ReadTree(m_download)) {
            EXPECT_TRUE(path == "parts" || path == "state.json" || path == "candidate" ||
                        path.starts_with("candidate/"))
                << path;
        }
    }

    void ExpectSurvivesKills(const std::vector<std::string>& program, std::size_t most) {
        const std::vector<SystemCall> calls = CallsOf(program);
        std::size_t killed = 0;
        std::size_t switched = 0;
        const auto chosen = Spread(calls.size(), most, "calls killed at");
        for (const std::size_t i : chosen) {
            const std::string kill = calls[i].Injecting("signal=KILL");
            SCOPED_TRACE(kill);
            Reset();
            const Told told = AskTraced({"-e", kill}, program);
            killed += told.status == -1 ? 1 : 0;
            EXPECT_TRUE(WaitUntil([this] { return !IsAnythingRunning(); })) << "left behind";
            ExpectOldOrNew();
            switched += CurrentFile("b.ndb") == m_new ? 1 : 0;
            ExpectAnotherRunToDo();
        }
        std::cout << killed << " killed, " << switched << " times the new set was in use\n";
        // How often a progress line is written is a matter of time.
        EXPECT_GE(killed + 3, chosen.size());
        m_switched = switched;
    }

    // Of a refused call: to write to who asked leaves nobody to be told.
    [[nodiscard]] bool IsAskerLost() const { return Refused().starts_with("write(1,"); }

    // An update that is refused a call says that it failed, and why, or it has updated.
    void ExpectTruth(const Told& told, const std::vector<std::string>& errors) const {
        if (IsAskerLost()) {
            return;
        }
        SCOPED_TRACE(Refused() + "\n" + told.words);
        EXPECT_THAT(told.Result(), AnyOf(Eq(0), Eq(1)));
        EXPECT_EQ(told.status, told.Result() == 0 ? 1 : 0);
        const bool isReasonTold =
            std::any_of(errors.begin(), errors.end(),
                        [&](const std::string& error) { return told.Has(error); });
        EXPECT_TRUE(told.Result() == 1 || isReasonTold) << "it is not said why";
    }

    // What is written down is what was said, and it is what happened.
    void ExpectTrueRecord(const Told& told) const {
        if (IsAskerLost()) {
            return;
        }
        SCOPED_TRACE(Refused() + "\n" + told.words);
        EXPECT_EQ(told.Result() == 1, CurrentFile("b.ndb") == m_new);
        const std::string record = ReadFile(m_defs + "last-update.json");
        if (record == kOldRecord) {
            EXPECT_TRUE(told.Has("the time of the update cannot be written down: ") ||
                        told.Has("the lock of the definitions cannot be used: "));
        } else {
            EXPECT_THAT(record,
                        testing::HasSubstr("\"result\": " + std::to_string(told.Result()) + ", "));
        }
    }

    void ExpectTruthOfRefusals(const std::vector<std::string>& program, std::size_t most) {
        const std::vector<SystemCall> calls = CallsOf(program);
        std::size_t failed = 0;
        for (const std::size_t i : Spread(calls.size(), most, "calls refused")) {
            for (const auto& [error, words] : kErrors) {
                const std::string refuse = calls[i].Injecting("error=" + error);
                SCOPED_TRACE(refuse);
                Reset();
                const Told told = AskTraced({"-e", refuse}, program);
                ExpectTruth(told, words);
                if (program == Whole()) {
                    ExpectTrueRecord(told);
                }
                failed += told.Result() == 0 ? 1 : 0;
                ExpectOldOrNew();
                ExpectAnotherRunToDo();
            }
        }
        std::cout << failed << " updates failed\n";
        EXPECT_GT(failed, 5U);
    }

    // Each call is made twice, for a signal breaks each off the first time. Only files that are
    // opened are taken one by one: who loads the program tries nothing twice.
    void ExpectSignalsToKeepNothingFromBeingDone(const std::vector<std::string>& program) {
        std::string names;
        std::vector<std::string> interruptions;
        for (const SystemCall& call : CallsOf(program)) {
            if (call.name == "openat") {
                interruptions.push_back(call.Injecting("error=EINTR"));
            } else if (("," + names + ",").find("," + call.name + ",") == std::string::npos) {
                names += (names.empty() ? "" : ",") + call.name;
            }
        }
        interruptions.push_back("inject=" + names + ":error=EINTR:when=1+2");
        EXPECT_THAT(names, testing::HasSubstr("fsync"));
        for (const std::string& interrupt : interruptions) {
            SCOPED_TRACE(interrupt);
            Reset();
            const Told told = AskTraced({"-e", interrupt}, program);
            SCOPED_TRACE(ReadFile(m_trace) + told.words);
            EXPECT_NE(Refused(), "");
            EXPECT_EQ(told.Result(), 1);
            EXPECT_FALSE(told.Has("nterrupted"));
            EXPECT_EQ(CurrentFile("b.ndb") == m_new, program == Whole());
            EXPECT_EQ(ReadFile(m_defs + "last-update.json") == kOldRecord, program != Whole());
            ExpectAnotherRunToDo();
        }
    }

    MirrorServer m_server;
    std::string m_download = m_product + "download/";
    std::string m_updater = m_scratch / "updater";
    std::string m_trace = m_scratch / "trace";
    std::string m_new = OwnSignature('C');
    Tree m_startDefs;
    Tree m_startDownload;
    std::size_t m_switched = 0;
};

TEST_F(UpdateFailure, ADownloaderKilledAtAnyCallLeavesTheOldSetAndTheNextRunUpdates) {
    ExpectSurvivesKills(Download(), 20);
    EXPECT_EQ(m_switched, 0U);
}

TEST_F(UpdateFailure, AnUpdateKilledAtAnyCallLeavesTheOldOrTheNewSetAndNothingRunning) {
    ExpectSurvivesKills(Whole(), 20);
    EXPECT_GT(m_switched, 0U);
}

TEST_F(UpdateFailure, AnUpdateWhoseDownloaderIsKilledHasFailedAndSaysSo) {
    // What the downloader does below the update it also does by itself, at the same numbers; where
    // both make a call of a number, it is first.
    const std::vector<SystemCall> calls = CallsOf(Download());
    std::size_t failed = 0;
    for (const std::size_t i : Spread(calls.size(), 12, "calls killed at, below an update")) {
        const std::string kill = calls[i].Injecting("signal=KILL");
        SCOPED_TRACE(kill);
        Reset();
        const Told told = AskTraced({"-f", "-e", kill}, Whole());
        SCOPED_TRACE(told.words);
        EXPECT_TRUE(WaitUntil([this] { return !IsAnythingRunning(); })) << "left behind";
        ExpectOldOrNew();
        if (told.Has("log the process that downloads ended without a result\n")) {
            ++failed;
            EXPECT_EQ(CurrentFile("b.ndb"), OwnSignature('B'));
            EXPECT_THAT(told.Result(), AnyOf(Eq(0), Eq(-1)));
        }
        ExpectAnotherRunToDo();
    }
    EXPECT_GT(failed, 3U);
}

TEST_F(UpdateFailure, ADownloaderThatIsRefusedACallSaysSo) {
    ExpectTruthOfRefusals(Download(), 12);
}

TEST_F(UpdateFailure, AnUpdateThatIsRefusedACallSaysSo) {
    ExpectTruthOfRefusals(Whole(), 12);
}

TEST_F(UpdateFailure, SignalsKeepNothingFromBeingDownloaded) {
    ExpectSignalsToKeepNothingFromBeingDone(Download());
}

TEST_F(UpdateFailure, SignalsKeepNothingFromBeingDone) {
    ExpectSignalsToKeepNothingFromBeingDone(Whole());
}

}  // namespace
}  // namespace updturl
