#include "update/update_now.h"

#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/locks.h"
#include "common/paths.h"
#include "tests/gui/update/update_fixture.h"
#include "tests/support/modal_driver.h"
#include "tests/support/noted_syslog.h"
#include "tests/support/report_files.h"

// The whole of an update as the user asks for it: lock, dialog, report, message, who is told.

namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace fs = std::filesystem;

constexpr char kTold[] =
    "told 0a000000"
    "000000000000000000000000000000000000000000000000000000000000"
    "000000000000000000000000000000000000000000000000000000000000\nunloaded\n";
constexpr auto kTitle = "Rapid Update";
constexpr auto kSuccess = "Corvane Endpoint Protection is successfully updated.";

std::uint16_t minorVersion = 4;

void VersionThatRises(tagZQVERINFO* version) {
    *version = {17, minorVersion, {2026, 11, 0, 2, 3, 4, 5, 0}};
    ++minorVersion;
}

/// A machine with the product, its status library, and a "pkill" that writes down its call.
class UpdateNowTest : public UpdateTest {
protected:
    void SetUp() override {
        UpdateTest::SetUp();
        if (IsSkipped()) {
            return;
        }
        fs::create_directories(m_application / "reports");
        WriteFile(m_application / "updt.rpt", std::string("ZQRF\0\0\0\0\0\0\0\0", 12));
        fs::create_directories(kProductDirectory);
        fs::copy_file(FAKE_SCANSTS_DIR "good/scansts.so",
                      std::string(kProductDirectory) + "scansts.so");
        ::setenv("FAKE_SCANSTS_LOG", (m_scratch / "told").c_str(), 1);
        fs::create_directory(m_scratch / "bin");
        WriteFile(m_scratch / "bin/pkill",
                  "#!/bin/sh\nprintf '%s\\n' \"$*\" >>'" + (m_scratch / "signalled") + "'\n");
        ::chmod((m_scratch / "bin/pkill").c_str(), 0755);
        m_path = std::getenv("PATH");
        ::setenv("PATH", (m_scratch / "bin:" + m_path).c_str(), 1);
        minorVersion = 4;
        pfnGetVer = VersionThatRises;
        m_user.Ignore<dlgUpdate>();
    }
    void TearDown() override {
        if (InSandbox()) {
            pfnGetVer = nullptr;
            ::setenv("PATH", m_path.c_str(), 1);
            ::unsetenv("FAKE_SCANSTS_LOG");
            fs::remove_all("/usr/lib/Corvane");
        }
        UpdateTest::TearDown();
    }

    static void Run() { UpdateNow(nullptr).Run(); }

    /// The only report; empty without one.
    [[nodiscard]] std::string Report() const {
        const fs::directory_iterator reports(m_application / "reports");
        if (reports == fs::directory_iterator()) {
            return {};
        }
        EXPECT_EQ(std::distance(fs::directory_iterator(m_application / "reports"), {}), 1);
        return ReadFile(reports->path().string());
    }
    /// What the index calls the only report; empty without one.
    [[nodiscard]] std::string Listed() const {
        const std::string index = ReadFile(m_application / "updt.rpt");
        return index.size() == 12 + 542 ? index.substr(12 + 30).c_str() : "";
    }
    [[nodiscard]] std::string Told() const { return ReadFile(m_scratch / "told"); }
    [[nodiscard]] std::string Signalled() const { return ReadFile(m_scratch / "signalled"); }

    /// Nothing was written, and nobody told but the user.
    void ExpectNothingElse() const {
        EXPECT_EQ(Report(), "");
        EXPECT_EQ(ReadFile(m_application / "updt.rpt").size(), 12U);
        EXPECT_EQ(Signalled(), "");
        EXPECT_EQ(Told(), "");
    }

    std::string m_path;
    ModalDriver m_user;
};

TEST_F(UpdateNowTest, AFailureIsReportedAndTold) {
    Prepare("status 2000\nresult 0\n");
    m_user.ExpectMessage(QMessageBox::Warning, kTitle, "Error retrieving updates.");
    Run();
    EXPECT_EQ(Report(), "Error retrieving updates.");
    EXPECT_EQ(Listed(), "UPDATE ERROR");
    EXPECT_EQ(Signalled(), "");
    EXPECT_EQ(Told(), "");
}

TEST_F(UpdateNowTest, ASuccessIsReportedSignalledToldToTheUserAndThenToOthers) {
    Prepare("status 2015\nresult 1\n");
    m_user.Expect([this](QDialog* dialog) {
        auto* box = qobject_cast<QMessageBox*>(dialog);
        ASSERT_NE(box, nullptr);
        EXPECT_EQ(box->windowTitle(), kTitle);
        EXPECT_EQ(box->text(), kSuccess);
        EXPECT_EQ(box->icon(), QMessageBox::Information);
        EXPECT_EQ(Listed(), "UPDATED SUCCESSFULLY");
        EXPECT_EQ(Signalled(), "-SIGUSR2 websecd\n");
        EXPECT_EQ(Told(), "") << "the user comes first";
        box->done(QMessageBox::Ok);
    });
    Run();
    EXPECT_EQ(Told(), kTold);
    EXPECT_EQ(Signalled(), "-SIGUSR2 websecd\n");
    // From the version before the update, which was asked for once, to that behind it.
    EXPECT_EQ(Report(),
              "\nCorvane is Successfully updated \n\n"
              "From Version :  17.04"
              "\nVirus database :  02 November 2026 [03:04:05]"
              "\nTo Version :  17.05"
              "\nVirus database :  02 November 2026 [03:04:05]");
}

TEST_F(UpdateNowTest, NothingNewIsReportedAndTold) {
    Prepare("result 2\n");
    m_user.ExpectMessage(QMessageBox::Information, kTitle,
                         "The version of Corvane Endpoint Protection you have is up-to-date. \n"
                         "Use Rapid Update regularly to keep your copy updated.");
    Run();
    EXPECT_THAT(Report(), HasSubstr("up-to-date"));
    EXPECT_EQ(Listed(), "UP-TO-DATE");
    EXPECT_EQ(Signalled(), "");
    EXPECT_EQ(Told(), "");
}

TEST_F(UpdateNowTest, AnInterruptionIsToldAndNotReported) {
    Prepare("status 2000\nwait-for-stop\nresult 3\n");
    QTimer user;
    QObject::connect(&user, &QTimer::timeout, [] {
        if (const auto* dialog = qobject_cast<dlgUpdate*>(QApplication::activeModalWidget())) {
            dialog->findChild<QPushButton*>("btnStop")->click();
        }
    });
    user.start(5);
    m_user.ExpectMessage(QMessageBox::Information, kTitle, "Update process interrupted by user.");
    Run();
    ExpectNothingElse();
}

TEST_F(UpdateNowTest, AFolderWithoutDefinitionsIsToldAndNotReported) {
    Prepare("result 3\n", 0);
    m_user.ExpectMessage(QMessageBox::Warning, kTitle, "Specify valid definition files.");
    Run();
    ExpectNothingElse();
}

TEST_F(UpdateNowTest, AnUnknownResultIsLoggedOnly) {
    Prepare("result 7\n");
    Run();
    ExpectNothingElse();
    EXPECT_EQ(ProgramLog(), "In dlgMain::OnUpdateNowClick(): g_siUpdateRetFlag == -1\n");
}

TEST_F(UpdateNowTest, AFailedStartCountsAsASuccess) {
    Prepare("result 0\n");
    fs::remove(m_application / "zqupdate.opt");
    m_user.ExpectMessage(QMessageBox::Information, kTitle, kSuccess);
    Run();
    EXPECT_EQ(Listed(), "UPDATED SUCCESSFULLY");
    EXPECT_EQ(Signalled(), "-SIGUSR2 websecd\n");
    EXPECT_EQ(Told(), kTold);
    EXPECT_EQ(ProgramLog(), "In UpdateRun::Run(): file (" + m_application.Path() +
                                "zqupdate.opt) not opened: No such file or directory\n");
}

TEST_F(UpdateNowTest, AReportThatCannotBeWrittenIsLoggedAndTheRestGoesOn) {
    for (const auto& [script, status] :
         {std::pair("result 0\n", 0), std::pair("result 1\n", 1), std::pair("result 2\n", 2)}) {
        fs::remove(m_application / "updturl.so");
        fs::remove(m_application / "updt.rpt");
        fs::remove(m_scratch / "log");
        Prepare(script);
        bool isTold = false;
        m_user.Expect([&isTold](QDialog* dialog) {
            isTold = true;
            dialog->accept();
        });
        Run();
        EXPECT_TRUE(isTold) << status;
        EXPECT_EQ(ProgramLog(),
                  "In dlgMain::OnUpdateNowClick(): Error Generating update Report file\n")
            << status;
    }
    EXPECT_EQ(Told(), kTold);
}

TEST_F(UpdateNowTest, WithoutTheStatusLibraryNothingMoreIsSaid) {
    Prepare("result 1\n");
    fs::remove(std::string(kProductDirectory) + "scansts.so");
    m_user.ExpectMessage(QMessageBox::Information, kTitle, kSuccess);
    Run();
    EXPECT_EQ(ProgramLog(), "");
}

// ---- The lock

/// Whether another process gets the lock.
bool IsLockFree(const std::string& path) {
    return InChild([&path] { return ZQFileLock(path.c_str()).AcquireLock() == 0 ? 1 : 0; }) == 1;
}

TEST_F(UpdateNowTest, KeepsOtherUpdatesOutUntilItIsOver) {
    Prepare("wait-for " + m_updater.Path("go") + "\nresult 1\n");
    const mode_t before = ::umask(077);
    const std::string path = m_application / "updt.lck";
    bool wasFree = true;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, [&] {
        if (qobject_cast<dlgUpdate*>(QApplication::activeModalWidget()) != nullptr) {
            look.stop();
            wasFree = IsLockFree(path);
            WriteFile(m_updater.Path("go"), "");
        }
    });
    look.start(5);
    m_user.Expect([&](QDialog* box) {
        EXPECT_FALSE(IsLockFree(path)) << "the message belongs to the update";
        box->accept();
    });
    Run();
    ::umask(before);
    EXPECT_FALSE(wasFree);
    EXPECT_TRUE(IsLockFree(path));
    EXPECT_EQ(ModeOf(path), 0666U);
}

TEST_F(UpdateNowTest, HeldByAnotherProcessItSaysSoAndShowsNoDialog) {
    Prepare("result 0\n");
    const std::string path = m_application / "updt.lck";
    const std::string held = m_scratch / "held";
    const std::string release = m_scratch / "release";
    const pid_t other = StartChild([&] {
        ZQFileLock lock(path.c_str());
        const bool isTaken = lock.AcquireLock() == 0;
        WriteFile(held, "");
        return isTaken && WaitUntil([&] { return Exists(release); }, std::chrono::seconds(60)) ? 0
                                                                                               : 1;
    });
    ASSERT_TRUE(WaitUntil([&] { return Exists(held); }));
    m_user.ExpectMessage(QMessageBox::Warning, kTitle,
                         "Rapid Update is already running in automatic mode.");
    (void)TakeNotedSyslog();
    Run();
    WriteFile(release, "");
    EXPECT_EQ(JoinChild(other), 0);
    EXPECT_THAT(m_updater.Calls(), IsEmpty());
    ExpectNothingElse();
    EXPECT_EQ(ProgramLog(),
              "In dlgMain::OnUpdateNowClick(): no lock: Resource temporarily unavailable\n");
    EXPECT_EQ(TakeNotedSyslog(), "13 corvane: " + ProgramLog()) << "who may not read that one";
}

TEST_F(UpdateNowTest, FollowsNoLinkToLock) {
    Prepare("result 0\n");
    WriteFile(m_scratch / "victim", "precious");
    ASSERT_EQ(::chmod((m_scratch / "victim").c_str(), 0600), 0);
    fs::create_symlink(m_scratch / "victim", m_application / "updt.lck");
    m_user.ExpectMessage(QMessageBox::Warning, kTitle,
                         "Rapid Update is already running in automatic mode.");
    Run();
    EXPECT_THAT(m_updater.Calls(), IsEmpty());
    EXPECT_EQ(ModeOf(m_scratch / "victim"), 0600U);
    EXPECT_EQ(ReadFile(m_scratch / "victim"), "precious");
}

}  // namespace
