#pragma once

#include <memory>

#include <QWidget>

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

signals:
    void FoldersClicked();
    void FileClicked();

protected:
    void changeEvent(QEvent* event) override;

private:
    void ScanPathList();

    std::unique_ptr<Ui::ScanPage> m_ui;
};
