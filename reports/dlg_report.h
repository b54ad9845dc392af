#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include <QDialog>

#include "reports/files/report_files.h"

class FindBar;
class QPrinter;

namespace Ui {
class dlgReport;
}

/// Shows the current report (g_szRptName, g_szRptPath) of the current kind (g_siRptKind), steps to
/// the reports before and after it in their index, searches it, prints it and saves a copy.
/// GUI thread only.
class dlgReport : public QDialog {
    Q_OBJECT

public:
    explicit dlgReport(QWidget* parent = nullptr);
    ~dlgReport() override;

    /// Shows the file that g_szRptPath names. False, after a message, when it cannot be read; what
    /// was shown before stays.
    bool DisplayReport();

public slots:
    void OnPrevClick();
    void OnNextClick();
    void OnPrint();
    void OnSavAsClick();
    void OnRptCloseClick();

protected:
    void changeEvent(QEvent* event) override;

private:
    void init();
    void destroy();
    void AddShortcuts();
    void FindCurrentReport();
    void ShowStepsPossible();
    void Step(int direction);
    [[nodiscard]] bool CanStep(int direction) const;
    [[nodiscard]] QString ProposedFileName() const;
    bool SaveReport(const QString& fileName);
    void ShowName();

    std::unique_ptr<Ui::dlgReport> m_ui;
    FindBar* m_findBar = nullptr;  // owned by the layout
    std::unique_ptr<QPrinter> m_printer;
    ReportKind m_kind;
    std::vector<reports::ReportListing> m_reports;
    std::ptrdiff_t m_current = -1;  // place of the shown report in m_reports, -1 when not listed
};
