#pragma once

#include <memory>

#include <QWidget>

#include "common/scan_settings.h"

namespace Ui {
class SettingsPage;
}

/// The scanner settings: which kinds of file to look into and what to do with an infected one.
/// Nothing reaches the file or the engine before Save().
class SettingsPage : public QWidget {
    Q_OBJECT

public:
    explicit SettingsPage(QWidget* parent = nullptr);
    ~SettingsPage() override;

    /// Shows a record as it was loaded. An action that the list does not have leaves the list as it
    /// was; boxes are ticked, never cleared, because the page starts with none ticked.
    void ShowAtStart(const tagSCNOPTS& options);

    /// Writes the page to the file, g_scnopts and the engine.
    void Save();

    /// Shows what the file holds again.
    void Reload();

    /// Something was changed: it can be saved or dropped now.
    void NoteChange();

    /// True while something is neither saved nor dropped.
    [[nodiscard]] bool HasChanges() const;

signals:
    void ArchivesToggled();
    void AdwareToggled();
    void DumbToggled();
    void PackedToggled();
    void ActionChanged();
    void SaveClicked();
    void CancelClicked();

protected:
    void changeEvent(QEvent* event) override;

private:
    void ShowRecord(const tagSCNOPTS& options);
    [[nodiscard]] tagSCNOPTS RecordOfPage() const;
    void NoteSettled();

    std::unique_ptr<Ui::SettingsPage> m_ui;
};
