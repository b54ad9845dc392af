#include <functional>
#include <gtest/gtest.h>

#include <QMessageBox>
#include <QTest>

#include "scan/scan_note.h"
#include "tests/gui/scan/dlg_scn_prgrs_fixture.h"
#include "tests/support/modal_driver.h"
#include "tests/support/rendered_box.h"
#include "widgets/house_style.h"

// The line that says what the prescribed status does not: a stop under way, and how it came out.

namespace {

constexpr char kStopping[] = "Stopping after this file...";

class Note : public Progress {
protected:
    QString Said() const { return Text("noteLabel"); }
    bool HasPicture() const {
        const auto* picture = Find<QLabel>("notePicture");
        return !picture->isHidden() && !picture->pixmap(Qt::ReturnByValue).isNull();
    }
    QImage Picture() const {
        return Find<QLabel>("notePicture")->pixmap(Qt::ReturnByValue).toImage();
    }
    /// The stop is confirmed or refused; what the note says meanwhile is checked.
    void AnswerTheQuestion(QMessageBox::StandardButton answer) {
        ModalDriver driver;
        driver.Expect(
            [answer](QDialog* box) { qobject_cast<QMessageBox*>(box)->button(answer)->click(); });
        m_dialog->Send(kEvtConfirmStop, "/t");
    }
    /// A new dialog, at the end of its scan.
    void Finish(std::uint32_t infected, bool isStopped, int unread = 0) {
        m_dialog = std::make_unique<SendableProgress>();
        g_uiInfCnt = infected;
        for (int i = 0; i < unread; ++i) {
            m_dialog->Send(kEvtUnreadable, m_info);
        }
        if (isStopped) {
            m_dialog->m_stop.Set();
        }
        m_dialog->Send(kEvtScanFinished, "abc");
        EXPECT_EQ(Text("statusLabel"), "Scanning completed successfully");
    }
};

TEST_F(Note, IsQuietDuringAScan) {
    m_dialog->Send(kEvtScanningFile, "/t/a");
    EXPECT_EQ(Said(), "");
    EXPECT_FALSE(HasPicture());
    EXPECT_EQ(Text("statusLabel"), "Scanning...");
}

TEST_F(Note, EveryWayToStopIsAnsweredAtOnce) {
    const std::function<void()> kWays[] = {
        [this] { m_dialog->OnStopClick(); },
        [this] { m_dialog->close(); },
        [this] { QTest::keyClick(m_dialog.get(), Qt::Key_Escape); },
    };
    for (const auto& stop : kWays) {
        m_dialog->show();
        stop();
        EXPECT_EQ(Said(), kStopping);
        EXPECT_EQ(Text("statusLabel"), "Scanning...");
        AnswerTheQuestion(QMessageBox::No);
        EXPECT_EQ(Said(), "") << "the scan goes on";
        EXPECT_FALSE(m_dialog->m_stop.IsSet());
    }
}

TEST_F(Note, ACancelledPromptStopsToo) {
    {
        ModalDriver driver;
        driver.Expect([](QDialog* prompt) { prompt->reject(); });
        m_dialog->Send(kEvtPrompt, m_info);
    }
    EXPECT_EQ(Said(), kStopping);
    AnswerTheQuestion(QMessageBox::Yes);
    EXPECT_EQ(Said(), kStopping) << "the walk is on its way out";
}

TEST_F(Note, TheStopQuestionHasNoDefault) {
    m_dialog->m_stop.Set();
    ModalDriver driver;
    driver.Expect([](QDialog* dialog) {
        auto* box = qobject_cast<QMessageBox*>(dialog);
        for (const auto button : {QMessageBox::Yes, QMessageBox::No}) {
            EXPECT_FALSE(qobject_cast<QPushButton*>(box->button(button))->isDefault());
            EXPECT_FALSE(box->button(button)->hasFocus());
        }
        EXPECT_TRUE(QTest::qWaitForWindowActive(box));
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
        EXPECT_TRUE(box->isVisible());
        QTest::keyClick(box, Qt::Key_Escape);
    });
    m_dialog->Send(kEvtConfirmStop, "/t");
    EXPECT_FALSE(m_dialog->m_stop.IsSet()) << "Escape is No";
}

TEST_F(Note, TheEndInWords) {
    const struct {
        std::uint32_t infected;
        bool isStopped;
        const char* words;
    } kEnds[] = {
        {0, false, "Nothing was found."},
        {1, false, "1 detection."},
        {2, false, "2 detections."},
        {0, true, "Stopped before the end. Nothing was found until then."},
        {1, true, "Stopped before the end. 1 detection."},
        {4000000000U, true, "Stopped before the end. 4000000000 detections."},
    };
    for (const auto& end : kEnds) {
        Finish(end.infected, end.isStopped);
        EXPECT_EQ(Said(), end.words);
        EXPECT_TRUE(HasPicture()) << end.words;
    }
}

TEST_F(Note, WhatWasNotReadIsPartOfTheEnd) {
    const struct {
        std::uint32_t infected;
        bool isStopped;
        int unread;
        const char* words;
    } kEnds[] = {
        {0, false, 1, "Nothing was found in what was read. 1 file was not read."},
        {0, false, 2, "Nothing was found in what was read. 2 files were not read."},
        {1, false, 2, "1 detection. 2 files were not read."},
        {0, true, 1, "Stopped before the end. Nothing was found until then. 1 file was not read."},
    };
    for (const auto& end : kEnds) {
        Finish(end.infected, end.isStopped, end.unread);
        EXPECT_EQ(Said(), end.words);
    }
    Finish(0, false);
    const QImage clean = Picture();
    Finish(0, false, 1);
    EXPECT_FALSE(clean == Picture()) << "that is not a clean bill of health";
}

TEST_F(Note, TheEndInPicturesAndColours) {
    Finish(0, false);
    const QImage clean = Picture();
    const QImage cleanGround = Find<ScanNote>("scanNote")->grab().toImage();
    Finish(0, true);
    const QImage stopped = Picture();
    Finish(3, false);
    EXPECT_FALSE(clean == Picture());
    EXPECT_FALSE(clean == stopped);
    EXPECT_FALSE(stopped == Picture());
    const QImage infectedGround = Find<ScanNote>("scanNote")->grab().toImage();
    EXPECT_NE(cleanGround.pixel(1, 5), infectedGround.pixel(1, 5));
}

TEST_F(Note, ItsWordsCanBeReadInEveryPalette) {
    for (const std::uint32_t infected : {0U, 1U}) {
        for (const QPalette& palette : {LightPalette(), DarkPalette(), DimPalette()}) {
            for (const int unread : {0, 1}) {
                Finish(infected, false, unread);
                m_dialog->setPalette(palette);
                m_dialog->resize(600, 400);
                const QImage picture = Find<ScanNote>("scanNote")->grab().toImage();
                const QColor ground = picture.pixelColor(picture.width() - 6, picture.height() / 2);
                EXPECT_NE(ground, palette.color(QPalette::Window)) << "tinted";
                EXPECT_GE(ContrastRatio(palette.color(QPalette::WindowText), ground), 4.5);
            }
        }
    }
}

TEST_F(Note, TheEndKeepsTheDialogsLayout) {
    m_dialog->show();
    const QPoint before = Find<QLabel>("scannedLabel")->mapTo(m_dialog.get(), QPoint());
    m_dialog->Send(kEvtScanFinished, "abc");
    QTest::qWait(20);
    EXPECT_EQ(Find<QLabel>("scannedLabel")->mapTo(m_dialog.get(), QPoint()), before);
}

// The task bar

TEST_F(Note, TheDialogCanBeMinimised) {
    const Qt::WindowFlags flags = m_dialog->windowFlags();
    EXPECT_TRUE(flags.testFlag(Qt::WindowMinimizeButtonHint));
    for (const auto kept :
         {Qt::WindowTitleHint, Qt::WindowSystemMenuHint, Qt::WindowCloseButtonHint}) {
        EXPECT_TRUE(flags.testFlag(kept));
    }
    EXPECT_EQ(m_dialog->windowType(), Qt::Dialog);
}

TEST_F(Note, AQuestionBringsTheDialogBack) {
    m_dialog->show();
    for (const ZQEvent question : {kEvtPrompt, kEvtConfirmStop}) {
        m_dialog->showMinimized();
        ASSERT_TRUE(m_dialog->isMinimized());
        m_dialog->Send(kEvtScanningFile, "/t/a");
        EXPECT_TRUE(m_dialog->isMinimized()) << "no file does";
        ModalDriver driver;
        driver.Expect([this](QDialog* dialog) {
            EXPECT_FALSE(m_dialog->isMinimized());
            dialog->reject();
        });
        m_dialog->Send(question, m_info);
        EXPECT_TRUE(m_dialog->isVisible());
    }
}

}  // namespace
