#pragma once

#include <gtest/gtest.h>
#include <memory>
#include <string>

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include "common/run_state.h"
#include "reports/dlg_report.h"
#include "reports/files/current_report.h"
#include "reports/report_view.h"
#include "tests/gui/reports/report_fixture.h"
#include "tests/support/find_widget.h"
#include "tests/support/modal_driver.h"

inline constexpr int kLimit = 20000;  // milliseconds; reached only by a failure

/// Answers the viewer's boxes. The viewer is a modal window too, seen as one before and after them.
class BoxDriver : public ModalDriver {
public:
    BoxDriver() { Ignore<dlgReport>(); }
};

/// The viewer over an index and reports of the test's own.
class DlgReportTest : public ReportFixture {
protected:
    // Three listed reports, of which the middle one is open.
    void OpenMiddle() {
        WriteIndex({{"d", "s", "a.log"}, {"d", "s", "b.log"}, {"d", "s", "c.log"}});
        for (const char* name : {"a", "b", "c"}) {
            WriteReport(std::string(name) + ".log", std::string("report ") + name);
        }
        Open("b.log");
    }

    void Open(const std::string& name) {
        reports::SetCurrentReport(static_cast<ReportKind>(g_siRptKind), name);
        m_dialog = std::make_unique<dlgReport>();
        m_dialog->show();
        m_dialog->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(m_dialog.get(), kLimit));
    }

    // A single report with this text, open.
    void OpenText(const std::string& text) {
        WriteIndex({{"d", "s", "a.log"}});
        WriteReport("a.log", text);
        Open("a.log");
    }

    template <typename Widget = QPushButton>
    Widget* Find(const char* name) {
        return FindWidget<Widget>(*m_dialog, name);
    }

    ReportView* View() { return Find<ReportView>("edtViewRpt"); }
    std::string Shown() { return View()->toPlainText().toStdString(); }
    // "P" when stepping back is possible, "N" when stepping on is.
    std::string Steps() {
        return std::string(Find("btnPrev")->isEnabled() ? "P" : "") +
               (Find("btnNext")->isEnabled() ? "N" : "");
    }
    void Press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(
            m_dialog->focusWidget() == nullptr ? m_dialog.get() : m_dialog->focusWidget(), key,
            modifiers);
    }
    std::string Matches() { return Find<QLabel>("lblMatches")->text().toStdString(); }

    // Types into the find bar and waits until the matches are counted.
    void Search(const QString& text) {
        Press(Qt::Key_F, Qt::ControlModifier);
        auto* edit = Find<QLineEdit>("edtFind");
        ASSERT_TRUE(QTest::qWaitFor([&] { return edit->hasFocus(); }, kLimit));
        Find<QLabel>("lblMatches")->setText("counting");
        edit->clear();
        QTest::keyClicks(edit, text);
        ASSERT_TRUE(QTest::qWaitFor(
            [&] {
                return Matches() != "counting" && Matches() != "Searching ..." &&
                       !Matches().empty();
            },
            kLimit));
    }

    std::unique_ptr<dlgReport> m_dialog;
};
