#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include <QAbstractButton>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include "common/run_state.h"
#include "common/text_field.h"
#include "tests/support/find_widget.h"
#include "tests/support/modal_driver.h"
#include "tests/support/scratch.h"
#include "update/dlg_int_set.h"

inline constexpr char kIdentifierFile[] = "/usr/lib/Corvane/Corvane/zqguid.dat";
inline constexpr char kExclusionFile[] = "/usr/lib/Corvane/Corvane/zqadminexclusion.dat";

/// `text` with zero bytes behind it, `size` bytes in all.
inline std::string ZeroPadded(std::string text, std::size_t size) {
    text.resize(size, '\0');
    return text;
}

/// The bytes of "zqinet.opt" with a proxy server.
struct InetRecord {
    char useProxy = 1;
    std::string server = "proxy.example.org";
    std::string port = std::string("\x38\x04", 2);  // 1080
    std::string user{};
    std::string password{};
    char authenticate = 0;

    [[nodiscard]] std::string Bytes() const {
        return std::string({useProxy, '\0', '\0', '\0'}) + ZeroPadded(server, 260) + port +
               ZeroPadded(user, 260) + ZeroPadded(password, 260) +
               std::string({authenticate, '\0'});
    }
};

/// The internet settings over an application directory of the test's own, with a command "pkill"
/// that only notes how it is called.
class IntSet : public ::testing::Test {
protected:
    void SetUp() override {
        if (!InSandbox()) {
            GTEST_SKIP() << "reaches the product directory: run it in tests/support/sandbox";
        }
        ::chmod(m_scratch.Path().c_str(), 0755);
        common::CopyToField(g_szAppPath, m_scratch.Path());
        std::filesystem::create_directories("/usr/lib/Corvane/Corvane");
        PutProgram("bin/pkill", "echo \"$*\" >>'" + m_scratch / "pkill.log" + "'\n");
        m_path = std::getenv("PATH");
        ::setenv("PATH", (m_scratch / "bin:" + m_path).c_str(), 1);
    }
    void TearDown() override {
        m_dialog.reset();
        g_szAppPath[0] = '\0';
        if (InSandbox()) {
            ::setenv("PATH", m_path.c_str(), 1);
            std::filesystem::remove_all("/usr/lib/Corvane");
        }
    }

    void PutProgram(const std::string& name, const std::string& body) const {
        const std::filesystem::path path(m_scratch / name);
        std::filesystem::create_directories(path.parent_path());
        WriteFile(path.string(), "#!/bin/sh\n" + body);
        ASSERT_EQ(::chmod(path.c_str(), 0755), 0);
    }
    void PutSettings(const std::string& bytes) const { WriteFile(m_scratch / "zqinet.opt", bytes); }
    [[nodiscard]] std::string Settings() const { return ReadFile(m_scratch / "zqinet.opt"); }
    [[nodiscard]] std::string PkillCalls() const { return ReadFile(m_scratch / "pkill.log"); }

    dlgIntSet& Open() {
        m_dialog = std::make_unique<dlgIntSet>();
        m_dialog->show();
        return *m_dialog;
    }
    template <typename Widget>
    Widget& Find(const char* name) {
        return *FindWidget<Widget>(*m_dialog, name);
    }
    QCheckBox& UseProxy() { return Find<QCheckBox>("chkUseProxy"); }
    QCheckBox& Authentication() { return Find<QCheckBox>("chkAuthentication"); }
    QLineEdit& Server() { return Find<QLineEdit>("edtServer"); }
    QLineEdit& Port() { return Find<QLineEdit>("edtPort"); }
    QLineEdit& User() { return Find<QLineEdit>("edtUser"); }
    QLineEdit& Password() { return Find<QLineEdit>("edtPassword"); }
    void Click(const char* name) { Find<QAbstractButton>(name).click(); }
    void Fill(const QString& server, const QString& port) {
        UseProxy().setChecked(true);
        Server().setText(server);
        Port().setText(port);
    }
    [[nodiscard]] bool IsOpen() const { return m_dialog->isVisible(); }

    ScratchFolder m_scratch;
    std::unique_ptr<dlgIntSet> m_dialog;

private:
    std::string m_path;
};
