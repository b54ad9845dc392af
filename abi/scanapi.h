#pragma once

#include <cstddef>
#include <cstdint>

#include "abi/system_time.h"

// Records and entry points of the scan engine, "scanapi.so".

/// Messages from the engine to the program, in tagZQFILEINFO::code.
enum EngineMessage : std::int16_t {
    kMsgAskStop =
        0,  ///< says nothing, only asks whether to stop: answered kReplyStop or kReplyGoOn
    kMsgVirusFound = 1001,
    kMsgFileClean = 1002,
    kMsgScanningMember = 1003,
    kMsgNeedsDecision = 1004,
    kMsgCannotRead = 1005,
    kMsgVirusFoundSecondKind = 1007,
    kMsgRepaired = 3001,
    kMsgRepairFailed = 3002,
    kMsgDeleted = 3003,
    kMsgSkipped = 3004,
    kMsgMarkedForDeletion = 3006,
};

/// The program's replies to an engine message.
enum EngineReply : int {
    kReplyDismiss = 2000,
    kReplyRepair = 2001,
    kReplyDelete = 2002,
    kReplyLeave = 2003,
    kReplyStop = 2004,
    kReplyGoOn = 2005,
};

/// Results of ZqOpenFile that mean failure; every other value is success.
enum EngineOpenStatus : int {
    kOpenFailed = 0,
    kOpenRefused = 4001,
};

inline constexpr std::size_t kEngineFileNameSize = 1024;
inline constexpr std::size_t kEngineVirusNameSize = 50;

/// What the engine says about one file, 1,096 bytes.
struct tagZQFILEINFO {
    std::int16_t code;                   ///< EngineMessage
    char fileName[kEngineFileNameSize];  ///< inside an archive: the member being scanned
    char reserved1[6];
    /// Terminated, so at most 49 bytes of name. Of a file that cannot be read: why, in a few words
    /// of English, or empty; an engine need not say.
    char virusName[kEngineVirusNameSize];
    std::uint16_t detectionClass;
    std::uint16_t detectionSubClass;
    char reserved2[10];
};

static_assert(sizeof(tagZQFILEINFO) == 1096);
static_assert(offsetof(tagZQFILEINFO, code) == 0);
static_assert(offsetof(tagZQFILEINFO, fileName) == 2);
static_assert(offsetof(tagZQFILEINFO, reserved1) == 1026);
static_assert(offsetof(tagZQFILEINFO, virusName) == 1032);
static_assert(offsetof(tagZQFILEINFO, detectionClass) == 1082);
static_assert(offsetof(tagZQFILEINFO, detectionSubClass) == 1084);
static_assert(offsetof(tagZQFILEINFO, reserved2) == 1086);

/// The engine's options, 546 bytes.
struct tagSCANAPI_OPTIONS {
    std::uint16_t size;          ///< 546
    std::uint16_t fixed1;        ///< 1
    std::uint16_t fixed2;        ///< 5
    std::uint16_t scanArchives;  ///< 1 or 0
    std::uint16_t scanPacked;    ///< 1 or 0
    char engineDirectory[256];   ///< ends in "/"
    char temporaryDirectory[256];
    std::uint16_t dumbScan;     ///< 1: read files of unknown type too
    std::uint16_t adwareLevel;  ///< 7, 3 or 0
    std::uint16_t extraFlags;   ///< kLabScanFlag
    std::uint16_t reserved1[8];
    std::uint16_t reserved2;
};

/// Bit of tagSCANAPI_OPTIONS::extraFlags: ten kinds of detection were seen in this run.
inline constexpr std::uint16_t kLabScanFlag = 0x8000;

static_assert(sizeof(tagSCANAPI_OPTIONS) == 546);
static_assert(offsetof(tagSCANAPI_OPTIONS, size) == 0);
static_assert(offsetof(tagSCANAPI_OPTIONS, fixed1) == 2);
static_assert(offsetof(tagSCANAPI_OPTIONS, fixed2) == 4);
static_assert(offsetof(tagSCANAPI_OPTIONS, scanArchives) == 6);
static_assert(offsetof(tagSCANAPI_OPTIONS, scanPacked) == 8);
static_assert(offsetof(tagSCANAPI_OPTIONS, engineDirectory) == 10);
static_assert(offsetof(tagSCANAPI_OPTIONS, temporaryDirectory) == 266);
static_assert(offsetof(tagSCANAPI_OPTIONS, dumbScan) == 522);
static_assert(offsetof(tagSCANAPI_OPTIONS, adwareLevel) == 524);
static_assert(offsetof(tagSCANAPI_OPTIONS, extraFlags) == 526);
static_assert(offsetof(tagSCANAPI_OPTIONS, reserved1) == 528);
static_assert(offsetof(tagSCANAPI_OPTIONS, reserved2) == 544);

/// Called by the engine on the thread that called ZqScanFileEx; `context` is the pointer given
/// there.
using PFNZQCALLBACK = int (*)(const tagZQFILEINFO* info, void* context);

using PFNINITSCAN = int (*)(tagSCANAPI_OPTIONS* options);  ///< nonzero on success
using PFNDEINITSCAN = void (*)();
using PFNGETVER = void (*)(tagZQVERINFO* version);
using PFNSETCALLBACK = int (*)(PFNZQCALLBACK callback);  ///< nonzero on success
using PFNSETOPTIONS = void (*)(tagSCANAPI_OPTIONS* options);
using PFNOPENFILE = int (*)(const char* name, std::uint64_t* handle);  ///< EngineOpenStatus
using PFNCLOSEFILE = int (*)(std::uint64_t* handle);                   ///< nonzero on success
using PFNSCANFILEEX = int (*)(std::uint64_t handle, void* context);    ///< 1 on success
using PFNRESETFPTFLAGS = void (*)();

/// "ZqFilesAhead", which an engine may be without: these files come next, in this order. Between
/// ZqInitScan and ZqDeinitScan; on the thread that calls ZqOpenFile and ZqScanFileEx, between two
/// files.
///
/// `folder` is the open folder that holds the files and stays the caller's; `path` is its path. The
/// name given to ZqOpenFile will be `path`, a "/" unless it ends in one, and the file's name.
/// Nothing may come of it: a file told of may be gone, another or never opened, and files may be
/// opened that were not told of. The same path told twice will be opened twice. With a `count` of 0
/// the rest counts for nothing and all that was told before is forgotten.
///
/// The engine copies what it needs, never blocks and calls nothing back.
using PFNFILESAHEAD = void (*)(int folder, const char* path, const char* const* names,
                               std::size_t count);

/// What an engine says of a file that it cannot read because it has no virus definitions: it will
/// read no other either.
inline constexpr char kReasonNoDefinitions[] = "no database was loaded";

inline constexpr char kScanApiLibrary[] = "scanapi.so";
