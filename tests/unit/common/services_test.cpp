#include "common/services.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>

#include "tests/support/scratch.h"

namespace {

class Services : public testing::Test {
protected:
    void SetUp() override {
        if (!HasPrivateRoot()) {
            GTEST_SKIP() << "service scripts are only installed in a private root";
        }
        std::filesystem::create_directories("/etc/init.d");
        std::filesystem::remove_all("/etc/init.d/rc.d");
    }
    void TearDown() override {
        if (HasPrivateRoot()) {
            std::filesystem::remove_all("/etc/init.d/rc.d");
            for (const char* name : {"testsvc", "test svc", "test'svc;touch x"}) {
                std::filesystem::remove(std::string("/etc/init.d/") + name);
            }
        }
    }
    // A script that notes its own path and its arguments, and says a word on each output.
    void Install(const std::string& path, int exitStatus = 0) const {
        WriteFile(path, "#!/bin/sh\necho \"$0|$#|$*\" >>'" + m_calls + "'\necho noise\nexit " +
                            std::to_string(exitStatus) + "\n");
        ASSERT_EQ(::chmod(path.c_str(), 0755), 0);
    }

    ScratchFolder m_scratch;
    std::string m_calls = m_scratch / "calls";
    unsigned int m_error = 99;
};

TEST_F(Services, RunTheWordOfEachOperation) {
    Install("/etc/init.d/testsvc");
    testing::internal::CaptureStdout();
    EXPECT_EQ(HandleService("testsvc", 1, &m_error), 1);
    EXPECT_EQ(HandleService("testsvc", 2, &m_error), 1);
    EXPECT_EQ(HandleService("testsvc", 3, &m_error), 1);
    EXPECT_EQ(HandleService("testsvc", 4, &m_error), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(m_error, 0U);
    EXPECT_EQ(ReadFile(m_calls),
              "/etc/init.d/testsvc|1|start\n"
              "/etc/init.d/testsvc|1|restart\n"
              "/etc/init.d/testsvc|1|stop\n"
              "/etc/init.d/testsvc|1|status\n");
}

TEST_F(Services, AreFoundByTheirNames) {
    EXPECT_EQ(common::ServiceScript("testsvc"), "");
    Install("/etc/init.d/testsvc");
    EXPECT_EQ(common::ServiceScript("testsvc"), "/etc/init.d/testsvc");
    std::filesystem::create_directories("/etc/init.d/rc.d");
    Install("/etc/init.d/rc.d/testsvc");
    EXPECT_EQ(common::ServiceScript("testsvc"), "/etc/init.d/rc.d/testsvc");
    for (const char* name : {"", ".", "..", "rc.d/testsvc", "../init.d/testsvc"}) {
        EXPECT_EQ(common::ServiceScript(name), "") << name;
    }
}

TEST_F(Services, PreferTheInnerFolder) {
    Install("/etc/init.d/testsvc");
    std::filesystem::create_directories("/etc/init.d/rc.d");
    Install("/etc/init.d/rc.d/testsvc");
    EXPECT_EQ(HandleService("testsvc", 1, &m_error), 1);
    EXPECT_EQ(ReadFile(m_calls), "/etc/init.d/rc.d/testsvc|1|start\n");
}

TEST_F(Services, SucceedWhateverTheScriptSays) {
    Install("/etc/init.d/testsvc", 3);
    EXPECT_EQ(HandleService("testsvc", 4, &m_error), 1);
    EXPECT_EQ(m_error, 0U);
    EXPECT_EQ(ReadFile(m_calls), "/etc/init.d/testsvc|1|status\n");
}

TEST_F(Services, RefuseAMissingScript) {
    for (const int operation : {1, 5}) {  // the script is looked for first
        m_error = 99;
        EXPECT_EQ(HandleService("testsvc", operation, &m_error), 0);
        EXPECT_EQ(m_error, 120U);
    }
}

TEST_F(Services, RefuseAnUnknownOperation) {
    Install("/etc/init.d/testsvc");
    for (const int operation : {0, 5, -1}) {
        m_error = 99;
        EXPECT_EQ(HandleService("testsvc", operation, &m_error), 0);
        EXPECT_EQ(m_error, 121U);
    }
    EXPECT_FALSE(Exists(m_calls));
}

TEST_F(Services, TakeANameAsOneWord) {
    for (const std::string name : {"test svc", "test'svc;touch x"}) {
        Install("/etc/init.d/" + name);
        EXPECT_EQ(HandleService(name.c_str(), 1, &m_error), 1);
    }
    EXPECT_EQ(ReadFile(m_calls),
              "/etc/init.d/test svc|1|start\n"
              "/etc/init.d/test'svc;touch x|1|start\n");
}

TEST_F(Services, RefuseNamesThatLeadElsewhere) {
    Install(m_scratch / "evil");
    for (const std::string& name : {std::string("../..") + (m_scratch / "evil"), std::string(),
                                    std::string("."), std::string("..")}) {
        m_error = 99;
        EXPECT_EQ(HandleService(name.c_str(), 1, &m_error), 0);
        EXPECT_EQ(m_error, 120U);
    }
    EXPECT_FALSE(Exists(m_calls));
}

TEST_F(Services, RefuseNullArguments) {
    EXPECT_EQ(HandleService(nullptr, 1, &m_error), 0);
    EXPECT_EQ(HandleService("testsvc", 1, nullptr), 0);
}

}  // namespace
