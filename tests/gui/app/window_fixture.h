#pragma once

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>

#include <QAbstractButton>
#include <QStackedWidget>

#include "app/dlg_main.h"
#include "tests/fakes/scanapi/fake_engine.h"
#include "tests/fakes/schdlscn/fake_scheduler.h"
#include "tests/support/modal_driver.h"

/// The real main window over a private application directory with a fake scan engine, and over the
/// product directory of the sandbox with a fake settings database.
class WindowTest : public ::testing::Test {
protected:
    WindowTest();
    ~WindowTest() override;

    void SetUp() override;
    void TearDown() override;

    /// Opens the window, or a kind of it.
    template <typename Window = dlgMain>
    Window& Open() {
        auto window = std::make_unique<Window>();
        Window& opened = *window;
        m_window = std::move(window);
        m_window->show();
        return opened;
    }
    void CloseWindow() { m_window.reset(); }

    /// A widget of the window by its object name.
    template <typename Widget>
    Widget& Find(const QString& name) {
        auto* widget = m_window->findChild<Widget*>(name);
        if (widget == nullptr) {
            ADD_FAILURE() << "no " << name.toStdString();
            std::abort();
        }
        return *widget;
    }
    [[nodiscard]] int CurrentPage() { return Find<QStackedWidget>("pages").currentIndex(); }
    void Click(const QString& button) { Find<QAbstractButton>(button).click(); }

    // Files of the application directory.
    [[nodiscard]] std::filesystem::path PathOf(const std::string& name) const {
        return m_folder / name;
    }
    void Put(const std::string& name, const std::string& bytes) const;
    [[nodiscard]] std::optional<std::string> Get(const std::string& name) const;
    [[nodiscard]] int Mode(const std::string& name) const;

    /// What the settings database answers: result of reading, "password set", result of the check,
    /// outcome code.
    void SetDatabaseAnswers(const std::string& script) const;
    void InstallDatabase(const std::string& variant) const;
    [[nodiscard]] std::vector<std::string> DatabaseCalls() const;

    FakeEngine m_engine;
    std::optional<FakeScheduler> m_scheduler;
    std::filesystem::path m_folder;
    std::unique_ptr<dlgMain> m_window;
};
