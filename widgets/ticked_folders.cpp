#include "widgets/ticked_folders.h"

#include <QCoreApplication>

#include "widgets/state_chk_lst_view.h"

namespace {

struct Ticked {
    int all = 0;
    int outOfSight = 0;  // those of them inside closed folders
};

QString Tr(const char* text) {
    return QCoreApplication::translate("FolderPicker", text);
}

QString NoteOf(int tickedInside) {
    return tickedInside == 0
               ? QString()
               : Tr(QT_TRANSLATE_NOOP("FolderPicker", "%1 ticked inside")).arg(tickedInside);
}

void SetNote(StateChkLstView* folder, const QString& note) {
    if (folder->data(0, kTickedInsideRole).toString() != note) {
        folder->setData(0, kTickedInsideRole, note);
        folder->setData(0, Qt::AccessibleDescriptionRole, note);
    }
}

Ticked NoteAt(StateChkLstView* folder) {
    Ticked inside;
    for (int i = 0; i < folder->childCount(); ++i) {
        const Ticked child = NoteAt(folder->Child(i));
        inside.all += child.all;
        inside.outOfSight += child.outOfSight;
    }
    if (!folder->isExpanded()) {
        inside.outOfSight = inside.all;
    }
    const bool hides = !folder->IsTicked() && !folder->isExpanded();
    SetNote(folder, NoteOf(hides ? inside.all : 0));
    return folder->IsTicked() ? Ticked{.all = 1} : inside;
}

}  // namespace

QString NoteTickedFolders(StateChkLstView* root) {
    const Ticked ticked = NoteAt(root);
    QString line;
    if (ticked.all == 0) {
        line = Tr(QT_TRANSLATE_NOOP("FolderPicker", "No folder is ticked."));
    } else if (ticked.all == 1) {
        line = Tr(QT_TRANSLATE_NOOP("FolderPicker", "1 folder is ticked."));
    } else {
        line = Tr(QT_TRANSLATE_NOOP("FolderPicker", "%1 folders are ticked.")).arg(ticked.all);
    }
    if (ticked.outOfSight > 0) {
        line += u' ' + Tr(QT_TRANSLATE_NOOP("FolderPicker", "%1 inside closed folders."))
                           .arg(ticked.outOfSight);
    }
    return line;
}
