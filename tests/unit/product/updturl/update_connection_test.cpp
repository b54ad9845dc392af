// `corvane-update --test`: one line about a web server, from the whole program.

#include <array>
#include <chrono>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

#include "common/file_descriptor.h"
#include "common/io.h"
#include "product/updturl/request.h"
#include "tests/support/mirror.h"
#include "tests/support/patient_clock.h"
#include "tests/support/scratch.h"
#include "tests/support/server_process.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

class UpdateConnectionTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, m_ends.data()), 0);
        m_ours.Reset(m_ends[0]);
        // Who gives up the rights of root is to read it all the same.
        ::chmod(m_product.Path().c_str(), 0755);
        WriteMirror(m_server.Root(), {});
    }

    /// Starts the program and asks it; its input stays open.
    void Ask(std::optional<std::vector<std::string>> addresses) {
        updturl::Request request;
        request.applicationDirectory = m_product.Path();
        request.downloadDirectory = m_product / "download/";
        request.addresses = std::move(addresses);
        m_child = StartChild([this] {
            ::dup2(m_ends[1], STDIN_FILENO);
            ::dup2(m_ends[1], STDOUT_FILENO);
            ::execl(CORVANE_UPDATE, CORVANE_UPDATE, "--test", "--as-caller", nullptr);
            return 127;
        });
        ::close(m_ends[1]);
        m_begun = Clock::now();
        m_patientlyBegun = PatientClock::now();
        ASSERT_TRUE(common::WriteAll(m_ours.Get(), updturl::RequestText(request).value_or("")));
    }

    /// Waits for the end: all that the program says, and its exit status in a line of its own.
    std::string Answer() {
        std::string said;
        std::array<char, 4096> buffer{};
        for (ssize_t count = 0; (count = ::read(m_ours.Get(), buffer.data(), buffer.size())) > 0;) {
            said.append(buffer.data(), static_cast<std::size_t>(count));
        }
        said += std::to_string(JoinChild(m_child)) + "\n";
        m_took = Clock::now() - m_begun;
        m_tookPatiently = PatientClock::now() - m_patientlyBegun;
        return said;
    }

    std::string AnswerTo(std::optional<std::vector<std::string>> addresses) {
        Ask(std::move(addresses));
        return Answer();
    }

    static std::string NobodysAddress() { return "http://127.0.0.1:" + std::to_string(FreePort()); }

    void KeepSilent() const { m_server.Script({{"/index.json", R"({"do": "hang"})"}}); }

    ScratchFolder m_product;
    MirrorServer m_server;
    std::array<int, 2> m_ends{-1, -1};
    common::FileDescriptor m_ours;
    pid_t m_child = -1;
    Clock::time_point m_begun;
    Clock::duration m_took{};
    PatientClock::time_point m_patientlyBegun;
    PatientClock::duration m_tookPatiently{};
};

TEST_F(UpdateConnectionTest, AServerThatAnswersIsFine) {
    EXPECT_EQ(AnswerTo({{m_server.Address()}}), "test ok\n0\n");
    EXPECT_LT(m_tookPatiently, 5s);
}

TEST_F(UpdateConnectionTest, WhereNobodyListensItIsRefused) {
    EXPECT_EQ(AnswerTo({{NobodysAddress()}}), "test refused\n1\n");
}

TEST_F(UpdateConnectionTest, ASilentServerIsGivenTenSeconds) {
    KeepSilent();
    EXPECT_EQ(AnswerTo({{m_server.Address()}}), "test no-answer\n1\n");
    EXPECT_GE(m_took, 9900ms);
    EXPECT_LT(m_tookPatiently, 11s);
}

TEST_F(UpdateConnectionTest, ManyAddressesGetNoMoreTimeThanOne) {
    KeepSilent();
    EXPECT_EQ(AnswerTo({{NobodysAddress(), m_server.Address(), m_server.Address()}}),
              "test refused\n1\n");
    EXPECT_GE(m_took, 9900ms);
    EXPECT_LT(m_tookPatiently, 11s);
}

TEST_F(UpdateConnectionTest, AnAddressThatAnswersMakesUpForTheOneBefore) {
    EXPECT_EQ(AnswerTo({{NobodysAddress(), m_server.Address()}}), "test ok\n0\n");
}

TEST_F(UpdateConnectionTest, OfMoreThanOneTheFirstSaysWhy) {
    m_server.Script({{"/index.json", R"({"do": "status", "status": 404})"}});
    EXPECT_EQ(AnswerTo({{m_server.Address(), NobodysAddress()}}),
              "test failed the server answered with status 404\n1\n");
}

TEST_F(UpdateConnectionTest, WhoGoesAwayEndsIt) {
    KeepSilent();
    Ask({{m_server.Address()}});
    ASSERT_TRUE(WaitUntil([this] { return m_server.CountOf("/index.json") == 1; }));
    ASSERT_EQ(::shutdown(m_ours.Get(), SHUT_WR), 0);
    const auto gone = PatientClock::now();
    EXPECT_EQ(Answer(), "test failed stopped\n1\n");
    EXPECT_LT(PatientClock::now() - gone, 2s);
}

TEST_F(UpdateConnectionTest, AnEmptyListHasNoAddresses) {
    EXPECT_EQ(AnswerTo(std::vector<std::string>()), "test failed there are no addresses\n1\n");
}

TEST_F(UpdateConnectionTest, WithoutAListItSaysSo) {
    EXPECT_EQ(AnswerTo(std::nullopt),
              "test failed the list of addresses cannot be read, or is empty\n1\n");
}

}  // namespace
