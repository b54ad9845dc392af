#include "widgets/dlg_dir.h"

#include <QPushButton>

#include "common/path_list.h"
#include "common/utf8.h"
#include "widgets/state_chk_lst_view.h"

std::string g_SchFolders;
tagPathList* g_pPLstHead_1 = nullptr;
tagPathList* g_pPLstCurr_1 = nullptr;

namespace {

constexpr char kDivider = ';';

}  // namespace

dlgDir::dlgDir(QWidget* parent, FolderListing listing) : FolderPicker(parent, std::move(listing)) {
    setObjectName(QStringLiteral("dlgDir"));
    SetTexts();
}

void dlgDir::GetPathsToScan(QTreeWidgetItem* item) {
    for (StateChkLstView* folder : WithLaterSiblings(item)) {
        StateChkLstView* firstChild = folder->Child(0);
        if (folder->IsTicked() && firstChild == nullptr) {
            Take(GetFullPath(folder));
        } else if (!folder->IsTicked() || firstChild->IsTicked()) {
            GetPathsToScan(firstChild);
        }
    }
}

void dlgDir::Take(const std::string& path) {
    const bool isKeepable = path.find(kDivider) == std::string::npos && common::IsUtf8(path);
    if (!isKeepable || !common::AppendPath(g_pPLstHead_1, g_pPLstCurr_1, path.c_str())) {
        LeaveOut(path);
        return;
    }
    if (!g_SchFolders.empty()) {
        g_SchFolders += kDivider;
    }
    g_SchFolders += path;
}

bool dlgDir::HasResult() const {
    return g_pPLstHead_1 != nullptr;
}

QString dlgDir::LeftOutText() const {
    return tr(
        "These folders cannot be scanned at a scheduled time because their paths are longer than "
        "255 bytes, contain a semicolon or are not valid UTF-8. They are left out:");
}

void dlgDir::languageChange() {
    FolderPicker::languageChange();
    SetTexts();
}

void dlgDir::SetTexts() {
    ScanButton()->setText(tr("&Add"));
    ScanButton()->setToolTip(tr("Add the ticked folders (Alt+A)"));
    ScanButton()->setAccessibleName(tr("Add the ticked folders"));
}
