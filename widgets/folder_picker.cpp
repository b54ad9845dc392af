#include "widgets/folder_picker.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include <QApplication>
#include <QDir>
#include <QEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMessageBox>
#include <QSignalBlocker>
#include <QTreeWidget>

#include "ui_folder_picker.h"

#include "widgets/display_name.h"
#include "widgets/folder_item_delegate.h"
#include "widgets/messages.h"
#include "widgets/state_chk_lst_view.h"
#include "widgets/ticked_folders.h"
#include "widgets/whats_this_key.h"

QIcon folderClosed;
QIcon folderOpen;
QIcon folderLocked;

namespace {

constexpr int kNamesInMessage = 5;
constexpr int kNameWidthInMessage = 72;

class WaitCursor {
public:
    WaitCursor() { QApplication::setOverrideCursor(Qt::WaitCursor); }
    ~WaitCursor() { QApplication::restoreOverrideCursor(); }
    WaitCursor(const WaitCursor&) = delete;
    WaitCursor& operator=(const WaitCursor&) = delete;
    WaitCursor(WaitCursor&&) = delete;
    WaitCursor& operator=(WaitCursor&&) = delete;
};

void MakePictures() {
    if (!folderClosed.isNull()) {
        return;
    }
    folderClosed = QIcon(QStringLiteral(":/images/folderClosed.bmp"));
    folderOpen = QIcon(QStringLiteral(":/images/folderOpen.bmp"));
    folderLocked = QIcon(QStringLiteral(":/images/folderLocked.bmp"));
    // Pictures must be gone before the application object is.
    qAddPostRoutine([] { folderClosed = folderOpen = folderLocked = QIcon(); });
}

StateChkLstView* AsFolder(QTreeWidgetItem* item) {
    return static_cast<StateChkLstView*>(item);
}
const StateChkLstView* AsFolder(const QTreeWidgetItem* item) {
    return static_cast<const StateChkLstView*>(item);
}

void ShowAsLocked(StateChkLstView* item) {
    item->setIcon(0, folderLocked);
    item->SetExpandable(false);
}

/// The user's home without links on the way, for the tree shows none. As it is called when it is
/// not there.
std::filesystem::path HomeFolder() {
    const std::filesystem::path home(qgetenv("HOME").toStdString());
    std::error_code error;
    const std::filesystem::path real = std::filesystem::canonical(home, error);
    return error ? home : real;
}

}  // namespace

FolderPicker::FolderPicker(QWidget* parent, FolderListing listing)
    : QDialog(parent), m_ui(std::make_unique<Ui::FolderPicker>()), m_listing(std::move(listing)) {
    m_ui->setupUi(this);
    ExplainOnF1(*this);
    QTreeWidget* tree = m_ui->folderTree;
    tree->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    tree->setItemDelegate(new FolderItemDelegate(tree));
    tree->installEventFilter(this);
    connect(tree, &QTreeWidget::itemChanged, this, &FolderPicker::OnUserTicked);
    connect(tree, &QTreeWidget::itemPressed, this, [this] { m_tickedByThisClick = nullptr; });
    connect(tree, &QTreeWidget::itemClicked, this, &FolderPicker::OnUserClicked);
    connect(tree, &QTreeWidget::itemExpanded, this, &FolderPicker::OnListItemExpanded);
    connect(tree, &QTreeWidget::itemCollapsed, this, &FolderPicker::OnListItemCollapsed);
    connect(m_ui->btnFldScn, &QPushButton::clicked, this, &FolderPicker::OnFldScnClick);
    connect(m_ui->btnFldCncl, &QPushButton::clicked, this, &FolderPicker::OnFldCnclClick);
    FolderPicker::init();
}

FolderPicker::~FolderPicker() = default;

void FolderPicker::init() {
    MakePictures();
    QTreeWidget* tree = m_ui->folderTree;
    for (const QFileInfo& drive : QDir::drives()) {
        auto* root = new StateChkLstView(drive.filePath().toStdString());
        tree->addTopLevelItem(root);
        Populate(root);
        if (root->IsExpandable()) {
            tree->expandItem(root);
        }
    }
    BeginAt(HomeFolder());
    TellWhatIsTicked();
}

// Nothing is read on the way: to open "/home" would look into the homes of all users, which may
// have to come over the network first.
void FolderPicker::BeginAt(const std::filesystem::path& path) {
    StateChkLstView* folder = AsFolder(m_ui->folderTree->topLevelItem(0));
    for (const std::filesystem::path& name : path.relative_path()) {
        StateChkLstView* child = folder->ChildNamed(name.string());
        if (child == nullptr) {
            break;
        }
        folder = child;
    }
    m_ui->folderTree->setCurrentItem(folder);
}

void FolderPicker::TellWhatIsTicked() {
    const QSignalBlocker notTheUser(m_ui->folderTree);
    m_ui->tickedLabel->setText(NoteTickedFolders(AsFolder(m_ui->folderTree->topLevelItem(0))));
}

void FolderPicker::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    QTreeWidget* tree = m_ui->folderTree;
    tree->scrollToItem(tree->currentItem(), QAbstractItemView::PositionAtCenter);
}

void FolderPicker::languageChange() {
    m_ui->retranslateUi(this);
    TellWhatIsTicked();
}

void FolderPicker::changeEvent(QEvent* event) {
    if (event->type() == QEvent::LanguageChange) {
        languageChange();
    }
    QDialog::changeEvent(event);
}

bool FolderPicker::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_ui->folderTree && event->type() == QEvent::KeyPress &&
        static_cast<QKeyEvent*>(event)->key() == Qt::Key_Asterisk) {
        // The tree's own answer is to open everything below, which would read the whole file
        // system.
        QTreeWidgetItem* current = m_ui->folderTree->currentItem();
        if (current != nullptr && AsFolder(current)->IsExpandable()) {
            m_ui->folderTree->expandItem(current);
        }
        return true;
    }
    return QDialog::eventFilter(watched, event);
}

std::string FolderPicker::GetFullPath(const QTreeWidgetItem* item) const {
    const StateChkLstView* folder = AsFolder(item);
    const StateChkLstView* parent = folder->Parent();
    return parent == nullptr ? folder->Name() : GetFullPath(parent) + folder->Name() + '/';
}

std::string FolderPicker::fullPath(const QTreeWidgetItem* item) const {
    std::string path = GetFullPath(item);
    if (AsFolder(item)->Parent() != nullptr) {
        path.pop_back();
    }
    return path;
}

// Everything is set up before it goes into the tree, and goes in at once: with ten thousand
// sub-folders the view would otherwise work once for each of them.
void FolderPicker::Populate(StateChkLstView* item) {
    const QSignalBlocker notTheUser(m_ui->folderTree);
    const SubfolderList list = m_listing.ListSubfolders(GetFullPath(item));
    if (!list.hasEntries) {
        ShowAsLocked(item);
        return;
    }
    QList<QTreeWidgetItem*> children;
    children.reserve(static_cast<qsizetype>(list.subfolders.size()));
    for (const Subfolder& subfolder : list.subfolders) {
        auto* child = new StateChkLstView(subfolder.name);
        child->SetTicked(item->IsTicked());
        if (subfolder.hasSubfolders) {
            child->setIcon(0, folderClosed);
            child->SetExpandable(true);
        } else {
            ShowAsLocked(child);
        }
        children.append(child);
    }
    item->addChildren(children);
    if (children.isEmpty()) {
        ShowAsLocked(item);
    } else {
        item->setIcon(0, folderOpen);
        item->SetExpandable(true);
    }
    item->SetStatePopulated(true);
}

void FolderPicker::OnListItemExpanded(QTreeWidgetItem* item) {
    const WaitCursor waiting;
    const QSignalBlocker notTheUser(m_ui->folderTree);
    StateChkLstView* folder = AsFolder(item);
    folder->setIcon(0, folderOpen);
    if (!folder->GetStatePopulated()) {
        Populate(folder);
    }
    if (!folder->IsExpandable()) {
        // Nothing to show after all: what the user cannot open must not count as open either.
        m_ui->folderTree->collapseItem(folder);
    }
    TellWhatIsTicked();
}

void FolderPicker::OnListItemCollapsed(QTreeWidgetItem* item) {
    const QSignalBlocker notTheUser(m_ui->folderTree);
    item->setIcon(0, folderClosed);
    TellWhatIsTicked();
}

// A change that the dialog did not make itself is the user's, by mouse, keyboard or a screen
// reader.
void FolderPicker::OnUserTicked(QTreeWidgetItem* item) {
    m_tickedByThisClick = item;
    m_ui->folderTree->setCurrentItem(item);
    OnListClick(item);
}

// A click on the check box has been dealt with when the box changed; one beside it has not.
void FolderPicker::OnUserClicked(QTreeWidgetItem* item) {
    if (std::exchange(m_tickedByThisClick, nullptr) != item) {
        OnListClick(item);
    }
}

void FolderPicker::OnListClick(QTreeWidgetItem* item) {
    const QSignalBlocker notTheUser(m_ui->folderTree);
    // Never disabled again: with nothing ticked the button answers with a message.
    if (AsFolder(item)->IsTicked()) {
        m_ui->btnFldScn->setEnabled(true);
    }
    CheckForChild(item);
    CheckForParent(item);
    TellWhatIsTicked();
}

void FolderPicker::CheckForChild(QTreeWidgetItem* item) {
    const StateChkLstView* folder = AsFolder(item);
    for (StateChkLstView* child : WithLaterSiblings(folder->Child(0))) {
        child->SetTicked(folder->IsTicked());
        CheckForChild(child);
    }
}

void FolderPicker::CheckForParent(QTreeWidgetItem* item) {
    for (const StateChkLstView* folder = AsFolder(item); folder->Parent() != nullptr;
         folder = folder->Parent()) {
        folder->Parent()->SetTicked(folder->IsTicked() && IsWhollyTicked(folder->Parent()));
    }
}

// A folder with files of its own is not covered by its sub-folders, however many are ticked: the
// result then names them instead of it.
bool FolderPicker::IsWhollyTicked(const StateChkLstView* folder) const {
    for (int i = 0; i < folder->childCount(); ++i) {
        if (!folder->Child(i)->IsTicked()) {
            return false;
        }
    }
    return !m_listing.HoldsFileOrLink(GetFullPath(folder));
}

void FolderPicker::LeaveOut(const std::string& path) {
    m_leftOut.push_back(path);
}

QString FolderPicker::LeftOutText() const {
    return tr(
        "These folders cannot be scanned because their paths are longer than 255 bytes. They are "
        "left out:");
}

QPushButton* FolderPicker::ScanButton() const {
    return m_ui->btnFldScn;
}

void FolderPicker::TellWhatWasLeftOut() {
    QStringList all;
    QStringList few;
    for (const std::string& path : m_leftOut) {
        all.append(DisplayName(path));
        if (few.size() < kNamesInMessage) {
            few.append(ShortDisplayPath(path.c_str(), kNameWidthInMessage));
        }
    }
    if (few.size() < all.size()) {
        few.append(QString(QChar(0x2026)));
    }
    QMessageBox box(QMessageBox::Warning, tr("Corvane Scan"),
                    LeftOutText() + QStringLiteral("\n\n") + few.join(u'\n'), QMessageBox::Ok,
                    this);
    box.setTextFormat(Qt::PlainText);
    box.setDetailedText(all.join(u'\n'));
    box.exec();
}

void FolderPicker::OnFldScnClick() {
    m_leftOut.clear();
    GetPathsToScan(m_ui->folderTree->topLevelItem(0));
    if (!m_leftOut.empty()) {
        TellWhatWasLeftOut();
    }
    if (!HasResult()) {
        ShowInformation(this, tr("Corvane Scan"), tr("Please select directory to scan."));
        return;
    }
    accept();
}

void FolderPicker::OnFldCnclClick() {
    reject();
}
