#include "widgets/state_chk_lst_view.h"

#include <QTreeWidget>

#include "widgets/display_name.h"

StateChkLstView::StateChkLstView(std::string name)
    : QTreeWidgetItem(UserType), m_name(std::move(name)) {
    setText(0, DisplayName(m_name));
    setFlags(Qt::ItemIsEnabled | Qt::ItemIsUserCheckable);
    SetTicked(false);
}

bool StateChkLstView::GetStatePopulated() const {
    return m_populated;
}

void StateChkLstView::SetStatePopulated(bool populated) {
    m_populated = populated;
}

StateChkLstView* StateChkLstView::ChildNamed(std::string_view name) const {
    for (int i = 0; i < childCount(); ++i) {
        if (Child(i)->Name() == name) {
            return Child(i);
        }
    }
    return nullptr;
}

std::vector<StateChkLstView*> WithLaterSiblings(QTreeWidgetItem* item) {
    std::vector<StateChkLstView*> siblings;
    if (item == nullptr) {
        return siblings;
    }
    const QTreeWidgetItem* parent =
        item->parent() != nullptr ? item->parent() : item->treeWidget()->invisibleRootItem();
    const int count = parent->childCount();
    for (int i = parent->indexOfChild(item); i < count; ++i) {
        siblings.push_back(static_cast<StateChkLstView*>(parent->child(i)));
    }
    return siblings;
}
