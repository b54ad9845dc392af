#pragma once

#include <cstddef>
#include <cstdint>

// Records and entry points of the settings database, "libdbmod.so". All integers are little-endian.
//
// The library fills in every record whole, its size too: what the caller left in it is not read.
// Both entry points may be called from any thread; they may wait half a second for a writer, and
// the check of a password takes about a tenth of a second. Null arguments fail at once.

/// Category and value under which the program asks for the settings password.
inline constexpr unsigned int kPasswordCategory = 14;
inline constexpr unsigned int kPasswordValue = 1;

/// One setting of the client, 256 bytes.
struct tagCLIENTSETTINGDATA {
    std::uint32_t size;           ///< 256
    std::uint32_t category;       ///< the category asked for
    std::uint32_t value;          ///< the value asked for
    std::uint8_t reserved1[16];   ///< 0
    std::uint32_t passwordSet;    ///< 1 when a settings password is set, and after every failure
    std::uint8_t reserved2[224];  ///< 0
};

static_assert(sizeof(tagCLIENTSETTINGDATA) == 256);
static_assert(offsetof(tagCLIENTSETTINGDATA, size) == 0);
static_assert(offsetof(tagCLIENTSETTINGDATA, category) == 4);
static_assert(offsetof(tagCLIENTSETTINGDATA, value) == 8);
static_assert(offsetof(tagCLIENTSETTINGDATA, reserved1) == 12);
static_assert(offsetof(tagCLIENTSETTINGDATA, passwordSet) == 28);
static_assert(offsetof(tagCLIENTSETTINGDATA, reserved2) == 32);

/// Result codes in tagDBRESULT::code.
enum DbResultCode : std::uint32_t {
    kDbOk = 0,
    kDbPasswordAccepted = 1000,
    kDbPasswordRefused = 1001,
    kDbUnreadable = 1002,  ///< missing, locked or damaged database
    kDbBadArgument = 1003,
};

/// How a call ended, 16 bytes.
struct tagDBRESULT {
    std::uint32_t size;         ///< 16
    std::uint32_t code;         ///< DbResultCode
    std::uint32_t systemError;  ///< errno, or 0
    std::uint32_t reserved;
};

static_assert(sizeof(tagDBRESULT) == 16);
static_assert(offsetof(tagDBRESULT, size) == 0);
static_assert(offsetof(tagDBRESULT, code) == 4);
static_assert(offsetof(tagDBRESULT, systemError) == 8);
static_assert(offsetof(tagDBRESULT, reserved) == 12);

/// What is known about the password that was checked, 64 bytes.
struct tagPASSWORDRECORD {
    std::uint32_t size;      ///< 64
    std::uint32_t isSet;     ///< 1 when a settings password is set
    std::int64_t changedAt;  ///< seconds since 1970 of the last change, 0 when never set
    std::uint8_t reserved[48];
};

static_assert(sizeof(tagPASSWORDRECORD) == 64);
static_assert(offsetof(tagPASSWORDRECORD, size) == 0);
static_assert(offsetof(tagPASSWORDRECORD, isSet) == 4);
static_assert(offsetof(tagPASSWORDRECORD, changedAt) == 8);
static_assert(offsetof(tagPASSWORDRECORD, reserved) == 16);

/// Fills `data` with the setting; nonzero on success. 0 when the database cannot be read, or for a
/// category and value that it does not hold (kDbBadArgument).
using PFNAVGETCLIENTSETTINGDATA = int (*)(unsigned int category, unsigned int value,
                                          tagCLIENTSETTINGDATA* data, tagDBRESULT* result);

/// Checks a password of at most 511 bytes, compared byte for byte; nonzero when the check could be
/// made, its outcome is in `result->code`. While no password is set every one is refused.
using PFNAVVERFIYPASSWORD = int (*)(const char* password, tagPASSWORDRECORD* record,
                                    tagDBRESULT* result);

inline constexpr char kDbLibrary[] = "libdbmod.so";
inline constexpr char kDbGetClientSettingData[] = "AvGetClientSettingData";
inline constexpr char kDbVerifyPassword[] = "AvVerfiyPassword";
