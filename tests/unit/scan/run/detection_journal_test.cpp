#include <cstring>
#include <filesystem>
#include <gmock/gmock.h>
#include <map>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "common/users.h"
#include "tests/unit/scan/run/shell_scan.h"

// What the journal of the system is told, by a socket in its place.

namespace {

using ::testing::Pair;
using ::testing::UnorderedElementsAre;

constexpr char kSocket[] = "/run/systemd/journal/socket";

class Journal : public ShellScan {
protected:
    void SetUp() override {
        if (!HasPrivateRoot()) {
            GTEST_SKIP() << "the socket of the journal is replaced in a private root only";
        }
        std::filesystem::create_directories("/run/systemd/journal");
        std::filesystem::remove(kSocket);
        g_scnopts.action = kActionDelete;
    }
    void TearDown() override {
        if (HasPrivateRoot()) {
            std::filesystem::remove(kSocket);
        }
    }

    void Listen() {
        m_socket.Reset(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        common::CopyToField(address.sun_path, kSocket);
        ASSERT_EQ(
            ::bind(m_socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    }

    // The next message, field by field, without the one that people read.
    std::map<std::string, std::string> Next(std::string* text = nullptr) {
        std::string bytes(65536, '\0');
        const ssize_t size = ::recv(m_socket.Get(), bytes.data(), bytes.size(), 0);
        bytes.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
        std::map<std::string, std::string> fields;
        for (std::size_t at = 0; at < bytes.size();) {
            const std::size_t end = bytes.find_first_of("=\n", at);
            const std::string name = bytes.substr(at, end - at);
            std::size_t length = 0;
            if (bytes[end] == '=') {
                at = end + 1;
                length = bytes.find('\n', at) - at;
            } else {
                // With its length before it, eight bytes, the lowest first.
                std::memcpy(&length, bytes.data() + end + 1, sizeof length);
                at = end + 1 + sizeof length;
            }
            fields[name] = bytes.substr(at, length);
            at += length + 1;
        }
        if (text != nullptr) {
            *text = fields["MESSAGE"];
        }
        fields.erase("MESSAGE");
        return fields;
    }

    common::FileDescriptor m_socket;
    const std::string m_user = common::UserName(::getuid()).value_or("");
};

TEST_F(Journal, IsToldOfADetectionAndOfWhatWasDone) {
    Listen();
    ASSERT_TRUE(StartEngine("say 1001 1 1 V *\nafter 1001 2002 3003\n"));
    WriteFile(m_top + "/a\n\xff", "x");
    AddPath(m_top);
    Scan();
    std::string text;
    EXPECT_THAT(
        Next(&text),
        UnorderedElementsAre(Pair("MESSAGE_ID", "fdf3270a53944afdacf6dae97c91f73b"),
                             Pair("PRIORITY", "4"), Pair("SYSLOG_IDENTIFIER", "corvane"),
                             Pair("CORVANE_FILE", m_top + "/a\n\xff"), Pair("CORVANE_VIRUS", "V"),
                             Pair("CORVANE_ACTION", "delete"), Pair("CORVANE_USER", m_user)));
    EXPECT_EQ(text, "Virus V in " + m_top + "/a\\u{000a}\\xff: delete");
    EXPECT_THAT(
        Next(&text),
        UnorderedElementsAre(Pair("MESSAGE_ID", "5e45d17151ac44fa9a4c38fac1e34c16"),
                             Pair("PRIORITY", "5"), Pair("SYSLOG_IDENTIFIER", "corvane"),
                             Pair("CORVANE_FILE", m_top + "/a\n\xff"), Pair("CORVANE_VIRUS", "V"),
                             Pair("CORVANE_ACTION", "deleted"), Pair("CORVANE_USER", m_user)));
    EXPECT_EQ(text, "Virus V in " + m_top + "/a\\u{000a}\\xff: deleted");
    EXPECT_TRUE(Next().empty());
}

TEST_F(Journal, IsToldEachAction) {
    Listen();
    ASSERT_TRUE(StartEngine(""));
    for (const auto& [action, code, said] :
         {std::tuple{kActionReportOnly, 1001, "leave"}, std::tuple{kActionDelete, 1001, "delete"},
          std::tuple{kActionDelete, 1007, "stop"}, std::tuple{kActionRepairOnly, 1001, "repair"},
          std::tuple{kActionRepairOrDelete, 1007, "repair"}}) {
        g_scnopts.action = action;
        m_run.Reply(EngineRecord(code));
        EXPECT_EQ(Next()["CORVANE_ACTION"], said);
    }
    for (const auto& [code, said] : {std::pair{3001, "repaired"}, std::pair{3003, "deleted"},
                                     std::pair{3004, "skipped"}, std::pair{3006, "marked"}}) {
        m_run.Reply(EngineRecord(code));
        EXPECT_EQ(Next()["CORVANE_ACTION"], said);
    }
    for (const int code : {1002, 1003, 1004, 1005, 3002}) {
        m_run.Reply(EngineRecord(code));
        EXPECT_TRUE(Next().empty()) << code;
    }
}

TEST_F(Journal, IsToldTheAnswerOfTheUser) {
    Listen();
    ASSERT_TRUE(StartEngine(""));
    g_scnopts.action = kActionPrompt;
    m_onQuestion = [this](const scan::ScanStep& /*question*/) {
        EXPECT_TRUE(Next().empty());  // nothing is decided yet
        m_run.State().answer = {2, 0};
    };
    m_run.Reply(EngineRecord(1001));
    EXPECT_EQ(Next()["CORVANE_ACTION"], "delete");
}

TEST_F(Journal, IsNotNeeded) {
    ASSERT_TRUE(StartEngine(""));
    EXPECT_EQ(m_run.Reply(EngineRecord(1001)), 2002);
    EXPECT_EQ(m_run.Reply(EngineRecord(3003)), 2005);
}

}  // namespace
