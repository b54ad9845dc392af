#pragma once

#include "widgets/folder_picker.h"

/// The dialog in which the user ticks the folders to scan now.
///
/// After exec() has returned QDialog::Accepted, the global list `g_pPLstHead` / `g_pPLstCurr` has
/// the topmost ticked folders appended in the order of the tree, at least one of them; the caller
/// frees it. After rejection the list is as it was. GUI thread only.
class dlgScDir : public FolderPicker {
    Q_OBJECT

public:
    /// `listing` tells which folder "/" stands for; results are paths below that "/".
    explicit dlgScDir(QWidget* parent = nullptr, FolderListing listing = FolderListing());

public slots:
    void GetPathsToScan(QTreeWidgetItem* item) override;

protected:
    [[nodiscard]] bool HasResult() const override;
};
