#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <string>

#include <QLabel>
#include <QMovie>
#include <QPixmap>
#include <QPushButton>

#include "common/run_state.h"
#include "common/text_field.h"
#include "scan/dlg_scn_prgrs.h"
#include "scan/dlg_vir_fnd.h"
#include "scan/scan_event.h"
#include "tests/support/modal_driver.h"
#include "tests/support/scratch.h"

namespace {

// Two pictures of one point, shown for ever, a tenth of a second each.
constexpr char kPicture[] =
    "GIF89a\x01\0\x01\0\x80\0\0\0\0\0\xFF\xFF\xFF"
    "!\xFF\x0BNETSCAPE2.0\x03\x01\0\0\0"
    "!\xF9\x04\0\x0A\0\0\0,\0\0\0\0\x01\0\x01\0\0\x02\x02\x44\x01\0"
    "!\xF9\x04\0\x0A\0\0\0,\0\0\0\0\x01\0\x01\0\0\x02\x02\x4C\x01\0;";

class Dialog : public dlgScnPrgrs {
public:
    void Send(ZQEvent type) {
        const tagZQFILEINFO info{};
        ZqEvent event(type, &info);
        customEvent(&event);
    }
};

class Animation : public ::testing::Test {
protected:
    void SetUp() override {
        std::filesystem::create_directories(m_application / "qimages");
        WriteFile(File(), {kPicture, sizeof(kPicture) - 1});
        ASSERT_TRUE(common::CopyToField(g_szAppPath, m_application.Path()));
        m_dialog = std::make_unique<Dialog>();
        ASSERT_NE(Label()->movie(), nullptr);
        m_movie = Label()->movie();
        m_movie->start();
        ASSERT_EQ(m_movie->state(), QMovie::Running);
    }
    void TearDown() override {
        m_dialog.reset();
        g_zqFileInfo = nullptr;
        g_scnActn = 1;
    }
    [[nodiscard]] std::string File() const { return m_application / "qimages/bl3.gif"; }
    [[nodiscard]] QLabel* Label() const { return m_dialog->findChild<QLabel*>("animationLabel"); }

    ScratchFolder m_application;
    std::unique_ptr<Dialog> m_dialog;
    QMovie* m_movie = nullptr;
};

TEST_F(Animation, IsTheOneOfTheApplication) {
    EXPECT_EQ(m_movie->fileName().toStdString(), File());
    EXPECT_TRUE(m_movie->isValid());
}

TEST_F(Animation, RestsWhileThePromptAsks) {
    ModalDriver driver;
    driver.Expect([this](QDialog* prompt) {
        EXPECT_EQ(m_movie->state(), QMovie::Paused);
        prompt->findChild<QPushButton*>("btnOk")->click();
    });
    m_dialog->Send(kEvtPrompt);
    EXPECT_EQ(m_movie->state(), QMovie::Running);
}

TEST_F(Animation, RestsWhileAStopIsConfirmedAndGoesOnWhenItIsRefused) {
    for (const auto answer : {QMessageBox::No, QMessageBox::Yes}) {
        ModalDriver driver;
        driver.Expect([this, answer](QDialog* box) {
            EXPECT_EQ(m_movie->state(), QMovie::Paused);
            qobject_cast<QMessageBox*>(box)->button(answer)->click();
        });
        m_dialog->m_stop.Set();
        m_dialog->Send(kEvtConfirmStop);
        EXPECT_EQ(m_movie->state(), answer == QMessageBox::No ? QMovie::Running : QMovie::Paused);
    }
}

TEST_F(Animation, IsAStillPictureInTheEnd) {
    m_dialog->Send(kEvtScanFinished);
    EXPECT_EQ(m_movie->state(), QMovie::Paused);
    EXPECT_EQ(Label()->movie(), nullptr);
    EXPECT_EQ(Label()->pixmap(Qt::ReturnByValue).size(), QSize(1, 1));
}

}  // namespace
