#include "widgets/dlg_sc_dir.h"

#include "common/path_list.h"
#include "widgets/state_chk_lst_view.h"

dlgScDir::dlgScDir(QWidget* parent, FolderListing listing)
    : FolderPicker(parent, std::move(listing)) {
    setObjectName(QStringLiteral("dlgScDir"));
}

void dlgScDir::GetPathsToScan(QTreeWidgetItem* item) {
    for (const StateChkLstView* folder : WithLaterSiblings(item)) {
        if (!folder->IsTicked()) {
            GetPathsToScan(folder->Child(0));
            continue;
        }
        // A ticked folder covers everything under it.
        const std::string path = fullPath(folder);
        if (!common::AppendPath(g_pPLstHead, g_pPLstCurr, path.c_str())) {
            LeaveOut(path);
        }
    }
}

bool dlgScDir::HasResult() const {
    return g_pPLstHead != nullptr;
}
