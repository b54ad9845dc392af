#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include <QLabel>
#include <QProgressBar>
#include <QTest>

#include "tests/gui/scan/dlg_scn_prgrs_fixture.h"
#include "tests/support/screen_reader.h"
#include "widgets/name_label.h"

// What a screen reader hears of a scan, and how the whole of a long name is had.

namespace {

using ::testing::Contains;
using ::testing::IsEmpty;
using ::testing::Not;

TEST_F(Progress, EveryValueIsReadOutAsItIsShown) {
    common::CopyToField(m_info.fileName, "/t/" + std::string(60, 'x') + "/eicar.com");
    m_dialog->Send(kEvtScanningFile, "/t/a");
    m_dialog->Send(kEvtInfected, m_info);
    m_dialog->Send(kEvtDeleted, m_info);
    m_dialog->Send(kEvtDeleted, m_info);
    ExpectShown("deletedLabel", "2");
    const struct {
        const char* label;
        std::string heard;
    } kValues[] = {
        {"statusLabel", "Scanning..."},
        {"currentFileLabel", "/t/a"},
        {"scannedLabel", "1"},
        {"infectedLabel", "1"},
        {"repairedLabel", "0"},
        {"deletedLabel", "2"},
        {"skippedLabel", "0"},
        {"lastInfectedLabel", "/t/" + std::string(60, 'x') + "/eicar.com"},
        {"lastVirusLabel", "Eicar"},
    };
    for (const auto& value : kValues) {
        EXPECT_EQ(ScreenReader::NameOf(Find<QLabel>(value.label)).toStdString(), value.heard);
    }
    EXPECT_EQ(ScreenReader::NameOf(Find<QProgressBar>("progressBar")), "Scan progress");
    EXPECT_EQ(ScreenReader::DescriptionOf(Find<QLabel>("currentFileLabel")), "Current file");
}

TEST_F(Progress, EveryValueHasItsCaptionForALabel) {
    const std::pair<const char*, const char*> kPairs[] = {
        {"scannedCaption", "scannedLabel"},           {"infectedCaption", "infectedLabel"},
        {"repairedCaption", "repairedLabel"},         {"deletedCaption", "deletedLabel"},
        {"skippedCaption", "skippedLabel"},           {"lastVirusCaption", "lastVirusLabel"},
        {"lastInfectedCaption", "lastInfectedLabel"},
    };
    for (const auto& [caption, value] : kPairs) {
        EXPECT_EQ(Find<QLabel>(caption)->buddy(), Find<QLabel>(value)) << caption;
    }
}

TEST_F(Progress, ChangesAreAnnouncedWithThePictureThatShowsThem) {
    m_dialog->show();
    ScreenReader reader;
    m_dialog->Send(kEvtScanningFile, "/t/a");
    auto heard = reader.TakeAnnouncements();
    EXPECT_THAT(heard, Contains("currentFileLabel: /t/a"));
    EXPECT_THAT(heard, Contains("scannedLabel: 1"));
    EXPECT_THAT(heard, Not(Contains("infectedLabel: 0"))) << "it has not changed";
    for (int file = 0; file < 1000; ++file) {
        m_dialog->Send(kEvtScanningFile, "/t/b");
    }
    EXPECT_THAT(reader.TakeAnnouncements(), IsEmpty()) << "not one for each of a flood";
    ExpectShown("scannedLabel", "1001");
    heard = reader.TakeAnnouncements();
    EXPECT_THAT(heard, Contains("scannedLabel: 1001"));
    EXPECT_THAT(heard, Contains("currentFileLabel: /t/b"));

    m_dialog->Send(kEvtInfected, m_info);
    g_totalfilestoscan = 2000;
    m_dialog->Send(kEvtCountingDone);
    m_dialog->Send(kEvtFillBar);
    m_dialog->Send(kEvtScanFinished, "abc");
    heard = reader.TakeAnnouncements();
    EXPECT_THAT(heard, Contains("infectedLabel: 1"));
    EXPECT_THAT(heard, Contains("lastInfectedLabel: /t/eicar.com"));
    EXPECT_THAT(heard, Contains("lastVirusLabel: Eicar"));
    EXPECT_THAT(heard, Contains("progressBar: 2000"));
    EXPECT_THAT(heard, Contains("statusLabel: Scanning completed successfully"));
    EXPECT_THAT(heard, Contains("noteLabel: 1 detection."));
}

TEST_F(Progress, TheWholeOfAShortenedNameCanBeHad) {
    const std::string name = "/t/<img src=x>/" + std::string(200, 'd') + "/eicar.com";
    common::CopyToField(m_info.fileName, name);
    m_dialog->Send(kEvtScanningFile, m_info);
    ExpectShown("currentFileLabel",
                Find<NameLabel>("currentFileLabel")->text());  // shown with the first picture
    m_dialog->Send(kEvtInfected, m_info);
    WaitForPicture();
    for (const char* label : {"currentFileLabel", "lastInfectedLabel"}) {
        auto* names = Find<NameLabel>(label);
        EXPECT_LT(names->text().size(), 71) << label;
        EXPECT_EQ(names->WholeName().toStdString(), name) << label;
        EXPECT_TRUE(names->toolTip().contains("&lt;img src=x&gt;")) << label;
        EXPECT_EQ(names->textInteractionFlags(),
                  Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard)
            << label;
    }
}

}  // namespace
