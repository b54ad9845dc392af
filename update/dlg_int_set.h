#pragma once

#include <memory>

#include <QDialog>

#include "abi/updturl.h"
#include "update/connection_test.h"

namespace Ui {
class dlgIntSet;
}

/// The proxy server through which updates are loaded. Modal; GUI thread only.
class dlgIntSet : public QDialog {
    Q_OBJECT

public:
    /// Shows what "zqinet.opt" holds, which is made when it is missing.
    explicit dlgIntSet(QWidget* parent = nullptr);
    ~dlgIntSet() override;

public slots:
    /// Shows what the file holds.
    virtual void LoadInetOptions();

    /// Saves and accepts. What cannot be right is told, and the dialog stays; when the file cannot
    /// be written the dialog is rejected.
    virtual void OnOkClick();

    /// The proxy server is to be used or not: enables what belongs to it.
    virtual void OnInternetConnChkd(bool on);

    /// The proxy server asks who one is or not: enables what belongs to that.
    virtual void OnAuthenticationChked(bool on);

    /// Tests what the dialog shows, saved or not, and says the result in the dialog.
    virtual void OnTestClick();

protected:
    void changeEvent(QEvent* event) override;

private:
    void init();
    [[nodiscard]] bool IsValid() const;
    /// What the dialog shows, as it is saved.
    [[nodiscard]] tagZQINETCONFIG Record() const;
    [[nodiscard]] static QString InvalidText();
    void SayTestResult(const QString& words);
    /// It was that of other entries.
    void ForgetTestResult();

    std::unique_ptr<Ui::dlgIntSet> m_ui;
    tagZQINETCONFIG m_loaded{};
    ConnectionTest m_test;
};
