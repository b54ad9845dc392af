#pragma once

#include <memory>
#include <span>

#include <QWidget>

#include "update/files/update_options.h"

class QLineEdit;

namespace Ui {
class UpdatePage;
}

/// Where updates come from, whether they run by themselves and what is kept of them; and how
/// current the definitions are. Nothing reaches the file before Apply(). GUI thread only.
class UpdatePage : public QWidget {
    Q_OBJECT

public:
    explicit UpdatePage(QWidget* parent = nullptr);
    ~UpdatePage() override;

    /// Shows a record; nothing is unapplied then.
    void ShowRecord(const tagUpdtOpts& options);

    /// Shows what "zqupdate.opt" holds, which is made when it is missing.
    void Reload();

    /// Writes the page to the file, starts or stops the automatic updates and tells other programs.
    /// False when something was refused or failed, which the user has seen, and when no library
    /// tells other programs, although all else is done.
    bool Apply();

    /// Something was changed: it can be applied or dropped now.
    void NoteChange();

    /// True while something is neither applied nor dropped.
    [[nodiscard]] bool HasChanges() const;

    /// The updates come from the Internet centre or the server, or else from a path: enables what
    /// belongs to that.
    void TakeCentre(bool isCentre);

    /// A backup is to be kept or not: enables what belongs to that.
    void TakeBackup(bool isKept);

    /// Lets the user choose a folder.
    void ChoosePath();
    void ChooseBackupFolder();

    void OpenInternetSettings();

    /// Says anew how current the definitions are and how the last update ended. The page does so by
    /// itself each time it is shown.
    void RefreshStatus();

signals:
    void AutomaticToggled(bool on);
    void BackupToggled(bool on);
    void CentreToggled(bool isCentre);
    void SourceChanged();
    void TextChanged();
    void PathClicked();
    void BackupFolderClicked();
    void InternetSettingsClicked();
    void UpdateNowClicked();
    void CancelClicked();
    void ApplyClicked();

protected:
    void changeEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    struct FolderTexts {
        QString empty;
        QString invalid;
    };
    bool TakeFolder(const QLineEdit& line, std::string_view shown, std::span<char> field,
                    const FolderTexts& texts);
    bool TakeRecord(tagUpdtOpts& options);
    void ChooseFolder(QLineEdit& line);
    void NoteSettled();

    std::unique_ptr<Ui::UpdatePage> m_ui;
    tagUpdtOpts m_shown{};
};
