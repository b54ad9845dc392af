#include "widgets/password_lock.h"

#include <dlfcn.h>
#include <string>
#include <utility>

#include <QInputDialog>

#include "abi/libdbmod.h"
#include "common/paths.h"
#include "widgets/messages.h"

namespace {

constexpr auto kTitle = "Corvane";

}  // namespace

bool PasswordLock::Ask(QWidget* parent) {
    const std::string path = common::InProductDirectory(kDbLibrary);
    // Not through the product's loader: the message is the dynamic loader's own.
    m_library.reset(dlopen(path.c_str(), RTLD_NOW));
    if (m_library == nullptr) {
        ShowWarning(parent, kTitle, QString::fromLocal8Bit(dlerror()));
        return false;
    }
    if (!AskWith(m_library.get(), parent)) {
        m_library.reset();
        return false;
    }
    return true;
}

void PasswordLock::KeepLibrary() {
    m_kept = std::move(m_library);
}

void PasswordLock::ReleaseLibrary() {
    m_library.reset();
}

bool PasswordLock::AskWith(void* library, QWidget* parent) {
    const auto getSetting =
        reinterpret_cast<PFNAVGETCLIENTSETTINGDATA>(dlsym(library, kDbGetClientSettingData));
    const auto verifyPassword =
        getSetting == nullptr
            ? nullptr
            : reinterpret_cast<PFNAVVERFIYPASSWORD>(dlsym(library, kDbVerifyPassword));
    if (verifyPassword == nullptr) {
        ShowWarning(parent, kTitle, QString::fromLocal8Bit(dlerror()));
        return false;
    }

    tagCLIENTSETTINGDATA setting{};
    setting.size = sizeof(setting);
    tagDBRESULT result{};
    result.size = sizeof(result);
    if (getSetting(kPasswordCategory, kPasswordValue, &setting, &result) == 0) {
        ShowWarning(parent, kTitle, tr("Unable to read the settings, Please try again."));
        return false;
    }
    if (setting.passwordSet != 1) {
        return true;
    }

    bool confirmed = false;
    const QString typed = QInputDialog::getText(parent, kTitle, tr("Enter password:"),
                                                QLineEdit::Password, QString(), &confirmed);
    if (!confirmed) {
        return false;
    }
    if (typed.isEmpty()) {
        ShowWarning(parent, kTitle, tr("Invalid password"));
        return false;
    }

    QByteArray password = typed.toUtf8();
    tagPASSWORDRECORD record{};
    record.size = sizeof(record);
    result = {};
    result.size = sizeof(result);
    const bool checked = verifyPassword(password.constData(), &record, &result) != 0;
    password.fill('\0');
    if (!checked) {
        ShowWarning(parent, kTitle, tr("Unable to read the settings, Please try again."));
        return false;
    }
    if (result.code == kDbPasswordRefused) {
        ShowWarning(parent, kTitle, tr("Invalid password"));
    }
    return result.code == kDbPasswordAccepted;
}
