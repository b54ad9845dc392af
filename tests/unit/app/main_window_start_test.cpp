// How the main window starts: what it shows, which files it makes, and every way it gives up.

#include <filesystem>
#include <fstream>
#include <sys/stat.h>

#include "tests/unit/app/program_test.h"

namespace {

namespace fs = std::filesystem;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

constexpr char kLock[] = "/tmp/scan.lck";
const std::string kEmptyIndex("ZQRF\0\0\0\0\0\0\0\0", 12);

class MainWindowStart : public ProgramTest {
protected:
    /// Given up: status 0, the lock given back, the process left registered.
    static void ExpectGivenUp(const StagedProgram& program) {
        program.InstallOnAccessService();
        EXPECT_EQ(program.Run(), 0);
        EXPECT_FALSE(fs::exists(kLock));
        EXPECT_THAT(program.OnAccessCalls(), ElementsAre("ignore self nolock"));
        EXPECT_THAT(program.Seen(), Not(Contains(StartsWith("window"))));
    }
};

TEST_F(MainWindowStart, ShowsItsStepsAndThenItself) {
    const StagedProgram program;
    EXPECT_EQ(program.Run(), 0);
    EXPECT_THAT(program.Seen(), ElementsAre("splash Loading... Scan Option Settings",
                                            "splash Loading... Update Module", "splash Loading...",
                                            "splash API Library loaded successfully",
                                            "window Corvane", "heading Scanner", "font Tahoma 10",
                                            "style HouseStyle", "centred", "pictures 1"));
}

TEST_F(MainWindowStart, PicturesAreSharpAtTwiceTheSize) {
    const StagedProgram program;
    EXPECT_EQ(program.Run({}, {{"QT_SCALE_FACTOR=2"}, {}, false}), 0);
    EXPECT_THAT(program.Seen(), Contains("pictures 2"));
}

TEST_F(MainWindowStart, MakesItsFiles) {
    const StagedProgram program;
    EXPECT_EQ(program.Run(), 0);
    const fs::path& folder = program.Directory();
    EXPECT_EQ(FileBytes(folder / "zqscn.opt"), std::string("\x01\x00\x0B", 3));
    EXPECT_EQ(ModeOf(folder / "zqscn.opt"), 0666);
    EXPECT_EQ(FileBytes(folder / "zqupdate.opt"),
              std::string("\x09\0\0\0\x01\0\0\0", 8) + std::string(512, '\0'));
    EXPECT_EQ(ModeOf(folder / "zqupdate.opt"), 0666);
    for (const char* index : {"main.rpt", "updt.rpt"}) {
        EXPECT_EQ(FileBytes(folder / index), kEmptyIndex) << index;
        EXPECT_EQ(ModeOf(folder / index), 0666) << index;
    }
}

TEST_F(MainWindowStart, KeepsItsFilesAndSharesThem) {
    const StagedProgram program;
    const fs::path& folder = program.Directory();
    for (const char* name : {"zqscn.opt", "zqupdate.opt", "main.rpt", "updt.rpt"}) {
        std::ofstream(folder / name) << "kept as it is";
        chmod((folder / name).c_str(), 0600);
    }
    EXPECT_EQ(program.Run(), 0);
    for (const char* name : {"zqscn.opt", "zqupdate.opt", "main.rpt", "updt.rpt"}) {
        EXPECT_EQ(FileBytes(folder / name), "kept as it is") << name;
        EXPECT_EQ(ModeOf(folder / name), 0666) << name;
    }
}

TEST_F(MainWindowStart, LoadsAndUnloadsTheEngine) {
    const StagedProgram program;
    EXPECT_EQ(program.Run(), 0);
    EXPECT_THAT(program.EngineCalls(), Contains(StartsWith("ZqInitScan ")));
    EXPECT_THAT(program.EngineCalls(), Contains("ZqDeinitScan"));
}

TEST_F(MainWindowStart, SplashMissing) {
    const StagedProgram program;
    fs::remove(program.Directory() / "qimages" / "splash.bmp");
    ExpectGivenUp(program);
    EXPECT_THAT(program.Seen(), IsEmpty());
    EXPECT_FALSE(fs::exists(program.Directory() / "zqscn.opt"));
}

TEST_F(MainWindowStart, SplashThatIsNoPicture) {
    const StagedProgram program;
    std::ofstream(program.Directory() / "qimages" / "splash.bmp") << "no picture";
    ExpectGivenUp(program);
    EXPECT_THAT(program.Seen(), IsEmpty());
}

TEST_F(MainWindowStart, EngineMissing) {
    const StagedProgram program;
    fs::remove(program.Directory() / "scanapi.so");
    ExpectGivenUp(program);
    EXPECT_THAT(program.Seen(), Contains("critical Corvane | Unable to load Scan API Library"));
    EXPECT_FALSE(fs::exists(program.Directory() / "main.rpt"));
}

TEST_F(MainWindowStart, EngineRefuses) {
    const StagedProgram program;
    program.InstallEngine("init_fails");
    ExpectGivenUp(program);
    EXPECT_THAT(program.Seen(), Contains("critical Corvane | Unable to load Scan API Library"));
}

TEST_F(MainWindowStart, ReportIndexCannotBeMade) {
    for (const char* index : {"main.rpt", "updt.rpt"}) {
        const StagedProgram program;
        // Nothing to find behind the name, and yet the name is taken.
        fs::create_symlink("nowhere", program.Directory() / index);
        ExpectGivenUp(program);
        EXPECT_THAT(program.Seen(),
                    Contains("critical Corvane | Unable to open Report File. \\n Close all the "
                             "application and try again"))
            << index;
        EXPECT_THAT(program.EngineCalls(), Contains("ZqDeinitScan")) << index;
        EXPECT_FALSE(fs::exists(program.Directory() / "nowhere")) << index;
    }
}

}  // namespace
