#include "widgets/password_lock.h"

#include <dlfcn.h>
#include <string>
#include <utility>

#include <QInputDialog>

#include "abi/libdbmod.h"
#include "common/paths.h"
#include "widgets/messages.h"
#include "widgets/secret_text.h"
#include "widgets/whats_this_key.h"

namespace {

constexpr auto kTitle = "Corvane";

/// What the user types. Wiped as soon as it has been checked, or at the end of its life, with what
/// shares its characters. The line it was typed into may have left others behind while it grew.
class TypedPassword {
public:
    TypedPassword() = default;
    ~TypedPassword() { WipeSecret(m_text); }
    TypedPassword(const TypedPassword&) = delete;
    TypedPassword& operator=(const TypedPassword&) = delete;
    TypedPassword(TypedPassword&&) = delete;
    TypedPassword& operator=(TypedPassword&&) = delete;

    /// False when the user cancels.
    bool Ask(QWidget* parent, const QString& label) {
        QInputDialog dialog(parent);
        dialog.setWindowTitle(kTitle);
        dialog.setLabelText(label);
        dialog.setTextEchoMode(QLineEdit::Password);
        dialog.setWhatsThis(
            PasswordLock::tr("An administrator has put a password before this page. Only an "
                             "administrator can tell it, or set another one."));
        ExplainOnF1(dialog);
        const bool isConfirmed = dialog.exec() == QDialog::Accepted;
        m_text = dialog.textValue();  // shares the characters with the dialog and its line
        return isConfirmed;
    }

    [[nodiscard]] bool IsEmpty() const { return m_text.isEmpty(); }

    /// The result of `verify` itself.
    int CheckWith(PFNAVVERFIYPASSWORD verify, tagDBRESULT& result) {
        QByteArray password = m_text.toUtf8();
        WipeSecret(m_text);
        tagPASSWORDRECORD record{};
        record.size = sizeof(record);
        result = {};
        result.size = sizeof(result);
        const int checked = verify(password.constData(), &record, &result);
        WipeSecret(password);
        return checked;
    }

private:
    QString m_text;
};

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

    TypedPassword typed;
    if (!typed.Ask(parent, tr("Enter password:"))) {
        return false;
    }
    if (typed.IsEmpty()) {
        ShowWarning(parent, kTitle, tr("Invalid password"));
        return false;
    }
    if (typed.CheckWith(verifyPassword, result) == 0) {
        ShowWarning(parent, kTitle, tr("Unable to read the settings, Please try again."));
        return false;
    }
    if (result.code == kDbPasswordRefused) {
        ShowWarning(parent, kTitle, tr("Invalid password"));
    }
    return result.code == kDbPasswordAccepted;
}
