#pragma once

#include <functional>
#include <memory>

#include <QList>
#include <QUrl>
#include <QWidget>

class OverviewPanel;
class dlgScnPrgrs;

namespace Ui {
class ScanPage;
}

/// The first page: scans folders or one file on demand. The window waits while a scan runs.
class ScanPage : public QWidget {
    Q_OBJECT

public:
    explicit ScanPage(QWidget* parent = nullptr);
    ~ScanPage() override;

    /// Lets the user tick folders and scans them.
    void ScanFolders();

    /// Lets the user choose one file and scans it. A name that cannot be handed to the scan as it
    /// stands is refused with a message: a changed name would be another file.
    void ScanFile();

    /// Scans the user's home folder.
    void ScanHome();

    /// Scans what this computer holds, without the file systems of networks and of the kernel.
    void ScanComputer();

    /// Scans files and folders, as they are dropped on the window. What cannot be scanned by its
    /// name is told, and the rest is scanned.
    void ScanDropped(const QList<QUrl>& places);

    [[nodiscard]] OverviewPanel* Overview() const;

signals:
    void FoldersClicked();
    void FileClicked();

protected:
    void changeEvent(QEvent* event) override;

private:
    void TellLeftOut(const QStringList& places);
    static QString TooLong(const QString& path);
    /// Scans g_pPLstHead and frees it. The dialog is handed to `prepare` before the scan.
    void ScanPathList(const std::function<void(dlgScnPrgrs&)>& prepare = {});

    std::unique_ptr<Ui::ScanPage> m_ui;
};
