// Whole updates from a web server whose processes are killed, or refused one of the system calls
// that change something.

#include <algorithm>
#include <fstream>
#include <iostream>
#include <map>

#include "tests/support/traced_program.h"
#include "tests/unit/product/updturl/update_failure_fixture.h"

namespace updturl {
namespace {

using testing::AnyOf;
using testing::Eq;

// What may be said of them: by whoever downloads, by whoever installs.
const std::map<std::string, std::vector<std::string>> kErrors{
    {"ENOSPC", {"No space left on device", "there is no room left on the disk"}},
    {"EIO", {"Input/output error"}}};

class UpdateFailure : public UpdateFailureTest {
protected:
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
        EXPECT_GT(failed, 3U);
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

    std::size_t m_switched = 0;
};

TEST_F(UpdateFailure, ADownloaderKilledAtAnyCallLeavesTheOldSetAndTheNextRunUpdates) {
    ExpectSurvivesKills(Download(), 10);
    EXPECT_EQ(m_switched, 0U);
}

TEST_F(UpdateFailure, AnUpdateKilledAtAnyCallLeavesTheOldOrTheNewSetAndNothingRunning) {
    ExpectSurvivesKills(Whole(), 10);
    EXPECT_GT(m_switched, 0U);
}

TEST_F(UpdateFailure, AnUpdateWhoseDownloaderIsKilledHasFailedAndSaysSo) {
    // What the downloader does below the update it also does by itself, at the same numbers; where
    // both make a call of a number, it is first.
    const std::vector<SystemCall> calls = CallsOf(Download());
    std::size_t failed = 0;
    for (const std::size_t i : Spread(calls.size(), 10, "calls killed at, below an update")) {
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
    ExpectTruthOfRefusals(Download(), 6);
}

TEST_F(UpdateFailure, AnUpdateThatIsRefusedACallSaysSo) {
    ExpectTruthOfRefusals(Whole(), 6);
}

TEST_F(UpdateFailure, AnOldDownloadThatCannotBeRemovedIsInTheWayAndToldAsSuch) {
    ASSERT_TRUE(Exists(m_download + "candidate/index.json"));
    m_server.ForgetRequests();
    const Told told = AskTraced({"-e", "inject=unlinkat:error=EROFS"}, Download());
    EXPECT_EQ(told.Result(), 0);
    EXPECT_TRUE(told.Has(": the candidate cannot be made: Read-only file system\n")) << told.words;
    EXPECT_EQ(m_server.CountOf("/files/" + Sha256Text(m_new)), 0U) << "loaded in vain";
}

TEST_F(UpdateFailure, SignalsKeepNothingFromBeingDownloaded) {
    ExpectSignalsToKeepNothingFromBeingDone(Download());
}

TEST_F(UpdateFailure, SignalsKeepNothingFromBeingDone) {
    ExpectSignalsToKeepNothingFromBeingDone(Whole());
}

}  // namespace
}  // namespace updturl
