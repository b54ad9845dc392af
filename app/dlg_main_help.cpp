// The main window's help viewers.

#include <QApplication>
#include <QStackedWidget>

#include "ui_dlg_main.h"

#include "app/dlg_main.h"
#include "help/dlg_help.h"
#include "help/manual.h"

dlgHelp& dlgMain::Viewer() {
    if (m_viewer == nullptr) {
        m_viewer = new dlgHelp(ManualHome(), tr("Corvane Main help viewer"));
    }
    return *m_viewer;
}

void dlgMain::ShowViewer() {
    dlgHelp& viewer = Viewer();
    viewer.setWindowState(viewer.windowState() & ~Qt::WindowMinimized);
    viewer.show();
    viewer.raise();
    viewer.activateWindow();
}

// The others were opened from the first one. Nobody could start the program again while one of them
// kept it alive.
void dlgMain::CloseViewers() {
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (auto* viewer = qobject_cast<dlgHelp*>(window)) {
            viewer->close();  // and with that it goes away
        }
    }
}

void dlgMain::OnHelpClick() {
    ShowViewer();
}

void dlgMain::ExplainPage() {
    const char* page = "home.htm";
    switch (m_ui->pages->currentIndex()) {
        case kScanPage:
            page = "scanning.htm";
            break;
        case kSettingsPage:
            page = "settings.htm";
            break;
        case kReportsPage:
            page = "reports.htm";
            break;
        case kUpdatePage:
            page = "updates.htm";
            break;
        case kAboutPage:
            page = "about.htm";
            break;
        case kSchedulePage:
            page = "schedules.htm";
            break;
        default:
            break;
    }
    Viewer().DisplayHelp(ManualPage(page));
    ShowViewer();
}
