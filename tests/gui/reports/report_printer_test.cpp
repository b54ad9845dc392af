#include "reports/report_printer.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include <QFont>
#include <QPrinter>

#include "reports/report_text.h"
#include "tests/support/scratch.h"

// What becomes of the file that a report is printed to.

namespace fs = std::filesystem;

namespace {

constexpr uid_t kNobody = 65534;

// An ordinary user while it lives.
class OrdinaryUser {
public:
    OrdinaryUser() : m_isRoot(::geteuid() == 0 && ::seteuid(kNobody) == 0) {}
    ~OrdinaryUser() {
        if (m_isRoot) {
            EXPECT_EQ(::seteuid(0), 0);
        }
    }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;

private:
    bool m_isRoot;
};

class ReportPrinterTest : public ::testing::Test {
protected:
    ReportPrinterTest() { m_printer.setOutputFormat(QPrinter::PdfFormat); }

    // Prints a report of many lines; `lastPart` of 1000 is where it is cancelled.
    PrintResult Print(const std::string& target, int lastPart = 1000) {
        m_printer.setOutputFileName(QString::fromStdString(target));
        m_parts = 0;
        const PrintResult result =
            PrintReport(m_printer, ReportText(std::string(1000, '\n')), "a.log", QFont(),
                        [&](int part) { return ++m_parts > 0 && part <= lastPart; });
        EXPECT_EQ(m_printer.outputFileName(), QString::fromStdString(target));
        return result;
    }

    const ScratchFolder m_folder;
    const std::string m_target = m_folder / "out.pdf";
    QPrinter m_printer;
    int m_parts = 0;  // how often it was told how far the printing is
};

TEST_F(ReportPrinterTest, ReplacesWhatTheFileHeldAndKeepsItsModeAndNames) {
    WriteFile(m_target, std::string(1'000'000, 'o'));
    fs::permissions(m_target, fs::perms(0640));
    fs::create_hard_link(m_target, m_folder / "other");
    EXPECT_EQ(Print(m_target), PrintResult::kPrinted);
    const std::string printed = ReadFile(m_target);
    EXPECT_EQ(printed.substr(0, 5), "%PDF-");
    EXPECT_EQ(printed.substr(printed.size() - 6), "%%EOF\n");
    EXPECT_EQ(ReadFile(m_folder / "other"), printed);
    EXPECT_EQ(ModeOf(m_target), 0640U);
}

TEST_F(ReportPrinterTest, ACancelledPrintLeavesTheOldFile) {
    for (const int lastPart : {0, 250, 499, 500, 750, 998}) {
        WriteFile(m_target, "old");
        EXPECT_EQ(Print(m_target, lastPart), PrintResult::kCancelled) << lastPart;
        EXPECT_EQ(ReadFile(m_target), "old") << lastPart;
    }
}

TEST_F(ReportPrinterTest, ACancelledPrintMakesNoFile) {
    for (const int lastPart : {0, 750}) {
        EXPECT_EQ(Print(m_target, lastPart), PrintResult::kCancelled) << lastPart;
        EXPECT_TRUE(fs::is_empty(m_folder.Path())) << lastPart;
    }
}

TEST_F(ReportPrinterTest, AFileThatMayNotBeWrittenStays) {
    WriteFile(m_target, "old");
    fs::permissions(m_target, fs::perms(0444));
    fs::permissions(m_folder.Path(), fs::perms(0777));
    {
        const OrdinaryUser user;
        EXPECT_EQ(Print(m_target), PrintResult::kFailed);
    }
    EXPECT_EQ(ReadFile(m_target), "old");
    EXPECT_EQ(ModeOf(m_target), 0444U);
}

TEST_F(ReportPrinterTest, AFullDiskLeavesTheOldFile) {
    fs::create_directory(m_folder / "disk");
    const TinyDisk disk(m_folder / "disk", "16k");
    if (!disk.IsMounted()) {
        GTEST_SKIP() << "no file system can be mounted here";
    }
    WriteFile(m_folder / "disk/filler", std::string(8'192, 'f'));
    const std::string target = m_folder / "disk/out.pdf";
    WriteFile(target, "old");
    EXPECT_EQ(Print(target), PrintResult::kFailed);
    EXPECT_EQ(ReadFile(target), "old");
}

// Where the printer's own file is made, half of it must not pass for the whole.
TEST_F(ReportPrinterTest, AFullDiskOfTemporaryFilesLeavesTheOldFile) {
    fs::create_directory(m_folder / "disk");
    const TinyDisk disk(m_folder / "disk", "16k");
    if (!disk.IsMounted()) {
        GTEST_SKIP() << "no file system can be mounted here";
    }
    WriteFile(m_folder / "disk/filler", std::string(8'192, 'f'));
    WriteFile(m_target, "old");
    const QByteArray before = qgetenv("TMPDIR");
    qputenv("TMPDIR", QByteArray::fromStdString(m_folder / "disk"));
    EXPECT_EQ(Print(m_target), PrintResult::kFailed);
    EXPECT_GT(m_parts, 1) << "it was printed";
    before.isEmpty() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", before);
    EXPECT_EQ(ReadFile(m_target), "old");
    EXPECT_EQ(std::distance(fs::directory_iterator(m_folder / "disk"), {}), 1) << "left behind";
}

TEST_F(ReportPrinterTest, APageWithoutRoomLeavesTheOldFile) {
    WriteFile(m_target, "old");
    m_printer.setPageSize(QPageSize(QSizeF(40, 4), QPageSize::Millimeter));
    EXPECT_EQ(Print(m_target), PrintResult::kFailed);
    EXPECT_EQ(ReadFile(m_target), "old");
}

// Nobody reads from the FIFO, so opening it to write would wait for ever.
TEST_F(ReportPrinterTest, WhatIsNoRegularFileIsRefusedAtOnce) {
    ASSERT_EQ(::mkfifo(m_target.c_str(), 0600), 0);
    fs::create_directory(m_folder / "folder");
    for (const std::string& target :
         {m_target, m_folder / "folder", std::string("/dev/null"), m_folder / "missing/out.pdf"}) {
        EXPECT_EQ(Print(target), PrintResult::kFailed) << target;
        EXPECT_EQ(m_parts, 0) << target << " was waited for";
    }
    EXPECT_TRUE(fs::is_fifo(m_target));
    EXPECT_TRUE(fs::is_directory(m_folder / "folder"));
    EXPECT_FALSE(fs::exists(m_folder / "missing"));
}

}  // namespace
