#include "tests/unit/house/include_rules.h"

#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

TEST(IncludeRules, HoldInThisTree) {
    const fs::path root = CORVANE_SOURCE_DIR;
    ASSERT_TRUE(fs::exists(root / "app"));
    EXPECT_THAT(FindBrokenIncludeRules(root), IsEmpty());
}

// Small trees made up to break one rule each.
class MadeUpTree : public testing::Test {
protected:
    void SetUp() override {
        std::string name = testing::TempDir() + "corvane-include-rules-XXXXXX";
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        m_root = name;
    }

    void TearDown() override { fs::remove_all(m_root); }

    void Write(const std::string& name, const std::string& text = {}) {
        fs::create_directories((m_root / name).parent_path());
        std::ofstream(m_root / name) << text;
    }

    std::vector<std::string> Broken() const { return FindBrokenIncludeRules(m_root); }

    fs::path m_root;
};

TEST_F(MadeUpTree, ArrowsThatPointDownAreFine) {
    Write("abi/a.h");
    Write("common/c.h", "#include <string>\n#include \"abi/a.h\"\n");
    Write("widgets/w.h", "#include <QWidget>\n#include \"common/c.h\"\n");
    Write("reports/r.h", "#include \"widgets/w.h\"\n#include \"common/c.h\"\n");
    Write("scan/s.h", "#include \"reports/r.h\"\n");
    Write("update/u.h", "#include \"scan/s.h\"\n");
    Write("app/main.cpp",
          "#include \"update/u.h\"\n#include \"abi/a.h\"\n#include \"ui_main.h\"\n");
    Write("product/one/p.cpp", "#include \"product/one/p.h\"\n#include \"common/c.h\"\n");
    Write("product/one/p.h", "#include \"abi/a.h\"\n");
    Write("tests/t.cpp", "#include \"app/main.h\"\n#include \"product/one/p.h\"\n");
    Write("app/main.h");
    EXPECT_THAT(Broken(), IsEmpty());
}

TEST_F(MadeUpTree, AnArrowThatPointsUpIsFound) {
    Write("scan/s.h");
    Write("reports/deep/er.cpp", "  #  include\t\"scan/s.h\"\n");
    EXPECT_THAT(Broken(),
                ElementsAre("reports/deep/er.cpp includes scan/s.h: the arrow points up"));
}

TEST_F(MadeUpTree, EveryFloorIsHigherThanTheOneBelow) {
    Write("app/x.h");
    Write("scan/x.h", "#include \"app/x.h\"\n");
    Write("reports/x.h", "#include \"help/x.h\"\n");
    Write("help/x.h", "#include \"app/x.h\"\n");
    Write("schedule/x.h", "#include \"app/x.h\"\n");
    Write("update/x.h", "#include \"app/x.h\"\n");
    Write("widgets/x.h", "#include \"reports/x.h\"\n");
    Write("update/files/x.h");
    Write("common/x.h", "#include \"update/files/x.h\"\n");
    Write("abi/x.h", "#include \"common/x.h\"\n");
    EXPECT_THAT(Broken(), ElementsAre("abi/x.h includes common/x.h: the arrow points up",
                                      "common/x.h includes update/files/x.h: the arrow points up",
                                      "help/x.h includes app/x.h: the arrow points up",
                                      "reports/x.h includes help/x.h: the arrow points up",
                                      "scan/x.h includes app/x.h: the arrow points up",
                                      "schedule/x.h includes app/x.h: the arrow points up",
                                      "update/x.h includes app/x.h: the arrow points up",
                                      "widgets/x.h includes reports/x.h: the arrow points up"));
}

TEST_F(MadeUpTree, ACircleOnOneFloorIsFoundOnce) {
    Write("scan/s.h", "#include \"update/u.h\"\n");
    Write("update/u.h", "#include \"help/h.h\"\n");
    Write("help/h.h", "#include \"scan/s.h\"\n");
    EXPECT_THAT(Broken(), ElementsAre("circle: help -> scan -> update -> help"));
}

TEST_F(MadeUpTree, AProductFolderUsesAnyRoomWithoutQtAndNoOtherProductFolder) {
    Write("abi/a.h");
    Write("common/c.h");
    Write("scan/s.h");
    Write("scan/run/r.h");
    Write("reports/files/f.h");
    Write("reports/virus_log/v.h");
    Write("update/files/u.h");
    Write("help/files/h.h");
    Write("help/dlg.h");
    Write("product/two/q.h");
    Write("product/one/fine.cpp",
          "#include \"abi/a.h\"\n#include \"common/c.h\"\n#include \"scan/run/r.h\"\n"
          "#include \"reports/files/f.h\"\n#include \"reports/virus_log/v.h\"\n"
          "#include \"update/files/u.h\"\n#include \"help/files/h.h\"\n");
    Write("help/files/h.cpp", "#include \"reports/files/f.h\"\n#include \"help/dlg.h\"\n");
    Write("product/one/p.cpp", "#include \"scan/s.h\"\n#include \"product/two/q.h\"\n");
    Write("app/a.cpp", "#include \"product/two/q.h\"\n");
    EXPECT_THAT(
        Broken(),
        ElementsAre("app/a.cpp includes product/two/q.h: the product's libraries are loaded at run "
                    "time, never built in",
                    "help/files/h.cpp includes help/dlg.h: a room without Qt uses no room with it",
                    "product/one/p.cpp includes product/two/q.h: each folder of product stands for "
                    "itself",
                    "product/one/p.cpp includes scan/s.h: a room without Qt uses no room with it"));
}

TEST_F(MadeUpTree, APartOfTheProductUsesWhatItsPartsShareAndNotTheOtherWayRound) {
    Write("product/one/p.h");
    Write("product/signed_index/i.h");
    Write("product/one/p.cpp", "#include \"product/signed_index/i.h\"\n");
    EXPECT_THAT(Broken(), IsEmpty());
    Write("product/signed_index/i.cpp", "#include \"product/one/p.h\"\n");
    Write("update/files/u.cpp", "#include \"product/signed_index/i.h\"\n");
    EXPECT_THAT(Broken(),
                ElementsAre("product/signed_index/i.cpp includes product/one/p.h: each folder of "
                            "product stands for itself",
                            "update/files/u.cpp includes product/signed_index/i.h: the product's "
                            "libraries are loaded at run time, never built in"));
}

TEST_F(MadeUpTree, NothingInstalledUsesTestsOrBench) {
    Write("tests/t.h");
    Write("bench/b.h");
    Write("common/c.cpp", "#include \"tests/t.h\"\n");
    Write("product/one/p.cpp", "#include \"bench/b.h\"\n");
    EXPECT_THAT(Broken(),
                ElementsAre("common/c.cpp includes tests/t.h: nothing that is installed uses the "
                            "tests",
                            "product/one/p.cpp includes bench/b.h: nothing that is installed uses "
                            "the tests"));
}

TEST_F(MadeUpTree, ARoomWithoutQtUsesNoQt) {
    for (const char* room : {"abi", "app", "common", "common/given", "help", "product/one",
                             "reports", "reports/files", "reports/virus_log", "scan", "scan/run",
                             "schedule", "update", "update/files", "update/run", "widgets"}) {
        Write(std::string(room) + "/x.cpp", "#include <QString>\n");
    }
    const std::string why = "/x.cpp includes QString: a room without Qt uses no Qt";
    EXPECT_THAT(Broken(),
                ElementsAre("abi" + why, "common/given" + why, "common" + why, "product/one" + why,
                            "reports/files" + why, "reports/virus_log" + why, "scan/run" + why,
                            "update/files" + why, "update/run" + why));
}

TEST_F(MadeUpTree, ARoomWithoutQtUsesNoRoomWithIt) {
    Write("widgets/w.h");
    Write("reports/r.h");
    Write("reports/virus_log/v.h", "#include \"reports/r.h\"\n");
    Write("scan/run/deep/er.h", "#include \"widgets/w.h\"\n");
    Write("update/files/u.h", "#include \"widgets/w.h\"\n");
    EXPECT_THAT(
        Broken(),
        ElementsAre(
            "reports/virus_log/v.h includes reports/r.h: a room without Qt uses no room with it",
            "scan/run/deep/er.h includes widgets/w.h: a room without Qt uses no room with it",
            "update/files/u.h includes widgets/w.h: a room without Qt uses no room with it"));
}

TEST_F(MadeUpTree, AnInnerRoomStandsBelowTheRoomItLiesIn) {
    Write("reports/files/f.h", "#include \"scan/run/r.h\"\n");
    Write("reports/r.cpp", "#include \"reports/files/f.h\"\n");
    Write("scan/run/r.h", "#include \"common/c.h\"\n");
    Write("scan/s.cpp", "#include \"scan/run/r.h\"\n");
    Write("common/c.h", "#include \"common/given/g.h\"\n");
    Write("common/given/g.h");
    EXPECT_THAT(Broken(),
                ElementsAre("common/c.h includes common/given/g.h: the arrow points up",
                            "reports/files/f.h includes scan/run/r.h: the arrow points up"));
}

TEST_F(MadeUpTree, AHeaderIsNamedFromTheRootAndExists) {
    Write("common/c.h");
    Write("common/c.cpp",
          "#include \"c.h\"\n#include \"../abi/a.h\"\n#include \"common/gone.h\"\n");
    EXPECT_THAT(Broken(), ElementsAre("common/c.cpp includes ../abi/a.h: no such header below the "
                                      "root",
                                      "common/c.cpp includes c.h: no such header below the root",
                                      "common/c.cpp includes common/gone.h: no such header below "
                                      "the root"));
}

}  // namespace
