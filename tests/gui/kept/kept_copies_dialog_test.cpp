// The window on the kept copies, over a vault that a shell script plays.

#include "kept/kept_copies_dialog.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTreeWidget>

#include "tests/support/modal_driver.h"
#include "tests/support/scratch.h"
#include "tests/support/screen_reader.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kFirst[] = "20261120-080000-00000001";
constexpr char kSecond[] = "20261121-080000-00000002";
constexpr char kDamaged[] = "20261122-080000-00000003";

class KeptCopies : public ::testing::Test {
protected:
    /// `script` is run for each command: its words are "$@".
    void SetScript(const std::string& script) const {
        std::filesystem::remove(m_program);  // it may be running
        WriteFile(m_program, "#!/bin/sh\necho \"$@\" >>" + m_folder / "calls" + "\n" + script);
        std::filesystem::permissions(m_program, std::filesystem::perms::owner_all);
    }
    /// The list that the vault gives, two whole items and a damaged one.
    void SetThree(const std::string& rest = "") const {
        WriteFile(
            m_folder / "list",
            std::string(R"({"item":")") + kFirst +
                R"(","kept":1795600000,"owner":"ann","size":68,"virus":"Eicar","path":"/t/<b>one"})"
                "\n"
                R"({"item":")" +
                kSecond +
                R"(","kept":1795600060,"owner":"bob","size":2048,"virus":"Worm","path":"/t/two\\u{202e}"})"
                "\n"
                R"({"item":")" +
                kDamaged +
                R"(","kept":1795600120,"owner":"ann","problem":"it is damaged"})"
                "\nno JSON\n{}\n");
        SetScript("case $1 in list) cat '" + m_folder / "list" +
                  "'; echo 'corvane-vault: 1 item cannot be read' >&2; exit 1 ;; esac\n" + rest);
    }
    void Open(bool isProblem = true) {
        ModalDriver user;
        if (isProblem) {
            user.ExpectMessage(QMessageBox::Warning, "Kept copies", "1 item cannot be read");
        }
        m_dialog = std::make_unique<KeptCopiesDialog>(nullptr, QString::fromStdString(m_program));
        m_dialog->show();
        AwaitSettled();
    }
    void AwaitSettled() {
        QSignalSpy settled(m_dialog.get(), &KeptCopiesDialog::Settled);
        ASSERT_TRUE(settled.wait(30000));
    }
    template <typename Widget>
    Widget& Find(const char* name) {
        auto* widget = m_dialog->findChild<Widget*>(QLatin1String(name));
        if (widget == nullptr) {
            ADD_FAILURE() << "no " << name;
            std::abort();
        }
        return *widget;
    }
    QTreeWidget& List() { return Find<QTreeWidget>("lstKept"); }
    std::vector<std::string> Rows() {
        std::vector<std::string> rows;
        for (int i = 0; i < List().topLevelItemCount(); ++i) {
            const QTreeWidgetItem* row = List().topLevelItem(i);
            if (!row->isHidden()) {
                rows.push_back(
                    (row->text(0) + "|" + row->text(1) + "|" + row->text(4)).toStdString());
            }
        }
        return rows;
    }
    void Select(std::initializer_list<int> rows) {
        List().clearSelection();
        for (const int row : rows) {
            List().topLevelItem(row)->setSelected(true);
        }
    }
    [[nodiscard]] std::pair<bool, bool> RestoreAndRemove() {
        return {Find<QPushButton>("btnRestore").isEnabled(),
                Find<QPushButton>("btnRemove").isEnabled()};
    }
    std::string State() { return Find<QLabel>("lblState").text().toStdString(); }
    /// What the vault was asked for since the last time.
    std::string Calls() const {
        std::string calls = ReadFile(m_folder / "calls");
        std::filesystem::remove(m_folder / "calls");
        return calls;
    }
    /// Answers the question, whose text has to end with `files`.
    static void ExpectQuestion(ModalDriver& user, const QString& begin, const QString& files,
                               const QString& button) {
        user.Expect([=](QDialog* dialog) {
            auto* box = qobject_cast<QMessageBox*>(dialog);
            ASSERT_NE(box, nullptr);
            EXPECT_EQ(box->textFormat(), Qt::PlainText);
            EXPECT_TRUE(box->text().startsWith(begin)) << box->text().toStdString();
            EXPECT_TRUE(box->text().endsWith("\n\n" + files)) << box->text().toStdString();
            for (QAbstractButton* each : box->buttons()) {
                if (each->text() == button) {
                    each->click();
                    return;
                }
            }
            ADD_FAILURE() << "no such button";
        });
    }

    ScratchFolder m_folder;
    std::string m_program = m_folder / "corvane-vault";
    std::unique_ptr<KeptCopiesDialog> m_dialog;
};

TEST_F(KeptCopies, AreListedTheNewestFirst) {
    SetThree();
    Open();
    EXPECT_THAT(Rows(), ElementsAre("Cannot be read: it is damaged||ann",
                                    "/t/two\\u{202e}|Worm|bob", "/t/<b>one|Eicar|ann"));
    EXPECT_EQ(List().topLevelItem(1)->text(3), QLocale().formattedDataSize(2048));
    EXPECT_FALSE(List().topLevelItem(1)->text(2).isEmpty());
    EXPECT_EQ(State(), "3 file(s) kept");
    EXPECT_EQ(Calls(), "list --json\n");
    EXPECT_EQ(List().currentItem(), List().topLevelItem(0));
    EXPECT_THAT(List().selectedItems(), IsEmpty());
    EXPECT_EQ(RestoreAndRemove(), std::make_pair(false, false));
}

TEST_F(KeptCopies, AnEmptyVaultSaysWhatItIsFor) {
    SetScript("");
    Open(false);
    EXPECT_THAT(Rows(), IsEmpty());
    EXPECT_EQ(State(),
              "Nothing is kept. Before an infected file is deleted, a copy of it is kept here.");
}

TEST_F(KeptCopies, OnlyWhatIsFoundIsSeenAndChosen) {
    SetThree();
    Open();
    Select({1, 2});
    auto& search = Find<QLineEdit>("edtSearch");
    search.setText("WORM");
    EXPECT_THAT(Rows(), ElementsAre("/t/two\\u{202e}|Worm|bob"));
    EXPECT_EQ(List().selectedItems(), QList{List().topLevelItem(1)});
    search.setText("<b>");
    EXPECT_THAT(Rows(), ElementsAre("/t/<b>one|Eicar|ann"));
    EXPECT_THAT(List().selectedItems(), IsEmpty());
    EXPECT_EQ(RestoreAndRemove(), std::make_pair(false, false));
    search.clear();
    EXPECT_EQ(Rows().size(), 3U);
}

TEST_F(KeptCopies, WhatCannotBeReadCanOnlyBeDeleted) {
    SetThree();
    Open();
    Select({0});
    EXPECT_EQ(RestoreAndRemove(), std::make_pair(false, true));
    Select({0, 1});
    EXPECT_EQ(RestoreAndRemove(), std::make_pair(false, true));
    Select({1});
    EXPECT_EQ(RestoreAndRemove(), std::make_pair(true, true));
}

TEST_F(KeptCopies, ChosenOnesAreBroughtBackAfterAQuestion) {
    SetThree("case $1 in restore) echo '/t/<b>one' ;; esac\n");
    Open();
    (void)Calls();
    Select({2});
    ModalDriver user;
    ExpectQuestion(user, "These files were called infected. Do you want to bring them back",
                   "/t/<b>one", "&Yes");
    user.ExpectMessage(QMessageBox::Information, "Kept copies", "Brought back:\n/t/<b>one");
    user.ExpectMessage(QMessageBox::Warning, "Kept copies", "1 item cannot be read");
    Find<QPushButton>("btnRestore").click();
    AwaitSettled();
    EXPECT_EQ(Calls(), std::string("restore ") + kFirst + "\nlist --json\n");
}

TEST_F(KeptCopies, ChosenOnesAreDeletedForGoodAfterAQuestion) {
    SetThree();
    Open();
    (void)Calls();
    Select({0, 1});
    ModalDriver user;
    ExpectQuestion(user, "Do you want to delete these files for good?",
                   "Cannot be read: it is damaged\n/t/two\\u{202e}", "&Yes");
    user.ExpectMessage(QMessageBox::Warning, "Kept copies", "1 item cannot be read");
    Find<QPushButton>("btnRemove").click();
    AwaitSettled();
    EXPECT_EQ(Calls(), std::string("empty --yes ") + kDamaged + " " + kSecond + "\nlist --json\n");
}

TEST_F(KeptCopies, ANoChangesNothing) {
    SetThree();
    Open();
    (void)Calls();
    Select({1});
    ModalDriver user;
    ExpectQuestion(user, "These files", "/t/two\\u{202e}", "&No");
    Find<QPushButton>("btnRestore").click();
    ExpectQuestion(user, "Do you want to delete", "/t/two\\u{202e}", "&No");
    Find<QPushButton>("btnRemove").click();
    EXPECT_FALSE(std::filesystem::exists(m_folder / "calls"));
}

TEST_F(KeptCopies, WhyOneIsNotBroughtBackIsTold) {
    SetThree("echo 'corvane-vault: it is <b>there\x1B' >&2; exit 1\n");
    Open();
    Select({1});
    ModalDriver user;
    ExpectQuestion(user, "These files", "/t/two\\u{202e}", "&Yes");
    user.ExpectMessage(QMessageBox::Warning, "Kept copies", "it is <b>there\\x1B");
    user.ExpectMessage(QMessageBox::Warning, "Kept copies", "1 item cannot be read");
    Find<QPushButton>("btnRestore").click();
    AwaitSettled();
    EXPECT_EQ(Rows().size(), 3U);
}

TEST_F(KeptCopies, AMissingOrKilledProgramIsTold) {
    ModalDriver user;
    user.ExpectMessage(QMessageBox::Warning, "Kept copies",
                       "The program that looks after the kept copies is missing or cannot be "
                       "started: " +
                           QString::fromStdString(m_program));
    Open(false);
    m_dialog.reset();
    SetScript("kill -9 $$\n");
    user.ExpectMessage(QMessageBox::Warning, "Kept copies",
                       "The program that looks after the kept copies ended unexpectedly.");
    Open(false);
}

TEST_F(KeptCopies, ClosingDoesNotWaitForAListAndWaitsForARestore) {
    SetThree("read -r line <'" + m_folder / "gate" + "'; echo '/t/two'\n");
    ASSERT_EQ(mkfifo((m_folder / "gate").c_str(), 0600), 0);
    Open();
    Select({1});
    ModalDriver user;
    ExpectQuestion(user, "These files", "/t/two\\u{202e}", "&Yes");
    Find<QPushButton>("btnRestore").click();
    EXPECT_EQ(State(), "One moment...");
    EXPECT_EQ(RestoreAndRemove(), std::make_pair(false, false));
    m_dialog->reject();
    EXPECT_TRUE(m_dialog->isVisible());
    user.ExpectMessage(QMessageBox::Information, "Kept copies", "Brought back:\n/t/two");
    user.ExpectMessage(QMessageBox::Warning, "Kept copies", "1 item cannot be read");
    WriteFile(m_folder / "gate", "go\n");
    AwaitSettled();
    SetScript("exec sleep 1000\n");
    m_dialog->Refresh();
    m_dialog->reject();
    EXPECT_FALSE(m_dialog->isVisible());
    m_dialog.reset();  // ends the program that lists
}

TEST_F(KeptCopies, AllThatTakesTheFocusIsNamedAndExplained) {
    SetThree();
    Open();
    for (const auto* widget : m_dialog->findChildren<QWidget*>()) {
        if (widget->focusPolicy() != Qt::NoFocus && !widget->objectName().startsWith("qt_")) {
            EXPECT_FALSE(widget->accessibleName().isEmpty()) << widget->objectName().toStdString();
            EXPECT_FALSE(widget->toolTip().isEmpty()) << widget->objectName().toStdString();
        }
    }
    EXPECT_THAT(ScreenReader::UnreadableLabels(*m_dialog), IsEmpty());
}

}  // namespace
