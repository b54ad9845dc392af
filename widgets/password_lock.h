#pragma once

#include <QCoreApplication>

#include "common/owners.h"

class QWidget;

/// The administrator's password in front of a page. The settings database holds and checks it; the
/// program stores and compares no password. GUI thread only.
class PasswordLock {
    Q_DECLARE_TR_FUNCTIONS(PasswordLock)

public:
    /// Asks for the password when one is set, with `parent` under the dialogs. True when the page
    /// may be opened; otherwise the user has seen why not, or has cancelled.
    bool Ask(QWidget* parent);

    /// The page was opened: the library that Ask() loaded stays loaded for good.
    void KeepLibrary();

    /// The page was not opened: the library is unloaded again.
    void ReleaseLibrary();

private:
    bool AskWith(void* library, QWidget* parent);

    common::LibraryHandle m_library;  // of the question under way
    common::LibraryHandle m_kept;
};
