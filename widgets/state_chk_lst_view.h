#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <QTreeWidgetItem>

/// A folder in the folder tree: a check box that is on or off, never in between, and cannot be
/// selected. Shows the folder's own name and keeps its bytes beside it, because a name that is not
/// UTF-8 cannot be had back from the text shown.
class StateChkLstView : public QTreeWidgetItem {
public:
    /// `name`: the folder's own name, byte for byte. The item starts unticked and not populated.
    explicit StateChkLstView(std::string name);

    /// Whether the folder's sub-folders have been read into the tree.
    virtual bool GetStatePopulated() const;
    virtual void SetStatePopulated(bool populated);

    [[nodiscard]] const std::string& Name() const { return m_name; }

    [[nodiscard]] bool IsTicked() const { return checkState(0) == Qt::Checked; }
    void SetTicked(bool ticked) { setCheckState(0, ticked ? Qt::Checked : Qt::Unchecked); }

    /// Shows or hides the expand mark; without it the user cannot open the item.
    void SetExpandable(bool expandable) {
        setChildIndicatorPolicy(expandable ? ShowIndicator : DontShowIndicator);
    }

    [[nodiscard]] bool IsExpandable() const { return childIndicatorPolicy() == ShowIndicator; }

    // The tree of a folder picker holds nothing but these items.
    [[nodiscard]] StateChkLstView* Parent() const {
        return static_cast<StateChkLstView*>(QTreeWidgetItem::parent());
    }
    [[nodiscard]] StateChkLstView* Child(int index) const {
        return static_cast<StateChkLstView*>(child(index));
    }

    /// The sub-folder of this name in the tree, null when there is none.
    [[nodiscard]] StateChkLstView* ChildNamed(std::string_view name) const;

private:
    std::string m_name;
    bool m_populated = false;
};

/// `item` and the siblings after it, in the order of the tree; nothing for a null item.
std::vector<StateChkLstView*> WithLaterSiblings(QTreeWidgetItem* item);
