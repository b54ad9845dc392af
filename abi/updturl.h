#pragma once

#include <cstddef>
#include <cstdint>

// Records and entry points of the updater, "updturl.so". All integers are little-endian.

/// What the updater is doing, in tagUPDATEINFO::status. 2007 to 2014 are not used.
enum UpdateStatus : std::uint16_t {
    kUpdateConnecting = 2000,
    kUpdateLoadingFiles = 2001,
    kUpdateUnshown = 2002,
    kUpdateLoadingIndex = 2003,
    kUpdateProcessingFailed = 2004,  ///< what was found there is not installed
    kUpdateLoadingDefinitions = 2005,
    kUpdateLoadingNamedFile = 2006,  ///< tagUPDATEINFO::fileName says which
    kUpdateInstalling = 2015,
};

inline constexpr std::uint16_t kFirstUpdateStatus = 2000;
inline constexpr std::uint16_t kLastUpdateStatus = 2015;

/// What the updater says of its progress, 1,042 bytes.
struct tagUPDATEINFO {
    std::uint16_t status;  ///< UpdateStatus
    char fileName[1024];   ///< NUL-terminated
    char reserved[16];
};

static_assert(sizeof(tagUPDATEINFO) == 1042);
static_assert(offsetof(tagUPDATEINFO, status) == 0);
static_assert(offsetof(tagUPDATEINFO, fileName) == 2);
static_assert(offsetof(tagUPDATEINFO, reserved) == 1026);

/// How the Internet is reached, in memory and in "zqinet.opt" alike: 788 bytes. The updater is
/// given the first kUpdaterSettingsSize of them.
struct tagZQINETCONFIG {
    std::uint16_t useProxy;  ///< 1 or 0
    std::uint16_t reserved;
    char server[260];            ///< NUL-terminated
    std::uint16_t port;          ///< 0 for none
    char user[260];              ///< NUL-terminated; with one, the proxy is asked to authenticate
    char password[260];          ///< NUL-terminated
    std::uint16_t authenticate;  ///< 1 or 0; not part of what the updater is given
};

inline constexpr std::size_t kUpdaterSettingsSize = 786;

static_assert(sizeof(tagZQINETCONFIG) == 788);
static_assert(offsetof(tagZQINETCONFIG, useProxy) == 0);
static_assert(offsetof(tagZQINETCONFIG, reserved) == 2);
static_assert(offsetof(tagZQINETCONFIG, server) == 4);
static_assert(offsetof(tagZQINETCONFIG, port) == 264);
static_assert(offsetof(tagZQINETCONFIG, user) == 266);
static_assert(offsetof(tagZQINETCONFIG, password) == 526);
static_assert(offsetof(tagZQINETCONFIG, authenticate) == kUpdaterSettingsSize);

/// What both entry points return.
enum UpdaterResult : int {
    kUpdaterFailed = 0,
    kUpdaterUpdated = 1,
    kUpdaterUpToDate = 2,
    kUpdaterInterrupted = 3,  ///< of UpdateFromIndex: the folder holds no valid definition files
    kUpdaterInvalidFiles = 4,
};

/// Answers of the callback.
enum UpdateReply : int {
    kUpdateGoOn = 1,
    kUpdateStop = 2,
};

/// Called by the updater on a thread of its choice; `info` lives until the call returns, `context`
/// is the pointer given to the entry point. UpdateReply.
using PFNUPDTCALLBACK = int (*)(const tagUPDATEINFO* info, void* context);

/// Updates from the first of `count` addresses that answers. Both directories end in "/";
/// `backupFolder` is null without a backup; `addresses` is null when they could not be read;
/// `reserved` is 1. `settingsPastFlag` is `settings` from its third byte on. UpdaterResult.
using PFNZQUPDATEFROMSITE = int (*)(const char* applicationDirectory, const char* downloadDirectory,
                                    int fromAdministrator, int reserved, int keepBackup,
                                    const char* backupFolder, const tagZQINETCONFIG* settings,
                                    char** addresses, std::int32_t count, PFNUPDTCALLBACK callback,
                                    void* context, const void* settingsPastFlag);

/// Updates from the definition files in `folder`. UpdaterResult.
using PFNUPDATEFROMINDEX = int (*)(const char* applicationDirectory, const char* folder,
                                   const void* settingsPastFlag);

inline constexpr char kUpdaterLibrary[] = "updturl.so";
inline constexpr char kUpdateFromSite[] = "ZQUpdateFromSite";
inline constexpr char kUpdateFromIndex[] = "UpdateFromIndex";
