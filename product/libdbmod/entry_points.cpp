// The two entry points of "libdbmod.so".

#include <cerrno>
#include <string>

#include "abi/libdbmod.h"
#include "common/paths.h"
#include "product/libdbmod/password_hash.h"
#include "product/libdbmod/settings_database.h"

#define DBMOD_EXPORT __attribute__((visibility("default")))

namespace dbmod {
namespace {

std::string DatabasePath() {
    return common::InProductDirectory(kSettingsDatabaseName);
}

void SetResult(tagDBRESULT* result, std::uint32_t code, int systemError = 0) {
    *result = tagDBRESULT{};
    result->size = sizeof(tagDBRESULT);
    result->code = code;
    result->systemError = static_cast<std::uint32_t>(systemError);
}

/// Reads the state and answers for a failure in `result`.
bool ReadState(PasswordState& state, tagDBRESULT* result) {
    const DatabaseResult outcome =
        ReadPasswordState(DatabasePath(), DatabaseAccess::kReadOnly, state);
    if (!outcome.IsOk()) {
        SetResult(result, kDbUnreadable, outcome.systemError);
    }
    return outcome.IsOk();
}

int GetClientSettingData(unsigned int category, unsigned int value, tagCLIENTSETTINGDATA* data,
                         tagDBRESULT* result) {
    *data = tagCLIENTSETTINGDATA{};
    data->size = sizeof(tagCLIENTSETTINGDATA);
    data->category = category;
    data->value = value;
    // Until the database says otherwise: a caller that overlooks a failure stays locked out.
    data->passwordSet = 1;

    if (category != kPasswordCategory || value != kPasswordValue) {
        SetResult(result, kDbBadArgument);
        return 0;
    }
    PasswordState state;
    if (!ReadState(state, result)) {
        return 0;
    }
    data->passwordSet = state.IsSet() ? 1 : 0;
    SetResult(result, kDbOk);
    return 1;
}

int VerifyPassword(const char* password, tagPASSWORDRECORD* record, tagDBRESULT* result) {
    *record = tagPASSWORDRECORD{};
    record->size = sizeof(tagPASSWORDRECORD);

    PasswordState state;
    if (!ReadState(state, result)) {
        return 0;
    }
    record->isSet = state.IsSet() ? 1 : 0;
    record->changedAt = state.changedAt;
    if (!state.IsSet()) {
        // Nothing equals a password that is not there; the next look at the setting needs none.
        SetResult(result, kDbPasswordRefused);
        return 1;
    }
    switch (CheckPassword(password, state.hash)) {
        case PasswordCheck::kMatches:
            SetResult(result, kDbPasswordAccepted);
            return 1;
        case PasswordCheck::kDiffers:
            SetResult(result, kDbPasswordRefused);
            return 1;
        case PasswordCheck::kFailed:
            break;
    }
    SetResult(result, kDbUnreadable, errno);
    return 0;
}

}  // namespace
}  // namespace dbmod

extern "C" DBMOD_EXPORT int AvGetClientSettingData(unsigned int category, unsigned int value,
                                                   tagCLIENTSETTINGDATA* data,
                                                   tagDBRESULT* result) {
    if (data == nullptr || result == nullptr) {
        return 0;
    }
    try {
        return dbmod::GetClientSettingData(category, value, data, result);
    } catch (...) {
        dbmod::SetResult(result, kDbUnreadable, ENOMEM);
        return 0;
    }
}

// The misspelt name is the one that callers look up.
extern "C" DBMOD_EXPORT int AvVerfiyPassword(const char* password, tagPASSWORDRECORD* record,
                                             tagDBRESULT* result) {
    if (password == nullptr || record == nullptr || result == nullptr) {
        return 0;
    }
    try {
        return dbmod::VerifyPassword(password, record, result);
    } catch (...) {
        dbmod::SetResult(result, kDbUnreadable, ENOMEM);
        return 0;
    }
}
