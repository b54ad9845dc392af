#pragma once

#include <memory>
#include <optional>
#include <string>

#include <QTimer>
#include <QWidget>

#include "abi/schdlscn.h"

class QTreeWidget;
class QTreeWidgetItem;
class SchedulerLibrary;

namespace Ui {
class SchedulePage;
}

/// Lists the scheduled scans of the user and lets him add, change and remove them. Where the
/// scheduler can tell, it shows when the selected one runs next and how it last went, and has it
/// run now. The library is loaded for each use, and unloaded afterwards. GUI thread only.
class SchedulePage : public QWidget {
    Q_OBJECT

public:
    explicit SchedulePage(QWidget* parent = nullptr);
    ~SchedulePage() override;

    [[nodiscard]] QTreeWidget* List() const;

    /// Lists the scans anew. Where they cannot be had the list stays as it was, and nothing in it
    /// can be changed.
    void Fill();

    /// Lets the user make a scan, and lists all anew.
    void MakeScan();

    /// Lets the user change the selected scan, and lists all anew when that was done.
    void ChangeSelected();

    /// Lets the user change the scan of a row, without listing anew.
    void ChangeRow(const QTreeWidgetItem* row);

    /// Removes the selected scan after a question.
    void RemoveSelected();

    /// Says anew how things stand with the selected scan and with the service.
    void RefreshState();

signals:
    void NewClicked();
    void EditClicked();
    void RemoveClicked();
    /// A double click on a row, or Return at it.
    void RowDoubleClicked(QTreeWidgetItem* row, int column);

protected:
    void changeEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    /// What the scheduler says of a scan, or without one of its service alone.
    struct News {
        bool isAsked = false;  ///< there is somebody to ask
        bool isKnown = false;  ///< `state` is the answer, else `error`
        tagSCHEDULE_TASK_STATE state{};
        unsigned int error = kScheduleOk;
    };

    [[nodiscard]] QTreeWidgetItem* SelectedRow() const;
    [[nodiscard]] QTreeWidgetItem* SelectedRowOrWarn();
    bool RunWizardFor(const QTreeWidgetItem* row);
    bool DeleteTask(SchedulerLibrary& library, const QTreeWidgetItem* row);
    /// False when the list stays as it was; the user knows why, or RefreshState() says it.
    bool ListTasks();
    void AddRow(const tagSCHEDULE_SCAN_ENTRY& entry);
    void DropRow(QTreeWidgetItem* row);
    void EnableChanging(bool on);
    void FitColumns();

    static QString FrequencyText(int frequency);

    static News AskForNews(const QTreeWidgetItem* row);
    void ShowState(const QTreeWidgetItem* row, const tagSCHEDULE_TASK_STATE& state);
    void SayNote(const QString& text);
    void RunSelectedNow();
    void ShowReport();

    std::unique_ptr<Ui::SchedulePage> m_ui;
    QTimer m_refresh;
    unsigned int m_readError = kScheduleOk;  // of the last Fill()
    std::string m_report;                    // of the last run of the selected scan
};
