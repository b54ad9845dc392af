#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QTest>
#include <QTimeEdit>

#include "schedule/dlg_schedule_scan.h"
#include "tests/fakes/schdlscn/fake_scheduler.h"
#include "tests/support/modal_driver.h"
#include "tests/support/pretended_user.h"
#include "tests/support/scratch.h"
#include "widgets/dlg_dir.h"

inline constexpr char kTaskListPath[] = "/usr/lib/Corvane/Corvane/tsklst.inf";

/// The bytes of `text` in hexadecimal, and of zeros behind it: `size` in all.
inline std::string HexText(const std::string& text, std::size_t size) {
    QByteArray bytes = QByteArray::fromStdString(text);
    bytes.append(static_cast<qsizetype>(size) - bytes.size(), '\0');
    return bytes.toHex().toStdString();
}
inline std::string HexZeros(std::size_t size) {
    return HexText("", size);
}

/// The wizard over the fake scheduler, as a user with the id 1,000.
class WizardTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!InSandbox()) {
            GTEST_SKIP() << "reaches the product directory: run it in tests/support/sandbox";
        }
        m_scheduler.emplace();
    }

    void Open() {
        m_wizard = std::make_unique<dlgschedulescan>();
        m_wizard->show();
    }
    void OpenTask(const QString& name) {
        m_wizard = std::make_unique<dlgschedulescan>();
        m_wizard->editMode(name);
        m_wizard->show();
    }

    template <typename Widget>
    Widget& Find(const char* name) {
        auto* widget = m_wizard->findChild<Widget*>(QLatin1String(name));
        if (widget == nullptr) {
            ADD_FAILURE() << "no " << name;
            std::abort();
        }
        return *widget;
    }
    void Click(const char* name) { Find<QAbstractButton>(name).click(); }
    [[nodiscard]] QString TextOf(const char* label) { return Find<QLabel>(label).text(); }
    [[nodiscard]] bool IsEnabled(const char* name) { return Find<QWidget>(name).isEnabled(); }

    void Name(const QString& name) { Find<QLineEdit>("edtScanName").setText(name); }
    void Next() { m_wizard->button(QWizard::NextButton)->click(); }
    void Finish() { m_wizard->button(QWizard::FinishButton)->click(); }
    [[nodiscard]] int CurrentPage() const { return m_wizard->currentId(); }
    /// From the first page, with a name, to the last.
    void GoToSummary(const QString& name = "task") {
        if (Find<QWidget>("edtScanName").isEnabled()) {
            Name(name);
        }
        Next();
        Next();
        ASSERT_EQ(CurrentPage(), dlgschedulescan::kSummaryPage);
    }

    /// Has the folder picker hand over this text.
    static void ExpectPicker(ModalDriver& user, const std::string& folders) {
        user.Expect([folders](QDialog* dialog) {
            ASSERT_NE(qobject_cast<dlgDir*>(dialog), nullptr);
            EXPECT_TRUE(g_SchFolders.empty());
            EXPECT_EQ(g_pPLstHead_1, nullptr);
            g_SchFolders = folders;
            dialog->accept();
        });
    }
    void AddFolders(const std::string& folders) {
        ModalDriver user;
        ExpectPicker(user, folders);
        Click("btnAddFolders");
    }
    static void ExpectWarning(ModalDriver& user, const QString& text) {
        user.ExpectMessage(QMessageBox::Warning, "Schedule Scan", text);
    }

    static std::vector<std::string> Rows(const QListWidget& list) {
        std::vector<std::string> rows;
        rows.reserve(static_cast<std::size_t>(list.count()));
        for (int row = 0; row < list.count(); ++row) {
            rows.push_back(list.item(row)->text().toStdString());
        }
        return rows;
    }
    std::vector<std::string> Folders() { return Rows(Find<QListWidget>("lstScanLocation")); }

    PretendedUser m_user{1000};
    std::optional<FakeScheduler> m_scheduler;
    std::unique_ptr<dlgschedulescan> m_wizard;
};
