#include "update/update_daemon.h"

#include <filesystem>
#include <gtest/gtest.h>

#include "tests/support/scratch.h"

namespace {

class UpdateDaemon : public ::testing::Test {
protected:
    void SetUp() override {
        if (!HasPrivateRoot()) {
            GTEST_SKIP() << "service scripts are only installed in a private root";
        }
        std::filesystem::create_directories("/etc/init.d");
    }
    void TearDown() override {
        if (HasPrivateRoot()) {
            std::filesystem::remove_all("/etc/init.d/rc.d");
            std::filesystem::remove("/etc/init.d/rapidupdate");
        }
    }
    void Install(const std::string& path, int exitStatus) const {
        WriteFile(path, "#!/bin/sh\necho \"$0 $*\" >>'" + m_calls + "'\nexit " +
                            std::to_string(exitStatus) + "\n");
        ASSERT_EQ(::chmod(path.c_str(), 0755), 0);
    }

    ScratchFolder m_scratch;
    std::string m_calls = m_scratch / "calls";
};

TEST_F(UpdateDaemon, IsStartedAndStoppedByItsScript) {
    Install("/etc/init.d/rapidupdate", 3);
    EXPECT_EQ(StartStopUpdtDaemon(true), 1) << "whatever the script says";
    EXPECT_EQ(StartStopUpdtDaemon(false), 1);
    EXPECT_EQ(ReadFile(m_calls), "/etc/init.d/rapidupdate start\n/etc/init.d/rapidupdate stop\n");
}

TEST_F(UpdateDaemon, TheInnerFolderComesFirst) {
    Install("/etc/init.d/rapidupdate", 0);
    std::filesystem::create_directories("/etc/init.d/rc.d");
    Install("/etc/init.d/rc.d/rapidupdate", 0);
    EXPECT_EQ(StartStopUpdtDaemon(true), 1);
    EXPECT_EQ(ReadFile(m_calls), "/etc/init.d/rc.d/rapidupdate start\n");
}

TEST_F(UpdateDaemon, WithoutAScriptNothingIsDone) {
    EXPECT_EQ(StartStopUpdtDaemon(true), 0);
    EXPECT_EQ(StartStopUpdtDaemon(false), 0);
}

}  // namespace
