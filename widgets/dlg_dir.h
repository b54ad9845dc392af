#pragma once

#include <string>
#include <string_view>

#include "widgets/folder_picker.h"

struct tagPathList;

// What the user has ticked in a dlgDir, appended to what was there before; whoever opens the dialog
// empties both. GUI thread only.
extern std::string g_SchFolders;  ///< paths with "/" at the end, ";" between them, UTF-8
extern tagPathList* g_pPLstHead_1;
extern tagPathList* g_pPLstCurr_1;

/// The dialog in which the user ticks the folders of a scheduled scan.
///
/// The result is the deepest ticked folders that have been read, in the order of the tree: unlike
/// that of dlgScDir, where a ticked folder stands for all below it. A folder is left out, and named
/// to the user, when its path is longer than 255 bytes, is no UTF-8 or holds the ";" that divides
/// the paths.
class dlgDir : public FolderPicker {
    Q_OBJECT

public:
    /// `listing` tells which folder "/" stands for; results are paths below that "/".
    explicit dlgDir(QWidget* parent = nullptr, FolderListing listing = FolderListing());

public slots:
    void GetPathsToScan(QTreeWidgetItem* item) override;
    void languageChange() override;

protected:
    [[nodiscard]] bool HasResult() const override;
    [[nodiscard]] QString LeftOutText() const override;

private:
    void Take(const std::string& path);
    void SetTexts();
};
