#include "help/dlg_help.h"

#include <utility>

#include <QCloseEvent>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QPrintDialog>
#include <QPrinter>
#include <QStyle>
#include <QUrl>

#include "ui_dlg_help.h"

#include "common/paths.h"
#include "help/files/page_list.h"
#include "help/page_menu.h"
#include "help/page_printer.h"
#include "widgets/display_name.h"
#include "widgets/messages.h"
#include "widgets/name_label.h"

namespace {

constexpr int kMostVisited = 20;
constexpr int kMostBookmarks = 1000;  // more than fit a menu: no file makes it endless
constexpr qsizetype kLongestCaption = 200;

std::string BookmarksPath() {
    return common::InProgramDirectory(".bookmarks");
}

void Fill(PageMenu& menu, const help::PageList& pages, qsizetype most) {
    const auto size = static_cast<qsizetype>(pages.size());
    for (qsizetype i = size > most ? size - most : 0; i < size; ++i) {
        menu.Add(QString::fromStdU16String(pages[static_cast<std::size_t>(i)]));
    }
}

QString ShownPath(const QString& path) {
    return DisplayName(QFile::encodeName(path).toStdString());
}

// What is typed or linked as another program would take it, not a path. The address of a file is a
// path written differently.
bool IsForeignAddress(const QString& text) {
    const QUrl url(text);
    return url.isValid() && url.scheme().size() > 1 && !IsOfThisMachine(url);
}

/// Keeps a viewer while it asks its user something: it can be closed meanwhile, as when the program
/// quits, and goes away only when nothing of it runs any more.
class Asking {
public:
    explicit Asking(dlgHelp& viewer) : m_viewer(viewer), m_wasShown(!viewer.isHidden()) {
        m_viewer.setAttribute(Qt::WA_DeleteOnClose, false);
    }
    ~Asking() {
        m_viewer.setAttribute(Qt::WA_DeleteOnClose);
        if (m_wasShown && m_viewer.isHidden()) {
            m_viewer.deleteLater();
        }
    }
    Asking(const Asking&) = delete;
    Asking& operator=(const Asking&) = delete;
    Asking(Asking&&) = delete;
    Asking& operator=(Asking&&) = delete;

private:
    dlgHelp& m_viewer;
    bool m_wasShown;
};

}  // namespace

dlgHelp::dlgHelp(const QString& home, QWidget* parent, const char* name)
    : dlgHelp(home, QString(), parent, name) {}

dlgHelp::dlgHelp(const QString& home, const QString& caption, QWidget* parent, const char* name)
    : QMainWindow(parent, Qt::Window),
      m_ui(std::make_unique<Ui::dlgHelp>()),
      m_home(home),
      m_caption(caption) {
    m_ui->setupUi(this);
    if (name != nullptr) {
        setObjectName(QString::fromUtf8(name));
    }
    setAttribute(Qt::WA_DeleteOnClose);
    setAttribute(Qt::WA_QuitOnClose, false);  // the program ends with its main window
    m_history = new PageMenu(m_ui->menuHistory, kMostVisited, this);
    m_bookmarks = new PageMenu(m_ui->menuBookmarks, kMostBookmarks, this);
    SetIcons();
    ConnectActions();
    ConnectBrowser();
    readHistory();
    readBookmarks();
    ShowCaption();
    DisplayHelp(m_home);
    m_ui->browser->setFocus();
}

dlgHelp::~dlgHelp() = default;

void dlgHelp::SetIcons() {
    const std::pair<QAction*, QStyle::StandardPixmap> icons[] = {
        {m_ui->actBack, QStyle::SP_ArrowBack},
        {m_ui->actForward, QStyle::SP_ArrowForward},
        {m_ui->actHome, QStyle::SP_DirHomeIcon},
        {m_ui->actOpen, QStyle::SP_DialogOpenButton},
    };
    for (const auto& [action, icon] : icons) {
        action->setIcon(style()->standardIcon(icon, nullptr, this));
    }
}

void dlgHelp::ConnectActions() {
    const auto connectTo = [this](QAction* action, void (dlgHelp::*slot)()) {
        connect(action, &QAction::triggered, this, slot);
    };
    connectTo(m_ui->actNewWindow, &dlgHelp::newWindow);
    connectTo(m_ui->actOpen, &dlgHelp::openFile);
    connectTo(m_ui->actPrint, &dlgHelp::print);
    connectTo(m_ui->actAddBookmark, &dlgHelp::addBookmark);
    connectTo(m_ui->actAbout, &dlgHelp::about);
    connect(m_ui->actClose, &QAction::triggered, this, &dlgHelp::close);
    connect(m_ui->actBack, &QAction::triggered, m_ui->browser, &QTextBrowser::backward);
    connect(m_ui->actForward, &QAction::triggered, m_ui->browser, &QTextBrowser::forward);
    connect(m_ui->actHome, &QAction::triggered, this, [this] { DisplayHelp(m_home); });
    connect(m_history, &PageMenu::Chosen, this, &dlgHelp::histChosen);
    connect(m_bookmarks, &PageMenu::Chosen, this, &dlgHelp::bookmChosen);
    connect(m_ui->edtPath, &QLineEdit::returnPressed, this,
            [this] { pathSelected(m_ui->edtPath->text()); });
}

void dlgHelp::ConnectBrowser() {
    connect(m_ui->browser, &QTextBrowser::sourceChanged, this, &dlgHelp::sourceChanged);
    connect(m_ui->browser, &QTextBrowser::forwardAvailable, this, &dlgHelp::setForwardAvailable);
    connect(m_ui->browser, &QTextBrowser::backwardAvailable, this, &dlgHelp::setBackwardAvailable);
    connect(m_ui->browser, &QTextBrowser::highlighted, this,
            [this](const QUrl& link) { checkForUrl(link.toString()); });
    connect(m_ui->browser, &HelpBrowser::LinkRefused, this, &dlgHelp::SayRefused);
    // A narrow window shows only the beginning.
    connect(m_ui->statusBar, &QStatusBar::messageChanged, this,
            [this](const QString& text) { m_ui->statusBar->setToolTip(PlainToolTip(text)); });
}

// ---- Pages

void dlgHelp::DisplayHelp(const QString& path) {
    if (!path.isEmpty()) {
        m_ui->browser->Open(QFileInfo(path).absoluteFilePath());
    }
}

void dlgHelp::pathSelected(const QString& path) {
    checkForUrl(path);
    if (!IsForeignAddress(path)) {
        const QUrl url(path);
        DisplayHelp(IsOfThisMachine(url) ? url.toLocalFile() : path);
        m_ui->browser->setFocus();
    }
}

void dlgHelp::checkForUrl(const QString& text) {
    if (!IsForeignAddress(text)) {
        m_ui->statusBar->clearMessage();
        return;
    }
    m_ui->statusBar->showMessage(
        tr("%1 is not opened in here. Copy the address and open it in your browser.")
            .arg(DisplayName(text.toStdString())));
}

void dlgHelp::SayRefused(const QUrl& link) {
    if (IsForeignAddress(link.toString())) {
        checkForUrl(link.toString());
        return;
    }
    m_ui->statusBar->showMessage(tr("%1 lies outside the folder of this page. Open it with Ctrl+O.")
                                     .arg(ShownPath(link.toLocalFile())));
}

void dlgHelp::setForwardAvailable(bool available) {
    m_ui->actForward->setEnabled(available);
}

void dlgHelp::setBackwardAvailable(bool available) {
    m_ui->actBack->setEnabled(available);
}

QString dlgHelp::CurrentPath() const {
    return m_ui->browser->source().toLocalFile();
}

void dlgHelp::sourceChanged(const QUrl& source) {
    ShowCaption();
    const QString path = source.toLocalFile();
    m_ui->edtPath->setText(path);
    m_ui->statusBar->clearMessage();
    m_history->Remove(path);
    m_history->Add(path);
}

void dlgHelp::ShowCaption() {
    const QString title = m_ui->browser->documentTitle().simplified().left(kLongestCaption);
    const QString caption = m_caption.isEmpty() ? tr("Corvane Main help viewer") : m_caption;
    setWindowTitle(title.isEmpty() ? caption : title);
}

void dlgHelp::openFile() {
    const Asking asking(*this);
    const QString file =
        QFileDialog::getOpenFileName(this, tr("Open page"), QFileInfo(CurrentPath()).path(),
                                     tr("Pages (*.htm *.html)") + ";;" + tr("All Files (*)"));
    DisplayHelp(file);
}

void dlgHelp::newWindow() {
    auto* viewer = new dlgHelp(m_home, m_caption);  // it deletes itself
    for (const QString& path : m_bookmarks->Pages()) {
        viewer->TakeBookmark(path);
    }
    connect(this, &dlgHelp::BookmarkAdded, viewer, &dlgHelp::TakeBookmark);
    connect(viewer, &dlgHelp::BookmarkAdded, this, &dlgHelp::TakeBookmark);
    viewer->DisplayHelp(CurrentPath());
    viewer->show();
}

// ---- Visited pages and bookmarks

void dlgHelp::readHistory() {
    const std::string path = QFile::encodeName(QDir::currentPath()).toStdString() + "/.history";
    Fill(*m_history, help::LoadPageList(path.c_str(), common::Links::kNone), kMostVisited);
}

void dlgHelp::readBookmarks() {
    Fill(*m_bookmarks, help::LoadPageList(BookmarksPath().c_str(), common::Links::kOnlyOfRoot),
         kMostBookmarks);
}

void dlgHelp::addBookmark() {
    const QString path = CurrentPath();
    if (m_bookmarks->Pages().contains(path)) {
        m_ui->statusBar->showMessage(tr("This page is among the bookmarks already."));
        return;
    }
    TakeBookmark(path);
    m_ui->statusBar->showMessage(
        SaveBookmarks()
            ? tr("The page is among the bookmarks now.")
            : tr("The bookmark goes away with this window: the file of bookmarks cannot be "
                 "written."));
}

void dlgHelp::TakeBookmark(const QString& path) {
    if (!m_bookmarks->Pages().contains(path)) {
        m_bookmarks->Add(path);
        emit BookmarkAdded(path);
    }
}

bool dlgHelp::SaveBookmarks() const {
    help::PageList pages;
    const QStringList paths = m_bookmarks->Pages();
    pages.reserve(static_cast<std::size_t>(paths.size()));
    for (const QString& path : paths) {
        pages.push_back(path.toStdU16String());
    }
    return help::SavePageList(BookmarksPath().c_str(), pages);
}

void dlgHelp::bookmChosen(int id) {
    DisplayHelp(m_bookmarks->PathOf(id));
}

void dlgHelp::histChosen(int id) {
    DisplayHelp(m_history->PathOf(id));
}

// What cannot be kept was said when the bookmark was made.
void dlgHelp::closeEvent(QCloseEvent* event) {
    (void)SaveBookmarks();
    QMainWindow::closeEvent(event);
}

// ---- Printing and the rest

void dlgHelp::print() {
    const Asking asking(*this);
    QPrinter printer(QPrinter::HighResolution);
    printer.setFullPage(true);
    QPrintDialog dialog(&printer, this);
    if (dialog.exec() == QDialog::Accepted && !PrintPage(printer, *m_ui->browser)) {
        ShowCritical(this, "Corvane",
                     tr("Unable to print the page.\nCheck the printer, or the room for the file "
                        "that is printed to."));
    }
}

void dlgHelp::about() {
    const Asking asking(*this);
    ShowInformation(this, tr("About the help viewer"),
                    tr("The help viewer of Corvane Endpoint Protection.\n\nIt shows pages of this "
                       "machine and loads nothing from the network."));
}

void dlgHelp::changeEvent(QEvent* event) {
    if (event->type() == QEvent::LanguageChange) {
        m_ui->retranslateUi(this);
        ShowCaption();
    }
    QMainWindow::changeEvent(event);
}
