#pragma once

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <string_view>

#include <QAction>
#include <QApplication>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QStatusBar>

#include "common/run_state.h"
#include "common/text_field.h"
#include "help/dlg_help.h"
#include "help/help_browser.h"
#include "tests/support/find_widget.h"
#include "tests/support/modal_driver.h"
#include "tests/support/scratch.h"

/// A viewer over a program directory and a current directory of its own.
class DlgHelpTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_before = std::filesystem::current_path();
        for (const char* folder : {"app/doc/html/de", "started", "outside"}) {
            std::filesystem::create_directories(m_scratch / folder);
        }
        std::filesystem::current_path(m_scratch / "started");
        common::CopyToField(g_szAppPath, m_scratch / "app/");
        PutPage("app/doc/html/home.htm", "Home of the help",
                R"(<a href="scanning.htm">scanning</a>)");
        PutPage("app/doc/html/scanning.htm", "Scanning", "How to scan");
        PutPage("outside/page.htm", "Outside", "elsewhere");
    }
    void TearDown() override {
        Close();
        std::filesystem::current_path(m_before);
        g_szAppPath[0] = '\0';
    }

    [[nodiscard]] QString Path(std::string_view name) const {
        return QString::fromStdString(m_scratch / name);
    }
    void PutPage(std::string_view name, const std::string& title, const std::string& body) const {
        WriteFile(m_scratch / name, "<html><head><title>" + title + "</title></head><body>" + body +
                                        "</body></html>");
    }

    dlgHelp& Open() {
        m_viewer = new dlgHelp(Path("app/doc/html/home.htm"), "The caption");
        m_viewer->show();
        return *m_viewer;
    }
    /// As its user closes it.
    void Close() {
        if (m_viewer != nullptr) {
            m_viewer->close();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            EXPECT_EQ(m_viewer, nullptr);
        }
    }

    template <typename Widget>
    [[nodiscard]] Widget& Find(const char* name) const {
        return *FindWidget<Widget>(*m_viewer, name);
    }
    [[nodiscard]] HelpBrowser& Browser() const { return Find<HelpBrowser>("browser"); }
    [[nodiscard]] std::string Shown() const { return Browser().toPlainText().toStdString(); }
    [[nodiscard]] QString ShownPath() const { return Browser().source().toLocalFile(); }
    [[nodiscard]] std::string Status() const {
        return Find<QStatusBar>("statusBar").currentMessage().toStdString();
    }
    void Trigger(const char* action) const { Find<QAction>(action).trigger(); }
    void Follow(const QString& link) const {
        emit Browser().anchorClicked(Browser().source().resolved(QUrl(link)));
    }

    ScratchFolder m_scratch;
    QPointer<dlgHelp> m_viewer;

private:
    std::filesystem::path m_before;
};
