#pragma once

#include <memory>

#include <QDialog>

#include "kept/vault_command.h"

class QTreeWidgetItem;

namespace Ui {
class KeptCopiesDialog;
}

/// Lists the copies that were kept of deleted files, and lets the user look for one, bring it back
/// or delete it for good. `corvane-vault` does all of it. GUI thread only.
class KeptCopiesDialog : public QDialog {
    Q_OBJECT

public:
    explicit KeptCopiesDialog(QWidget* parent = nullptr,
                              const QString& program = VaultCommand::kProgram);
    ~KeptCopiesDialog() override;

    /// Lists them anew.
    void Refresh();

signals:
    /// What was asked for is done and shown.
    void Settled();

protected:
    void done(int result) override;

private:
    enum class Step { kNone, kList, kRestore, kRemove };

    void Take(const VaultCommand::Result& result);
    void Fill(const QByteArray& lines);
    void AddRow(const QByteArray& line, QList<QTreeWidgetItem*>& rows) const;
    void Filter();
    void EnableButtons();
    void Say(const QString& text);
    void SayHowMany();
    void RestoreSelected();
    void RemoveSelected();
    void Start(Step step, const QStringList& arguments);
    [[nodiscard]] QList<QTreeWidgetItem*> Selected() const;
    [[nodiscard]] QStringList SelectedItems() const;
    [[nodiscard]] QString Named() const;

    std::unique_ptr<Ui::KeptCopiesDialog> m_ui;
    VaultCommand m_command;
    Step m_step = Step::kNone;
};
