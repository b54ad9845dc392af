#pragma once

#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>

#include "common/path_list.h"
#include "tests/unit/widgets/scratch_tree.h"
#include "widgets/dlg_sc_dir.h"
#include "widgets/state_chk_lst_view.h"

/// Answers message boxes with their default button and remembers what they said.
class BoxAnswerer {
public:
    struct Box {
        QString title;
        QString text;
        QString details;
        QMessageBox::Icon icon;
        Qt::TextFormat format;
    };

    BoxAnswerer() {
        QObject::connect(&m_timer, &QTimer::timeout, [this] {
            if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
                m_seen.push_back({box->windowTitle(), box->text(), box->detailedText(), box->icon(),
                                  box->textFormat()});
                box->button(QMessageBox::Ok)->click();
            }
        });
        m_timer.start(5);
    }
    [[nodiscard]] const std::vector<Box>& Seen() const { return m_seen; }

private:
    QTimer m_timer;
    std::vector<Box> m_seen;
};

/// The dialog on a scratch tree, driven by mouse and keyboard.
class DlgScDirTest : public testing::Test {
protected:
    ~DlgScDirTest() override { common::FreePathList(g_pPLstHead, g_pPLstCurr); }

    void Open() {
        m_dialog = std::make_unique<dlgScDir>(nullptr, FolderListing(m_tree.Root()));
        m_dialog->show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(m_dialog.get()));
        View()->setFocus();
    }

    [[nodiscard]] QTreeWidget* View() const {
        return m_dialog->findChild<QTreeWidget*>(QStringLiteral("folderTree"));
    }
    [[nodiscard]] QPushButton* ScanButton() const {
        return m_dialog->findChild<QPushButton*>(QStringLiteral("btnFldScn"));
    }
    [[nodiscard]] QPushButton* CancelButton() const {
        return m_dialog->findChild<QPushButton*>(QStringLiteral("btnFldCncl"));
    }
    [[nodiscard]] StateChkLstView* Root() const {
        return static_cast<StateChkLstView*>(View()->topLevelItem(0));
    }
    static StateChkLstView* Find(const StateChkLstView* parent, const std::string& name) {
        for (int i = 0; i < parent->childCount(); ++i) {
            if (parent->Child(i)->Name() == name) {
                return parent->Child(i);
            }
        }
        return nullptr;
    }
    /// The item at `path`, expanding what is on the way.
    StateChkLstView* At(const std::string& path) {
        StateChkLstView* item = Root();
        for (const auto& part : std::filesystem::path(path).relative_path()) {
            View()->expandItem(item);
            item = Find(item, part.string());
            if (item == nullptr) {
                throw std::runtime_error("not in the tree: " + path);
            }
        }
        return item;
    }
    StateChkLstView* Expanded(const std::string& path) {
        StateChkLstView* item = At(path);
        View()->expandItem(item);
        return item;
    }
    static std::vector<std::string> NamesIn(const StateChkLstView* item) {
        std::vector<std::string> names;
        names.reserve(static_cast<std::size_t>(item->childCount()));
        for (int i = 0; i < item->childCount(); ++i) {
            names.push_back(item->Child(i)->Name());
        }
        return names;
    }
    /// Clicks the item's check box, or beside it on its text.
    void Click(const std::string& path, bool onText = false) {
        StateChkLstView* item = At(path);
        View()->scrollToItem(item);
        const QRect rect = View()->visualItemRect(item);
        const bool before = item->IsTicked();
        QTest::mouseClick(View()->viewport(), Qt::LeftButton, {},
                          QPoint(onText ? rect.right() - 4 : rect.left() + 9, rect.center().y()));
        ASSERT_EQ(item->IsTicked() == before, onText) << path << ": missed the check box";
    }
    void ClickText(const std::string& path) { Click(path, true); }
    bool Ticked(const std::string& path) { return At(path)->IsTicked(); }

    static std::vector<std::string> Result() {
        std::vector<std::string> paths;
        for (const tagPathList* node = g_pPLstHead; node != nullptr; node = node->next) {
            paths.emplace_back(node->path);
        }
        return paths;
    }
    std::vector<std::string> ResultOfScan() {
        QTest::mouseClick(ScanButton(), Qt::LeftButton);
        EXPECT_EQ(m_dialog->result(), QDialog::Accepted);
        EXPECT_FALSE(m_dialog->isVisible());
        return Result();
    }

    static bool Shows(const StateChkLstView* item, const QIcon& picture) {
        return !picture.isNull() && item->icon(0).cacheKey() == picture.cacheKey();
    }

    ScratchTree m_tree;
    std::unique_ptr<dlgScDir> m_dialog;
};
