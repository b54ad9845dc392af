#pragma once

#include <memory>

#include <QDialog>

namespace Ui {
class dlgVirFnd;
}

/// Asks what to do with the infected file in g_zqFileInfo and puts the answer into g_myScnopts.
/// The result is 1 for Ok and 0 for Cancel.
class dlgVirFnd : public QDialog {
    Q_OBJECT

public:
    explicit dlgVirFnd(QWidget* parent = nullptr, const char* name = nullptr, bool modal = true,
                       Qt::WindowFlags flags = {});
    ~dlgVirFnd() override;

    /// Runs from the constructor.
    void init();

public slots:
    void OnOkClicked();
    void OnCancelClicked();
    void actionSelected();

private:
    std::unique_ptr<Ui::dlgVirFnd> m_ui;
};
