#pragma once

#include <memory>
#include <string>

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>

#include "tests/gui/app/window_fixture.h"
#include "tests/support/pretended_user.h"
#include "tests/support/scratch.h"

/// The update page in its window, opened by who is taken for root. The script of the automatic
/// updates and the status library note how they are called.
class UpdatePageTest : public WindowTest {
protected:
    static constexpr char kFile[] = "zqupdate.opt";
    static constexpr char kScript[] = "/etc/init.d/rapidupdate";

    void SetUp() override {
        WindowTest::SetUp();
        if (IsSkipped()) {
            return;
        }
        std::filesystem::create_directories("/etc/init.d");
        InstallScript(kScript);
        std::filesystem::copy_file(FAKE_SCANSTS_DIR "good/scansts.so", kStatusLibraryPath);
        ::setenv("FAKE_SCANSTS_LOG", PathOf("status.log").c_str(), 1);
    }
    void TearDown() override {
        ::unsetenv("FAKE_SCANSTS_LOG");
        if (InSandbox()) {
            std::filesystem::remove(kScript);
        }
        WindowTest::TearDown();
    }

    void InstallScript(const std::string& path) const {
        WriteFile(path, "#!/bin/sh\necho \"$0 $*\" >>'" + PathOf("service.log").string() + "'\n");
        ASSERT_EQ(::chmod(path.c_str(), 0755), 0);
    }
    [[nodiscard]] std::string ServiceCalls() const { return Get("service.log").value_or(""); }
    [[nodiscard]] std::string StatusCalls() const { return Get("status.log").value_or(""); }
    static std::string OneStatusCall() {
        return "told 0a000000" + std::string(120, '0') + "\nunloaded\n";
    }

    /// The bytes of "zqupdate.opt".
    static std::string Record(char flags, const std::string& path = "",
                              const std::string& backup = "") {
        const auto padded = [](std::string text) {
            text.resize(256, '\0');
            return text;
        };
        return std::string({flags, 0, 0, 0, 1, 0, 0, 0}) + padded(path) + padded(backup);
    }
    /// Opens the window over these options, its update page in front.
    dlgMain& OpenPage(const std::string& record) {
        Put(kFile, record);
        dlgMain& window = Open();
        window.OnUpdtClicked();
        EXPECT_EQ(CurrentPage(), dlgMain::kUpdatePage);
        return window;
    }

    QCheckBox& Automatic() { return Find<QCheckBox>("chkAutoUpdate"); }
    QCheckBox& Backup() { return Find<QCheckBox>("chkBackup"); }
    QRadioButton& Internet() { return Find<QRadioButton>("rdoInternet"); }
    QRadioButton& Server() { return Find<QRadioButton>("rdoServer"); }
    QRadioButton& FromPath() { return Find<QRadioButton>("rdoPath"); }
    QLineEdit& PathEdit() { return Find<QLineEdit>("edtUpdtPath"); }
    QLineEdit& BackupEdit() { return Find<QLineEdit>("edtBkupFolder"); }
    QPushButton& Apply() { return Find<QPushButton>("btnApplyUpd"); }
    QPushButton& Cancel() { return Find<QPushButton>("btnCancelUpd"); }

    /// What is shown, as "automatic source[=path] [backup=folder]", with "*" while unapplied.
    std::string Shown() {
        std::string shown = Automatic().isChecked() ? "automatic " : "";
        if (Internet().isChecked()) {
            shown += "internet";
        } else if (Server().isChecked()) {
            shown += "server";
        } else if (FromPath().isChecked()) {
            shown += "path";
        }
        EXPECT_EQ(PathEdit().isEnabled(), FromPath().isChecked());
        EXPECT_EQ(Find<QPushButton>("btnUpdtPath").isEnabled(), FromPath().isChecked());
        shown += PathEdit().isEnabled() || !PathEdit().text().isEmpty()
                     ? "=" + PathEdit().text().toStdString()
                     : "";
        EXPECT_EQ(BackupEdit().isEnabled(), Backup().isChecked());
        EXPECT_EQ(Find<QPushButton>("btnBkupFolder").isEnabled(), Backup().isChecked());
        shown += Backup().isChecked() || !BackupEdit().text().isEmpty()
                     ? " backup=" + BackupEdit().text().toStdString()
                     : "";
        EXPECT_EQ(Apply().isEnabled(), Cancel().isEnabled());
        return shown + (Apply().isEnabled() ? " *" : "");
    }

    static void ExpectCritical(ModalDriver& user, const QString& caption, const QString& text) {
        user.ExpectMessage(QMessageBox::Critical, caption, text);
    }

    PretendedUser m_root{0};

private:
    static constexpr char kStatusLibraryPath[] = "/usr/lib/Corvane/Corvane/scansts.so";
};
