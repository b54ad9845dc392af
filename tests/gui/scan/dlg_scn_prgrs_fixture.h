#pragma once

#include <gtest/gtest.h>
#include <memory>
#include <string>

#include <QEvent>
#include <QLabel>
#include <QPushButton>
#include <QString>
#include <QTest>

#include "common/path_list.h"
#include "common/run_state.h"
#include "common/text_field.h"
#include "reports/files/report_generator.h"
#include "scan/dlg_scn_prgrs.h"
#include "scan/dlg_vir_fnd.h"
#include "scan/scan_event.h"
#include "tests/support/find_widget.h"
#include "tests/support/report_files.h"
#include "tests/support/scratch.h"

/// Gives the tests what the event loop gives the dialog.
class SendableProgress : public dlgScnPrgrs {
public:
    void Send(ZQEvent type, const char* text = nullptr) {
        ZqEvent event(type, text);
        customEvent(&event);
    }
    void Send(ZQEvent type, const tagZQFILEINFO& info) {
        ZqEvent event(type, &info);
        customEvent(&event);
    }
    void SendOther(int type) {
        QEvent event(static_cast<QEvent::Type>(type));
        customEvent(&event);
    }
};

/// The progress dialog with a report to write, given its events one by one.
class Progress : public ::testing::Test {
protected:
    Progress() {
        MakeReportFiles(m_application.Path());
        common::CopyToField(g_szAppPath, m_application.Path());
        common::ResetRunCounters();
        g_totalfilestoscan = 0;
        StopCount = false;
        m_node.path[0] = '/';
        g_pRptObj = std::make_unique<ReportGen>(&m_node);
        m_dialog = std::make_unique<SendableProgress>();
        common::CopyToField(m_info.fileName, "/t/eicar.com");
        common::CopyToField(m_info.virusName, "Eicar");
    }
    ~Progress() override {
        m_dialog.reset();
        g_pRptObj.reset();
        g_scnActn = 1;
        g_myScnopts = {};
        g_zqFileInfo = nullptr;
    }

    template <typename Widget>
    Widget* Find(const char* name) const {
        return FindWidget<Widget>(*m_dialog, name);
    }
    QString Text(const char* label) const { return Find<QLabel>(label)->text(); }
    QString ButtonText(const char* button) const { return Find<QPushButton>(button)->text(); }
    bool IsEnabled(const char* button) const { return Find<QPushButton>(button)->isEnabled(); }

    /// The label shows this now or with the next picture.
    void ExpectShown(const char* label, const QString& text) const {
        EXPECT_TRUE(QTest::qWaitFor([&] { return Text(label) == text; }))
            << label << ": " << Text(label).toStdString();
    }
    /// Lets the next picture be shown.
    void WaitForPicture() const { QTest::qWait(100); }
    static std::string Report() { return ReadFile(g_szRptPath); }

    ScratchFolder m_application;
    tagPathList m_node{};
    std::unique_ptr<SendableProgress> m_dialog;
    tagZQFILEINFO m_info{};
};
