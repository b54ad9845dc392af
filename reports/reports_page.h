#pragma once

#include <memory>

#include <QWidget>

#include "reports/files/report_files.h"

class QTreeWidget;
class QTreeWidgetItem;

namespace Ui {
class ReportsPage;
}

/// Lists the reports of one kind and lets the user open or delete them. What the list shows is what
/// an index is rewritten from. GUI thread only.
class ReportsPage : public QWidget {
    Q_OBJECT

public:
    explicit ReportsPage(QWidget* parent = nullptr);
    ~ReportsPage() override;

    /// The list of reports, whose keys the main window looks at.
    [[nodiscard]] QTreeWidget* List() const;

    /// Takes the kind that the combo box shows, and lists its reports.
    void TakeKind();

    /// Lists the reports of the current kind anew. The newest is in view and the keys start there,
    /// but none is selected: deleting asks no question.
    void Fill();

    /// Opens the selected report, or that of `row`. Without one a line on the page says so.
    void ShowSelected();
    void ShowRow(const QTreeWidgetItem* row);

    /// Deletes the selected report without a question. Without one a line on the page says so.
    void DeleteSelected();

    /// Rewrites the index of the current kind (scans or updates) from the rows of the list.
    void RewriteIndex();

signals:
    void KindChosen();
    /// A double click on a row, or Return at it.
    void RowDoubleClicked(QTreeWidgetItem* row, int column);
    void RowClicked(QTreeWidgetItem* row, int column);
    void ShowClicked();
    void DeleteClicked();

protected:
    void changeEvent(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    [[nodiscard]] QTreeWidgetItem* SelectedRow() const;
    void SelectNeighbour(const QTreeWidgetItem* row);
    bool DeleteScheduledReport(const QTreeWidgetItem* row);
    void EnableButtons();
    void GoToNewest();
    void FitColumns();
    void SayWhatIsEmpty();
    void SayNothingIsSelected();

    std::unique_ptr<Ui::ReportsPage> m_ui;
    bool m_isReadable = true;  // the index of the kind shown
};
