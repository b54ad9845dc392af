// Every way through main() and out of it, with the exit status and what is left behind.

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "tests/unit/app/program_test.h"

namespace {

namespace fs = std::filesystem;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr char kLock[] = "/tmp/scan.lck";

class StartUp : public ProgramTest {};

/// A "notify-send" that writes its arguments down, one a line; the folder it lies in.
fs::path FakeNotifySend(const StagedProgram& program) {
    fs::path folder = program.Scratch() / "bin";
    fs::create_directory(folder);
    std::ofstream(folder / "notify-send") << "#!/bin/sh\nprintf '%s\\n' \"$@\" >'"
                                          << (program.Scratch() / "notice").string() << "'\n";
    fs::permissions(folder / "notify-send", fs::perms::all);
    return folder;
}

/// Keeps what the program writes to standard error while it lives.
class KeptErrors {
public:
    explicit KeptErrors(const StagedProgram& program)
        : m_path(program.Scratch() / "errors"),
          m_before(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)) {
        const common::FileDescriptor kept(
            open(m_path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
        dup2(kept.Get(), STDERR_FILENO);
    }
    ~KeptErrors() { dup2(m_before.Get(), STDERR_FILENO); }
    KeptErrors(const KeptErrors&) = delete;
    KeptErrors& operator=(const KeptErrors&) = delete;

    [[nodiscard]] std::vector<std::string> Lines() const { return FileLines(m_path); }

private:
    fs::path m_path;
    common::FileDescriptor m_before;
};

std::string PathWith(const fs::path& folder) {
    return "PATH=" + folder.string() + ":" + std::getenv("PATH");
}

TEST_F(StartUp, NormalEnd) {
    const StagedProgram program;
    program.InstallOnAccessService();
    EXPECT_EQ(program.Run(), 0);
    // The lock is given back before the registration is undone.
    EXPECT_THAT(program.OnAccessCalls(), ElementsAre("ignore self nolock", "unignore self nolock"));
    EXPECT_FALSE(fs::exists(kLock));
    EXPECT_THAT(program.Seen(), Contains("window Corvane"));
    EXPECT_EQ(ModeOf(program.Directory() / "reports"), 0666);
    // The first log line has no file to go to.
    EXPECT_FALSE(fs::exists("/tmp/zqscanfile"));
}

TEST_F(StartUp, FontIsTahomaTen) {
    const StagedProgram program;
    EXPECT_EQ(program.Run(), 0);
    EXPECT_THAT(program.Seen(), Contains("font Tahoma 10"));
}

TEST_F(StartUp, RunsWithoutTheOnAccessService) {
    const StagedProgram program;
    EXPECT_EQ(program.Run(), 0);
    EXPECT_THAT(program.Seen(), Contains("window Corvane"));
}

TEST_F(StartUp, RunsWithAnOnAccessServiceThatCannotIgnore) {
    const StagedProgram program;
    program.InstallOnAccessService("without_ignore");
    EXPECT_EQ(program.Run(), 0);
    EXPECT_THAT(program.Seen(), Contains("window Corvane"));
    // No process was registered, so there is none to name.
    EXPECT_THAT(program.OnAccessCalls(), ElementsAre("unignore 0 nolock"));
}

TEST_F(StartUp, EndsWithAnOnAccessServiceThatCannotUnignore) {
    const StagedProgram program;
    program.InstallOnAccessService("without_unignore");
    EXPECT_EQ(program.Run(), 0);
    EXPECT_THAT(program.OnAccessCalls(), ElementsAre("ignore self nolock"));
}

TEST_F(StartUp, NoShellForTheProbe) {
    const StagedProgram program;
    program.InstallOnAccessService();
    // One descriptor left: enough to load libraries, not enough for a pipe.
    EXPECT_EQ(program.Run({}, {{}, 4, false}), 255);
    EXPECT_THAT(program.OnAccessCalls(), ElementsAre("ignore self nolock"));
    EXPECT_THAT(program.Seen(), IsEmpty());
}

TEST_F(StartUp, WaylandIsRefusedWithANotification) {
    const StagedProgram program;
    program.InstallOnAccessService();
    const fs::path tools = FakeNotifySend(program);
    EXPECT_EQ(program.Run({}, {{"WAYLAND_DISPLAY=wayland-0", PathWith(tools)}, {}, false}), 1);
    EXPECT_THAT(program.OnAccessCalls(), ElementsAre("ignore self nolock", "unignore self nolock"));
    EXPECT_THAT(FileLines(program.Scratch() / "notice"),
                ElementsAre("-i", "/usr/lib/Corvane/Corvane/zq.png",
                            "ZQ GUI scanner is not supported on Wayland Display Manager.",
                            "Please logout and switch to X11 display Server on Xorg."));
    EXPECT_THAT(program.Seen(), IsEmpty());
    EXPECT_FALSE(fs::exists(program.Directory() / "reports"));
}

TEST_F(StartUp, WaylandIsRefusedWithoutANotifier) {
    const StagedProgram program;
    const fs::path empty = program.Scratch() / "empty";
    fs::create_directory(empty);
    EXPECT_EQ(program.Run({}, {{"WAYLAND_DISPLAY=x", "PATH=" + empty.string()}, {}, false}), 1);
}

TEST_F(StartUp, BlankWaylandDisplayCountsAsX11) {
    const StagedProgram program;
    EXPECT_EQ(program.Run({}, {{"WAYLAND_DISPLAY=\" \t\v\f\r \""}, {}, false}), 1)
        << "quotation marks are text";
    for (const char* blank : {"", " \t ", "\v\f\r"}) {
        const StagedProgram another;
        EXPECT_EQ(another.Run({}, {{std::string("WAYLAND_DISPLAY=") + blank}, {}, false}), 0);
        EXPECT_THAT(another.Seen(), Contains("window Corvane"));
    }
}

TEST_F(StartUp, DirectoryThatIsNoAsciiText) {
    const StagedProgram program("pr\xc3\xb6gram");
    program.InstallOnAccessService();
    const KeptErrors errors(program);
    EXPECT_EQ(program.Run(), 0);
    EXPECT_THAT(errors.Lines(), IsEmpty());
    EXPECT_THAT(program.OnAccessCalls(), ElementsAre("ignore self nolock", "unignore self nolock"));
    EXPECT_THAT(program.Seen(), IsEmpty());
    EXPECT_FALSE(fs::exists(program.Directory() / "reports"));
}

TEST_F(StartUp, DirectoryThatDoesNotFit) {
    const StagedProgram program(std::string(240, 'd'));
    program.InstallOnAccessService();
    const KeptErrors errors(program);
    EXPECT_EQ(program.Run(), 0);
    EXPECT_THAT(
        errors.Lines(),
        ElementsAre("corvane: the path of the program's directory is longer than 255 bytes"));
    EXPECT_THAT(program.OnAccessCalls(), ElementsAre("ignore self nolock", "unignore self nolock"));
    EXPECT_THAT(program.Seen(), IsEmpty());
}

TEST_F(StartUp, NoDisplayCanBeReached) {
    // No server answers there; the second is a platform that there is no plug-in for.
    const std::vector<std::string> places[] = {{"QT_QPA_PLATFORM=xcb", "DISPLAY=:4242"},
                                               {"QT_QPA_PLATFORM=nosuchplatform"}};
    for (const std::vector<std::string>& place : places) {
        const StagedProgram program;
        program.InstallOnAccessService();
        const KeptErrors errors(program);
        EXPECT_EQ(program.Run({}, {place, {}, false}), 1);
        EXPECT_THAT(errors.Lines(), Contains("corvane: no window can be shown: no display can be "
                                             "reached, or no plug-in draws on it"));
        EXPECT_THAT(errors.Lines(), Contains(HasSubstr("no Qt platform plugin could be")))
            << "the toolkit's own words";
        EXPECT_THAT(program.OnAccessCalls(),
                    ElementsAre("ignore self nolock", "unignore self nolock"));
        EXPECT_THAT(program.Seen(), IsEmpty());
        EXPECT_FALSE(fs::exists(program.Directory() / "reports"));
        EXPECT_FALSE(fs::exists(kLock));
    }
}

TEST_F(StartUp, MissingTranslationIsNamedWithNothingHidden) {
    const StagedProgram program;
    EXPECT_EQ(program.Run({"d\xE2\x80\xAE"
                           "e"}),
              0);
    EXPECT_THAT(program.Seen(), ElementsAre(::testing::HasSubstr("/zqscan_d\\u202Ee.qm")));
}

TEST_F(StartUp, MissingTranslation) {
    const StagedProgram program;
    program.InstallOnAccessService();
    EXPECT_EQ(program.Run({"xx"}), 0);
    EXPECT_THAT(program.Seen(),
                ElementsAre("warning File error | Cannot find translation for language: " +
                            program.Directory().string() + "/zqscan_xx.qm\\n(try for 'en' )"));
    // Alone of the late failures this one leaves the process registered.
    EXPECT_THAT(program.OnAccessCalls(), ElementsAre("ignore self nolock"));
    EXPECT_FALSE(fs::exists(program.Directory() / "reports"));
}

TEST_F(StartUp, TranslationIsUsed) {
    const StagedProgram program;
    fs::copy_file(CORVANE_TRANSLATIONS_DIR "zqscan_de.qm", program.Directory() / "zqscan_de.qm");
    EXPECT_EQ(program.Run({"de"}), 0);
    EXPECT_THAT(program.Seen(), Contains("heading Virenscanner"));
}

TEST_F(StartUp, EnglishHasATranslationFileToo) {
    const StagedProgram program;
    fs::copy_file(CORVANE_TRANSLATIONS_DIR "zqscan_en.qm", program.Directory() / "zqscan_en.qm");
    EXPECT_EQ(program.Run({"en"}), 0);
    EXPECT_THAT(program.Seen(), Contains("heading Scanner"));
}

TEST_F(StartUp, TwoArgumentsAreIgnored) {
    const StagedProgram program;
    fs::copy_file(CORVANE_TRANSLATIONS_DIR "zqscan_de.qm", program.Directory() / "zqscan_de.qm");
    EXPECT_EQ(program.Run({"de", "xx"}), 0);
    EXPECT_THAT(program.Seen(), Contains("heading Scanner"));
}

TEST_F(StartUp, SecondStartEndsSilently) {
    const StagedProgram first;
    const StagedProgram second;
    const fs::path go = first.Scratch() / "go";
    const pid_t running = first.Start({}, {{"CORVANE_DRIVER_HOLD=" + go.string()}, {}, false});
    while (first.Seen().empty() && kill(running, 0) == 0) {
        usleep(5000);
    }
    second.InstallOnAccessService();

    EXPECT_EQ(second.Run(), 0);
    EXPECT_THAT(second.OnAccessCalls(), ElementsAre("ignore self lock", "unignore self lock"));
    EXPECT_THAT(second.Seen(), IsEmpty());
    EXPECT_FALSE(fs::exists(second.Directory() / "reports"));
    EXPECT_TRUE(fs::exists(kLock)) << "the lock of the first start is not the second's to remove";

    std::ofstream(go).put('\n');
    EXPECT_EQ(StagedProgram::Wait(running), 0);
    EXPECT_FALSE(fs::exists(kLock));
}

TEST_F(StartUp, ReportsDirectoryCannotBeMade) {
    const StagedProgram program;
    program.InstallOnAccessService();
    // Nothing to find behind the name, and yet the name is taken.
    fs::create_symlink("nowhere", program.Directory() / "reports");
    EXPECT_EQ(program.Run(), 0);
    EXPECT_THAT(program.OnAccessCalls(), ElementsAre("ignore self nolock", "unignore self nolock"));
    EXPECT_FALSE(fs::exists(kLock));
    EXPECT_THAT(program.Seen(), IsEmpty());
}

TEST_F(StartUp, ReportsDirectoryIsKeptAsItIs) {
    const StagedProgram program;
    fs::create_directory(program.Directory() / "reports");
    chmod((program.Directory() / "reports").c_str(), 01777);
    EXPECT_EQ(program.Run(), 0);
    EXPECT_EQ(ModeOf(program.Directory() / "reports"), 01777);
}

TEST_F(StartUp, TemporaryDirectoryCannotBeMade) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs root, to make /tmp closed to another user";
    }
    const StagedProgram program;
    program.InstallOnAccessService();
    fs::create_directory(program.Directory() / "reports");
    {
        const common::FileDescriptor lock(open(kLock, O_WRONLY | O_CREAT | O_CLOEXEC, 0666));
        fchmod(lock.Get(), 0666);
    }
    const int modeBefore = ModeOf("/tmp");
    chmod("/tmp", 0555);
    const int status = program.Run({}, {{}, {}, true});
    chmod("/tmp", static_cast<mode_t>(modeBefore));
    EXPECT_EQ(status, 0);
    EXPECT_THAT(program.OnAccessCalls(), ElementsAre("ignore self lock", "unignore self lock"));
    EXPECT_THAT(program.Seen(), IsEmpty());
}

TEST_F(StartUp, OrdinaryUserCanRunIt) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs root, to become another user";
    }
    const StagedProgram program;
    fs::create_directory(program.Directory() / "reports");
    EXPECT_EQ(program.Run({}, {{}, {}, true}), 0);
    EXPECT_THAT(program.Seen(), Contains("window Corvane"));
}

}  // namespace
