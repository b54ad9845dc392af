#pragma once

#include <memory>

#include <QDialog>

#include "scan/run/unread_files.h"

namespace Ui {
class UnreadFilesDialog;
}

/// Lists the files that a scan has not read, each with the reason. GUI thread only.
class UnreadFilesDialog : public QDialog {
    Q_OBJECT

public:
    explicit UnreadFilesDialog(const scan::UnreadFiles& files, QWidget* parent = nullptr);
    ~UnreadFilesDialog() override;

private:
    void Explain(const scan::UnreadFiles& files);
    void Fill(const scan::UnreadFiles& files);
    void CopyAll() const;

    std::unique_ptr<Ui::UnreadFilesDialog> m_ui;
};
