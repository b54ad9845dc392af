#pragma once

#include <cstddef>
#include <cstdint>

// Records and entry points of the scheduler, "schdlscn.so". All integers are little-endian.
//
// Growable arrays are three pointers, which is what a std::vector of the same records is: where the
// first element begins, where the last one ends, and where the memory ends; all three null for an
// array that never had an element. Their memory comes from ::operator new(bytes) and goes back by
// ::operator delete(pointer), on both sides, so either may grow or free what the other has made.
//
// common/schedule_entries.h has functions for them.
//
// - What the caller hands in to be stored stays the caller's: the library copies it, keeps no
//   pointer into it and changes nothing in it.
// - What the library fills in is the caller's from then on, arrays and all; the caller frees it.
// The
//   caller hands such arrays in empty. A call that fails leaves them as they were.
//
// Every entry point may be called from any thread and throws nothing. Null arguments fail at once,
// but for `error`, which may be null. A call that needs the scheduler's service waits at most two
// seconds for it and fails with kScheduleServiceSilent then. Who asks is told to the service by the
// kernel: a user id among the arguments is looked at for nothing but what the caller wants to see.

/// The scheduler's library, and the list of its tasks, in the product directory.
inline constexpr char kSchedulerLibrary[] = "schdlscn.so";
inline constexpr char kScheduleTaskList[] = "tsklst.inf";

inline constexpr std::size_t kScheduleNameSize = 256;     ///< of a task, with its terminator
inline constexpr std::size_t kScheduleFolderSize = 1024;  ///< of a folder's path, the same
inline constexpr std::size_t kMaxScheduleFolders = 100;   ///< of one task

enum ScheduleFrequency : std::uint8_t {
    kScheduleDaily = 0,
    kScheduleWeekly = 1,
};

enum ScheduleStart : std::uint8_t {
    kScheduleAtTime = 0,
    kScheduleAtFirstBoot = 1,
};

/// Not in the order in which they are shown.
enum ScheduleRepeatUnit : std::uint8_t {
    kScheduleHours = 0,
    kScheduleMinutes = 1,
};

/// Bits of tagSCHEDULE_SCAN_ENTRY::options, those of the scanner settings (ScanFlag).
enum ScheduleOption : std::uint8_t {
    kScheduleArchives = 1,
    kScheduleAdware = 2,
    kScheduleDumb = 4,
    kSchedulePacked = 8,
};

/// What to do when a virus is found, in the order in which it is shown.
enum ScheduleAction : std::uint16_t {
    kScheduleRepairOnly = 0,
    kScheduleRepairOrDelete = 1,
    kScheduleDelete = 2,
    kScheduleReportOnly = 3,
};

#pragma pack(push, 1)

/// A folder to scan, 1,024 bytes.
struct tagSCAN_ITEM {
    char path[kScheduleFolderSize];  ///< NUL-terminated bytes
};

/// A growable array of folders, 24 bytes.
struct tagSCAN_ITEM_ARRAY {
    tagSCAN_ITEM* begin;
    tagSCAN_ITEM* end;
    tagSCAN_ITEM* capacity;
};

/// One scheduled scan, 325 bytes without gaps.
struct tagSCHEDULE_SCAN_ENTRY {
    char name[kScheduleNameSize];  ///< NUL-terminated, at most 255 bytes
    std::uint8_t frequency;        ///< ScheduleFrequency
    std::uint8_t startMode;        ///< ScheduleStart
    std::int16_t hour;             ///< of the start at a time of day
    std::int16_t minute;
    std::int16_t second;
    std::uint8_t repeats;        ///< 1 or 0
    std::int16_t interval;       ///< every 1 to 90 days, or every 1 to 15 weeks
    std::int16_t repeatValue;    ///< 1 to 1,439 minutes, or 1 to 23 hours
    std::uint8_t repeatUnit;     ///< ScheduleRepeatUnit
    std::uint8_t weekday;        ///< of a weekly scan: 1 Sunday to 7 Saturday
    std::uint8_t reserved1[2];   ///< the program leaves 0 in a new task, else what it was given
    std::uint16_t action;        ///< ScheduleAction
    std::uint8_t options;        ///< ScheduleOption bits
    std::uint8_t reserved2[21];  ///< as reserved1
    tagSCAN_ITEM_ARRAY folders;  ///< at most kMaxScheduleFolders
    std::uint32_t userId;        ///< the real user of the process that filled in the record
};

/// A growable array of scheduled scans, 24 bytes. Each element owns its own array of folders.
struct tagSCHEDULE_SCAN_ARRAY {
    tagSCHEDULE_SCAN_ENTRY* begin;
    tagSCHEDULE_SCAN_ENTRY* end;
    tagSCHEDULE_SCAN_ENTRY* capacity;
};

#pragma pack(pop)

static_assert(sizeof(void*) == 8);

static_assert(sizeof(tagSCAN_ITEM) == 1024);
static_assert(alignof(tagSCAN_ITEM) == 1);
static_assert(offsetof(tagSCAN_ITEM, path) == 0);

static_assert(sizeof(tagSCAN_ITEM_ARRAY) == 24);
static_assert(offsetof(tagSCAN_ITEM_ARRAY, begin) == 0);
static_assert(offsetof(tagSCAN_ITEM_ARRAY, end) == 8);
static_assert(offsetof(tagSCAN_ITEM_ARRAY, capacity) == 16);

static_assert(sizeof(tagSCHEDULE_SCAN_ENTRY) == 325);
static_assert(alignof(tagSCHEDULE_SCAN_ENTRY) == 1);
static_assert(offsetof(tagSCHEDULE_SCAN_ENTRY, name) == 0);
static_assert(offsetof(tagSCHEDULE_SCAN_ENTRY, frequency) == 256);
static_assert(offsetof(tagSCHEDULE_SCAN_ENTRY, startMode) == 257);
static_assert(offsetof(tagSCHEDULE_SCAN_ENTRY, hour) == 258);
static_assert(offsetof(tagSCHEDULE_SCAN_ENTRY, minute) == 260);
static_assert(offsetof(tagSCHEDULE_SCAN_ENTRY, second) == 262);
static_assert(offsetof(tagSCHEDULE_SCAN_ENTRY, repeats) == 264);
static_assert(offsetof(tagSCHEDULE_SCAN_ENTRY, interval) == 265);
static_assert(offsetof(tagSCHEDULE_SCAN_ENTRY, repeatValue) == 267);
static_assert(offsetof(tagSCHEDULE_SCAN_ENTRY, repeatUnit) == 269);
static_assert(offsetof(tagSCHEDULE_SCAN_ENTRY, weekday) == 270);
static_assert(offsetof(tagSCHEDULE_SCAN_ENTRY, reserved1) == 271);
static_assert(offsetof(tagSCHEDULE_SCAN_ENTRY, action) == 273);
static_assert(offsetof(tagSCHEDULE_SCAN_ENTRY, options) == 275);
static_assert(offsetof(tagSCHEDULE_SCAN_ENTRY, reserved2) == 276);
static_assert(offsetof(tagSCHEDULE_SCAN_ENTRY, folders) == 297);
static_assert(offsetof(tagSCHEDULE_SCAN_ENTRY, userId) == 321);

static_assert(sizeof(tagSCHEDULE_SCAN_ARRAY) == 24);
static_assert(offsetof(tagSCHEDULE_SCAN_ARRAY, begin) == 0);
static_assert(offsetof(tagSCHEDULE_SCAN_ARRAY, end) == 8);
static_assert(offsetof(tagSCHEDULE_SCAN_ARRAY, capacity) == 16);

/// Why a call failed; 0 after success.
enum ScheduleError : unsigned int {
    kScheduleOk = 0,
    kScheduleNameTaken = 1019,         ///< by a task of this user
    kScheduleFolderNotFull = 1021,     ///< a path that does not begin with "/"
    kScheduleFolderMissing = 1022,     ///< nothing is there
    kScheduleFolderIsFile = 1023,      ///< something is there that is no folder
    kScheduleNameCharacter = 1024,     ///< a control character or one of / \ : * ? " < > |
    kScheduleNameTakenByOther = 1026,  ///< by a task of another user
    kScheduleFoldersRefused = 1029,    ///< this path and those after it cannot be looked at
    kScheduleNameTooLong = 1030,       ///< more than 255 bytes
    kScheduleNameEmpty = 1031,
    kScheduleFolderForbidden = 1101,   ///< the user may not read the folder or the way to it
    kScheduleFolderUnkeepable = 1102,  ///< a path with ";", no UTF-8, or more than 1,023 bytes
    kScheduleServiceSilent = 1103,     ///< the service does not run or does not answer
    kScheduleNoSuchTask = 1104,        ///< none of this name that the user may see
    kScheduleTooManyTasks = 1105,      ///< the user has 100
    kScheduleBadRecord = 1106,         ///< a field of the record is out of its range
    kScheduleListUnusable = 1107,      ///< the list cannot be read or written: full disk, damage
    kScheduleAlreadyRunning = 1108,    ///< the task is being scanned or waits for its turn
    kScheduleNoSuchReport = 1109,      ///< none of this name that is the user's
};

// The entry points that must be there. All give true for success. `taskList` is the path of
// kScheduleTaskList in the product directory; `user` is the real user id of the caller.

/// Whether a new task may be called `name`; `reserved` is 1.
using PFNVALIDATETASKNAME = bool (*)(const char* name, int reserved, unsigned int user,
                                     unsigned int* error);

/// Adds the task in `entry`, which belongs to who calls from then on.
using PFNADDSCHEDULESCANTASK = bool (*)(const char* taskList, const tagSCHEDULE_SCAN_ENTRY* entry,
                                        unsigned int* error);

/// Whether the folder can be scanned by who calls. Answered in the calling process, with its
/// rights, without the service.
using PFNVALIDATEDIRECTORYPATH = bool (*)(const char* path, unsigned int* error);

/// Fills in the record whose `name` says which task; its folders are empty before.
using PFNGETSCHEDULESCANTASKDETAILS = bool (*)(const char* taskList, tagSCHEDULE_SCAN_ENTRY* entry,
                                               unsigned int user, unsigned int* error);

/// Replaces the task of the same name; it keeps its owner.
using PFNMODIFYSCHEDULESCANTASK = bool (*)(const char* taskList,
                                           const tagSCHEDULE_SCAN_ENTRY* entry, unsigned int user,
                                           unsigned int* error);

/// Fills `tasks`, which is empty before, with the user's tasks, root's with everybody's, in the
/// order in which they were added. True also for none.
using PFNREADSCHEDULESCANTASKLIST = bool (*)(const char* taskList, tagSCHEDULE_SCAN_ARRAY* tasks,
                                             unsigned int user, unsigned int* error);

/// Removes the task `name`.
using PFNDELETESCHEDULESCANTASK = bool (*)(const char* taskList, const char* name,
                                           unsigned int user, unsigned int* error);

inline constexpr char kValidateTaskName[] = "ValidateTaskName";
inline constexpr char kAddScheduleScanTask[] = "AddScheduleScanTask";
inline constexpr char kValidateDirectoryPath[] = "ValidateDirectoryPath";
inline constexpr char kGetScheduleScanTaskDetails[] = "GetScheduleScanTaskDetails";
inline constexpr char kModifyScheduleScanTask[] = "ModifyScheduleScanTask";
inline constexpr char kReadScheduleScanTaskList[] = "ReadScheduleScanTaskList";
inline constexpr char kDeleteScheduleScanTask[] = "DeleteScheduleScanTask";

// ---- Entry points that a library may have: both or none.

/// Bits of tagSCHEDULE_TASK_STATE::flags.
enum ScheduleStateFlag : std::uint32_t {
    kScheduleServiceRuns = 1,  ///< without it no task is run, and nextRun is 0
    kScheduleTaskRuns = 2,     ///< the task is being scanned
    kScheduleTaskWaits = 4,    ///< it is due and waits for its turn
};

/// How the last run ended.
enum ScheduleResult : std::uint32_t {
    kScheduleNeverRun = 0,
    kScheduleRunClean = 1,        ///< everything read, nothing found
    kScheduleRunFound = 2,        ///< something found; `infected` says how many
    kScheduleRunUnread = 3,       ///< nothing found, but `unread` files could not be read
    kScheduleRunNotStarted = 4,   ///< the scanner did not start or could not work
    kScheduleRunInterrupted = 5,  ///< the scanner or the service was ended on the way
    kScheduleRunTookTooLong = 6,  ///< ended after 24 hours
    kScheduleRunNoOwner = 7,      ///< the owner is gone, or another user has the number now
    kScheduleRunNoReport = 8,     ///< no report could be written, for example on a full disk
};

/// Why the last run was made.
enum ScheduleReason : std::uint32_t {
    kScheduleReasonNone = 0,
    kScheduleReasonDue = 1,     ///< its time had come
    kScheduleReasonMissed = 2,  ///< its time had come while nothing could run
    kScheduleReasonBoot = 3,    ///< the first boot of a due day
    kScheduleReasonRepeat = 4,  ///< a repetition on a due day
    kScheduleReasonAsked = 5,   ///< somebody asked for it
};

/// When a task runs and how it went, 576 bytes. The library fills in the record whole.
struct tagSCHEDULE_TASK_STATE {
    std::uint32_t size;         ///< 576
    std::uint32_t flags;        ///< ScheduleStateFlag bits
    std::int64_t nextRun;       ///< seconds since 1970; 0 when it is not known or there is none
    std::int64_t lastStart;     ///< seconds since 1970; 0 when it never ran
    std::int64_t lastEnd;       ///< seconds since 1970; 0 while it runs
    std::uint32_t lastResult;   ///< ScheduleResult
    std::uint32_t lastReason;   ///< ScheduleReason
    std::uint32_t infected;     ///< infected files of the last run
    std::uint32_t unread;       ///< files of the last run that could not be read
    char report[256];           ///< the last run's, its plain name in "reports/"; empty for none
    char detail[256];           ///< the system's words about a failure, UTF-8; may be empty
    std::uint8_t reserved[16];  ///< 0
};

static_assert(sizeof(tagSCHEDULE_TASK_STATE) == 576);
static_assert(offsetof(tagSCHEDULE_TASK_STATE, size) == 0);
static_assert(offsetof(tagSCHEDULE_TASK_STATE, flags) == 4);
static_assert(offsetof(tagSCHEDULE_TASK_STATE, nextRun) == 8);
static_assert(offsetof(tagSCHEDULE_TASK_STATE, lastStart) == 16);
static_assert(offsetof(tagSCHEDULE_TASK_STATE, lastEnd) == 24);
static_assert(offsetof(tagSCHEDULE_TASK_STATE, lastResult) == 32);
static_assert(offsetof(tagSCHEDULE_TASK_STATE, lastReason) == 36);
static_assert(offsetof(tagSCHEDULE_TASK_STATE, infected) == 40);
static_assert(offsetof(tagSCHEDULE_TASK_STATE, unread) == 44);
static_assert(offsetof(tagSCHEDULE_TASK_STATE, report) == 48);
static_assert(offsetof(tagSCHEDULE_TASK_STATE, detail) == 304);
static_assert(offsetof(tagSCHEDULE_TASK_STATE, reserved) == 560);

/// Fills `state` with how things stand with the task `name`; with an empty name only with the
/// service, all else is 0 then. Without the service it is false with kScheduleServiceSilent, but
/// for root, who reads the list itself: true without kScheduleServiceRuns.
using PFNGETSCHEDULETASKSTATE = bool (*)(const char* taskList, const char* name, unsigned int user,
                                         tagSCHEDULE_TASK_STATE* state, unsigned int* error);

/// Has the service run the task `name` as soon as its turn comes, as its owner. Does not wait for
/// the run. When it is due next does not change.
using PFNRUNSCHEDULETASKNOW = bool (*)(const char* taskList, const char* name, unsigned int user,
                                       unsigned int* error);

inline constexpr char kGetScheduleTaskState[] = "GetScheduleTaskState";
inline constexpr char kRunScheduleTaskNow[] = "RunScheduleTaskNow";

// ---- Another one that a library may have.

/// Has the service delete the report `report`, a plain name in "reports/", and its record in the
/// index, which is root's: one of who calls, root's any. Everybody else's records stay. Without the
/// service it is false with kScheduleServiceSilent.
using PFNDELETESCHEDULEREPORT = bool (*)(const char* report, unsigned int user,
                                         unsigned int* error);

inline constexpr char kDeleteScheduleReport[] = "DeleteScheduleReport";
