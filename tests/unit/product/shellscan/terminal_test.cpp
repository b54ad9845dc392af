#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <string>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "tests/unit/product/shellscan/run_scan.h"

// What a terminal shows of a scan that is under way.

namespace {

using common::FileDescriptor;
using ::testing::HasSubstr;
using ::testing::Not;

class OnATerminal : public ShellScanProgram {
protected:
    void SetUp() override {
        ShellScanProgram::SetUp();
        if (IsSkipped()) {
            return;
        }
        m_screen.Reset(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
        ASSERT_TRUE(m_screen.IsOpen());
        ASSERT_EQ(::grantpt(m_screen.Get()), 0);
        ASSERT_EQ(::unlockpt(m_screen.Get()), 0);
        m_terminal.Reset(::open(::ptsname(m_screen.Get()), O_RDWR | O_NOCTTY | O_CLOEXEC));
        ASSERT_TRUE(m_terminal.IsOpen());
        WriteFile(Tree("/a"), "x");
        WriteFile(Tree("/b"), "x");
        m_engine.SetScript("hold " + (m_scratch / "gate") + " *\n");
    }

    // All that is shown until it holds `text`, for ten seconds at most.
    bool Shows(const std::string& text) {
        return WaitUntil([&] {
            pollfd screen{m_screen.Get(), POLLIN, 0};
            std::array<char, 4096> piece{};
            while (::poll(&screen, 1, 0) == 1 && (screen.revents & POLLIN) != 0) {
                const ssize_t size = ::read(m_screen.Get(), piece.data(), piece.size());
                m_shown.append(piece.data(), static_cast<std::size_t>(size > 0 ? size : 0));
            }
            return m_shown.find(text) != std::string::npos;
        });
    }

    FileDescriptor m_screen;
    FileDescriptor m_terminal;
    std::string m_shown;
};

TEST_F(OnATerminal, TheBarMovesAndGoes) {
    ScanProcess scan(Program(),
                     {.arguments = {"--progress", "--quiet", Tree()}, .errors = m_terminal.Get()});
    EXPECT_TRUE(Shows("[###############               ] 50% of 2 files")) << m_shown;
    WriteFile(m_scratch / "gate", "");
    EXPECT_EQ(scan.Status(), 0);
    EXPECT_TRUE(Shows("\r\033[K"));
    EXPECT_TRUE(m_shown.ends_with("\r\033[K")) << m_shown;
}

TEST_F(OnATerminal, WithoutTheOptionThereIsNone) {
    WriteFile(m_scratch / "gate", "");
    ScanProcess scan(Program(), {.arguments = {Tree(), "/none"}, .errors = m_terminal.Get()});
    EXPECT_EQ(scan.Status(), 2);
    EXPECT_TRUE(Shows("No such file or directory"));
    EXPECT_THAT(m_shown, Not(HasSubstr("\033")));
}

TEST_F(OnATerminal, WithoutATerminalThereIsNone) {
    WriteFile(m_scratch / "gate", "");
    EXPECT_EQ(Run({"--progress", "--quiet", Tree()}).errors, "");
}

}  // namespace
