#include "scan/run/unread_files.h"

#include <gtest/gtest.h>

#include <QClipboard>
#include <QTreeWidget>

#include "scan/unread_files_dialog.h"
#include "tests/gui/scan/dlg_scn_prgrs_fixture.h"
#include "tests/support/modal_driver.h"

namespace {

tagZQFILEINFO Unread(const char* path, const char* reason) {
    tagZQFILEINFO info{};
    info.code = kMsgCannotRead;
    common::CopyToField(info.fileName, path);
    common::CopyToField(info.virusName, reason);
    return info;
}

class UnreadFilesTest : public Progress {
protected:
    QPushButton& Button() const { return *Find<QPushButton>("btnNotRead"); }
    /// Opens the list by its button, looks at it, and closes it.
    void Open(const std::function<void(QDialog&)>& look) {
        ModalDriver driver;
        driver.Expect([&](QDialog* dialog) {
            look(*dialog);
            FindWidget<QPushButton>(*dialog, "btnClose")->click();
        });
        Button().click();
    }
};

TEST_F(UnreadFilesTest, NothingIsThereToOpenWhenAllWasRead) {
    m_dialog->Send(kEvtScanFinished, "abc");
    EXPECT_TRUE(Button().isHidden());
}

TEST_F(UnreadFilesTest, TheirNumberIsAButtonAtTheEnd) {
    m_dialog->Send(kEvtUnreadable, Unread("/t/a", "why"));
    EXPECT_TRUE(Button().isHidden()) << "while the scan runs";
    m_dialog->Send(kEvtUnreadable, Unread("/t/b", "why"));
    m_dialog->Send(kEvtScanFinished, "abc");
    EXPECT_FALSE(Button().isHidden());
    EXPECT_EQ(Button().text(), "&Not read: 2...");
    EXPECT_FALSE(Button().isDefault());
    EXPECT_FALSE(Button().autoDefault());
}

TEST_F(UnreadFilesTest, EachIsListedWithItsReason) {
    m_dialog->Send(kEvtUnreadable, Unread("/t/<b>a\n\xE9", "it is <i>encrypted"));
    m_dialog->Send(kEvtUnreadable, Unread("/t/b", ""));
    m_dialog->Send(kEvtScanFinished, "abc");
    Open([](QDialog& dialog) {
        EXPECT_EQ(dialog.windowTitle(), "Files not read");
        const auto* list = FindWidget<QTreeWidget>(dialog, "lstUnread");
        ASSERT_EQ(list->topLevelItemCount(), 2);
        EXPECT_EQ(list->headerItem()->text(0), "File");
        EXPECT_EQ(list->headerItem()->text(1), "Reason");
        EXPECT_EQ(list->topLevelItem(0)->text(0), "/t/<b>a\\n\\xE9");
        EXPECT_EQ(list->topLevelItem(0)->text(1), "it is <i>encrypted");
        EXPECT_FALSE(list->topLevelItem(0)->toolTip(0).contains("<b>")) << "markup of others";
        EXPECT_EQ(list->topLevelItem(1)->text(0), "/t/b");
        EXPECT_EQ(list->topLevelItem(1)->text(1), "");
        EXPECT_EQ(list->currentItem(), list->topLevelItem(0)) << "where the keys begin";
        EXPECT_EQ(FindWidget<QLabel>(dialog, "lblExplanation")->text(),
                  "Nothing is known about these files: they were not read, or not to their end.");
        QApplication::clipboard()->clear();
        FindWidget<QPushButton>(dialog, "btnCopy")->click();
        EXPECT_EQ(QApplication::clipboard()->text(),
                  "/t/<b>a\\n\\xE9\tit is <i>encrypted\n/t/b\t\n");
    });
}

TEST_F(UnreadFilesTest, OfTooManyTheFirstAreListed) {
    scan::UnreadFiles files;
    for (int i = 0; i < 10'005; ++i) {
        files.Add(Unread(("/t/" + std::to_string(i)).c_str(), "why"));
    }
    EXPECT_EQ(files.Count(), 10'005U);
    const UnreadFilesDialog dialog(files);
    const auto* list = FindWidget<QTreeWidget>(dialog, "lstUnread");
    EXPECT_EQ(list->topLevelItemCount(), 10'000);
    EXPECT_EQ(list->topLevelItem(9'999)->text(0), "/t/9999");
    EXPECT_TRUE(FindWidget<QLabel>(dialog, "lblExplanation")
                    ->text()
                    .endsWith(" The first 10000 of 10005 are listed."));
    files.Clear();
    EXPECT_EQ(files.Count(), 0U);
    EXPECT_TRUE(files.Known().empty());
}

TEST_F(UnreadFilesTest, ANewRunForgetsThem) {
    m_dialog->Send(kEvtUnreadable, Unread("/t/a", "why"));
    EXPECT_EQ(m_dialog->Run().Unread().Count(), 1U);
    m_dialog->Run().Begin();
    EXPECT_EQ(m_dialog->Run().Unread().Count(), 0U);
}

}  // namespace
