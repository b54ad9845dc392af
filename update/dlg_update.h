#pragma once

#include <memory>
#include <optional>

#include <QString>

#include "update/update_dialog.h"

class UpdThrd;
namespace Ui {
class dlgUpdate;
}

/// Shown while an update runs: owns its thread, shows what it tells and lets the user stop it. Only
/// the end of the update closes it. GUI thread.
class dlgUpdate : public UpdateDialog {
    Q_OBJECT

public:
    explicit dlgUpdate(QWidget* parent = nullptr, const char* name = nullptr, bool modal = true,
                       Qt::WindowFlags flags = {});
    ~dlgUpdate() override;

    // In the order in which other code knows them.

    /// Waits until the thread has ended and closes the dialog with result 1.
    virtual void stop();

    /// Starts the update and shows the dialog until it is over: 1 when it ran, 0 when it could not
    /// start, -1 when its thread cannot be made or started.
    virtual int Myexec();

    /// Writes all texts anew, in the language of this moment.
    virtual void languageChange();

public slots:
    void OnStopClick();

protected:
    void customEvent(QEvent* event) override;
    void changeEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void destroy();

    /// Waits until the thread has ended and closes the dialog.
    void End(int result);

    /// An update that has ended without telling it keeps the dialog open until the user stops it.
    void EndIfSilent();

    void ShowStatus(UpdateEvent event);
    [[nodiscard]] QString TextOf(UpdateEvent event);

    std::unique_ptr<Ui::dlgUpdate> m_ui;
    std::unique_ptr<UpdThrd> m_thread;
    std::optional<UpdateEvent> m_shown;
};
