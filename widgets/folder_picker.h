#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <QDialog>
#include <QIcon>

#include "widgets/folder_listing.h"

class QPushButton;
class QTreeWidgetItem;
class StateChkLstView;

namespace Ui {
class FolderPicker;
}

// The three folder pictures of the tree, made when the first picker starts. GUI thread only.
extern QIcon folderClosed;  ///< has sub-folders and can be expanded
extern QIcon folderOpen;    ///< is expanded
extern QIcon folderLocked;  ///< has no sub-folders or cannot be read; cannot be expanded

/// The design that the folder dialogs share: the file system as a tree of folders, each with a
/// check box, read lazily as the user opens them. How the ticked folders become a result is the
/// derived dialog's part. GUI thread only.
class FolderPicker : public QDialog {
    Q_OBJECT

public:
    ~FolderPicker() override;

public slots:
    /// The path of `item` with "/" at the end ("/" for the root), byte for byte.
    /// Used for listing and for results.
    std::string GetFullPath(const QTreeWidgetItem* item) const;

    /// Appends what is ticked in `item`, the siblings after it and all below them to the result.
    /// Called on the root.
    virtual void GetPathsToScan(QTreeWidgetItem* item) = 0;

    /// The path of `item` without "/" at the end ("/" for the root), byte for byte.
    std::string fullPath(const QTreeWidgetItem* item) const;

    /// Collects the result. An empty one is answered with a message and the dialog stays; otherwise
    /// the dialog closes with acceptance.
    void OnFldScnClick();
    /// Closes the dialog with rejection.
    void OnFldCnclClick();
    /// Carries the state of `item` to its descendants and ancestors; call it on every click.
    void OnListClick(QTreeWidgetItem* item);
    /// Reads the sub-folders of `item` when that has not been done yet.
    void OnListItemExpanded(QTreeWidgetItem* item);
    void OnListItemCollapsed(QTreeWidgetItem* item);

    /// Gives every loaded descendant the state of `item`.
    void CheckForChild(QTreeWidgetItem* item);
    /// Brings every ancestor into line with the state of `item`.
    void CheckForParent(QTreeWidgetItem* item);

    /// Makes the pictures and reads the first level of the tree.
    void init();
    /// Sets all texts anew in the language of the application.
    virtual void languageChange();

protected:
    explicit FolderPicker(QWidget* parent, FolderListing listing);

    /// Whether GetPathsToScan() has put anything into the result.
    [[nodiscard]] virtual bool HasResult() const = 0;

    /// Remembers a ticked folder that cannot be part of the result, so that the user is told about
    /// it.
    void LeaveOut(const std::string& path);

    /// What the user is told about the folders that were left out, which are named below it.
    [[nodiscard]] virtual QString LeftOutText() const;

    /// The button that collects the result, for a dialog that has other words for it.
    [[nodiscard]] QPushButton* ScanButton() const;

    void changeEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void Populate(StateChkLstView* item);
    /// Puts the user on `path`, or on the folder nearest above it that has been read.
    void BeginAt(const std::filesystem::path& path);
    /// Shows how many folders are ticked, and where they cannot be seen.
    void TellWhatIsTicked();
    bool IsWhollyTicked(const StateChkLstView* folder) const;
    void TellWhatWasLeftOut();
    void OnUserTicked(QTreeWidgetItem* item);
    void OnUserClicked(QTreeWidgetItem* item);

    std::unique_ptr<Ui::FolderPicker> m_ui;
    FolderListing m_listing;
    std::vector<std::string> m_leftOut;
    const QTreeWidgetItem* m_tickedByThisClick = nullptr;
};
