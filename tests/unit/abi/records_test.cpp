// The records exchanged with the loadable libraries, byte for byte as those were built to read
// them.

#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <type_traits>
#include <vector>

#include "abi/libdbmod.h"
#include "abi/opsitf.h"
#include "abi/scanapi.h"
#include "abi/scansts.h"
#include "abi/schdlscn.h"
#include "abi/system_time.h"
#include "abi/updturl.h"
#include "common/scan_settings.h"

namespace {

template <typename Record>
std::string Image(const Record& record) {
    static_assert(std::is_trivially_copyable_v<Record>);
    std::string bytes(sizeof record, '\0');
    std::memcpy(bytes.data(), &record, sizeof record);
    return bytes;
}

// A record that is zero all over, its padding included.
template <typename Record>
void Clear(Record& record) {
    std::memset(static_cast<void*>(&record), 0, sizeof record);
}

std::string Zeros(std::size_t count) {
    return std::string(count, '\0');
}

TEST(Records, SystemTimeHasEightLittleEndianFieldsInOrder) {
    const tagSYSTEMTIME time{0x07EA, 0x0B, 0x06, 0x15, 0x17, 0x3B, 0x3A, 0x03E7};
    EXPECT_EQ(Image(time),
              std::string("\xEA\x07\x0B\x00\x06\x00\x15\x00\x17\x00\x3B\x00\x3A\x00\xE7\x03", 16));
    EXPECT_TRUE((std::is_same_v<tagSYSTEMTIME, tagZQSYSTEMTIME>));
}

TEST(Records, VersionIsTwoNumbersAndADate) {
    const tagZQVERINFO version{0x0102, 0x0304, {2026, 2, 3, 4, 5, 6, 7, 8}};
    EXPECT_EQ(Image(version), std::string("\x02\x01\x04\x03"
                                          "\xEA\x07\x02\x00\x03\x00\x04\x00"
                                          "\x05\x00\x06\x00\x07\x00\x08\x00",
                                          20));
}

TEST(Records, FileInfoPlacesEveryField) {
    tagZQFILEINFO info;
    Clear(info);
    info.code = 0x03E9;
    std::memset(info.fileName, 'f', sizeof info.fileName);
    std::memset(info.virusName, 'v', sizeof info.virusName);
    info.detectionClass = 0x1122;
    info.detectionSubClass = 0x3344;
    EXPECT_EQ(Image(info), std::string("\xE9\x03") + std::string(1024, 'f') + Zeros(6) +
                               std::string(50, 'v') + "\x22\x11\x44\x33" + Zeros(10));
    EXPECT_EQ(Image(info).size(), 1096U);
}

TEST(Records, EngineOptionsPlaceEveryField) {
    tagSCANAPI_OPTIONS options;
    Clear(options);
    options.size = 546;
    options.fixed1 = 1;
    options.fixed2 = 5;
    options.scanArchives = 0x0A0B;
    options.scanPacked = 0x0C0D;
    std::memset(options.engineDirectory, 'e', sizeof options.engineDirectory);
    std::memset(options.temporaryDirectory, 't', sizeof options.temporaryDirectory);
    options.dumbScan = 0x0E0F;
    options.adwareLevel = 0x1011;
    options.extraFlags = kLabScanFlag;
    EXPECT_EQ(Image(options), std::string("\x22\x02\x01\x00\x05\x00\x0B\x0A\x0D\x0C", 10) +
                                  std::string(256, 'e') + std::string(256, 't') +
                                  std::string("\x0F\x0E\x11\x10\x00\x80", 6) + Zeros(18));
    EXPECT_EQ(Image(options).size(), 546U);
}

TEST(Records, ClientSettingPlacesEveryField) {
    tagCLIENTSETTINGDATA data;
    Clear(data);
    data.size = 256;
    data.category = 14;
    data.value = 1;
    data.passwordSet = 0x01020304;
    EXPECT_EQ(Image(data), std::string("\x00\x01\x00\x00\x0E\x00\x00\x00\x01\x00\x00\x00", 12) +
                               Zeros(16) + "\x04\x03\x02\x01" + Zeros(224));
    EXPECT_EQ(Image(data).size(), 256U);
}

TEST(Records, DatabaseResultPlacesEveryField) {
    const tagDBRESULT result{16, 1000, 5, 0};
    EXPECT_EQ(Image(result),
              std::string("\x10\x00\x00\x00\xE8\x03\x00\x00\x05\x00\x00\x00\x00\x00\x00\x00", 16));
}

TEST(Records, PasswordRecordPlacesEveryField) {
    tagPASSWORDRECORD record;
    Clear(record);
    record.size = 64;
    record.isSet = 1;
    record.changedAt = 0x0102030405060708;
    EXPECT_EQ(Image(record), std::string("\x40\x00\x00\x00\x01\x00\x00\x00", 8) +
                                 "\x08\x07\x06\x05\x04\x03\x02\x01" + Zeros(48));
    EXPECT_EQ(Image(record).size(), 64U);
}

TEST(Records, UpdateInfoPlacesEveryField) {
    tagUPDATEINFO info;
    Clear(info);
    info.status = 0x07D6;
    std::memset(info.fileName, 'f', sizeof info.fileName);
    EXPECT_EQ(Image(info), "\xD6\x07" + std::string(1024, 'f') + Zeros(16));
    EXPECT_EQ(Image(info).size(), 1042U);
}

TEST(Records, InternetSettingsPlaceEveryField) {
    tagZQINETCONFIG settings;
    Clear(settings);
    settings.useProxy = 0x0102;
    std::memset(settings.server, 's', sizeof settings.server);
    settings.port = 0x1F90;
    std::memset(settings.user, 'u', sizeof settings.user);
    std::memset(settings.password, 'p', sizeof settings.password);
    settings.authenticate = 0x0304;
    EXPECT_EQ(Image(settings), "\x02\x01" + Zeros(2) + std::string(260, 's') + "\x90\x1F" +
                                   std::string(260, 'u') + std::string(260, 'p') + "\x04\x03");
    EXPECT_EQ(Image(settings).size(), 788U);
    EXPECT_EQ(kUpdaterSettingsSize, 786U);
}

TEST(Records, StatusChangeIsItsKindAndZeros) {
    tagSTATUSCHANGE change;
    Clear(change);
    change.what = kStatusUpdateChanged;
    EXPECT_EQ(Image(change), "\x0A" + Zeros(63));
}

TEST(Records, ScheduledScanPlacesEveryFieldWithoutGaps) {
    tagSCHEDULE_SCAN_ENTRY entry;
    Clear(entry);
    std::memset(entry.name, 'n', sizeof entry.name);
    entry.frequency = 0x01;
    entry.startMode = 0x02;
    entry.hour = 0x0304;
    entry.minute = 0x0506;
    entry.second = 0x0708;
    entry.repeats = 0x09;
    entry.interval = 0x0A0B;
    entry.repeatValue = 0x0C0D;
    entry.repeatUnit = 0x0E;
    entry.weekday = 0x0F;
    std::memset(entry.reserved1, 'r', sizeof entry.reserved1);
    entry.action = 0x1011;
    entry.options = 0x12;
    std::memset(entry.reserved2, 's', sizeof entry.reserved2);
    entry.folders.begin = reinterpret_cast<tagSCAN_ITEM*>(0x2122232425262728);
    entry.folders.end = reinterpret_cast<tagSCAN_ITEM*>(0x3132333435363738);
    entry.folders.capacity = reinterpret_cast<tagSCAN_ITEM*>(0x4142434445464748);
    entry.userId = 0x51525354;
    EXPECT_EQ(Image(entry), std::string(256, 'n') +
                                "\x01\x02\x04\x03\x06\x05\x08\x07\x09\x0B\x0A\x0D\x0C\x0E\x0F"
                                "rr\x11\x10\x12" +
                                std::string(21, 's') +
                                "\x28\x27\x26\x25\x24\x23\x22\x21"
                                "\x38\x37\x36\x35\x34\x33\x32\x31"
                                "\x48\x47\x46\x45\x44\x43\x42\x41"
                                "\x54\x53\x52\x51");
    EXPECT_EQ(Image(entry).size(), 325U);
}

// Whoever keeps such an array in a vector may hand that out as it is.
TEST(Records, ArraysOfTheSchedulerAreLaidOutAsVectorsAre) {
    EXPECT_EQ(sizeof(std::vector<tagSCAN_ITEM>), sizeof(tagSCAN_ITEM_ARRAY));
    EXPECT_EQ(sizeof(std::vector<tagSCHEDULE_SCAN_ENTRY>), sizeof(tagSCHEDULE_SCAN_ARRAY));

    std::vector<tagSCAN_ITEM> items(2);
    items.reserve(5);
    tagSCAN_ITEM_ARRAY array;
    std::memcpy(&array, static_cast<const void*>(&items), sizeof array);
    EXPECT_EQ(array.begin, items.data());
    EXPECT_EQ(array.end, items.data() + 2);
    EXPECT_EQ(array.capacity, items.data() + 5);
}

TEST(Records, StateOfAScheduledScanPlacesEveryField) {
    tagSCHEDULE_TASK_STATE state;
    Clear(state);
    state.size = 576;
    state.flags = kScheduleServiceRuns | kScheduleTaskWaits;
    state.nextRun = 0x0102030405060708;
    state.lastStart = 0x1112131415161718;
    state.lastEnd = 0x2122232425262728;
    state.lastResult = kScheduleRunNoReport;
    state.lastReason = kScheduleReasonAsked;
    state.infected = 0x31323334;
    state.unread = 0x41424344;
    std::memset(state.report, 'r', sizeof state.report);
    std::memset(state.detail, 'd', sizeof state.detail);
    EXPECT_EQ(Image(state), std::string("\x40\x02\x00\x00\x05\x00\x00\x00", 8) +
                                "\x08\x07\x06\x05\x04\x03\x02\x01"
                                "\x18\x17\x16\x15\x14\x13\x12\x11"
                                "\x28\x27\x26\x25\x24\x23\x22\x21" +
                                std::string("\x08\x00\x00\x00\x05\x00\x00\x00", 8) +
                                "\x34\x33\x32\x31\x44\x43\x42\x41" + std::string(256, 'r') +
                                std::string(256, 'd') + Zeros(16));
    EXPECT_EQ(Image(state).size(), 576U);
}

TEST(Records, ScannerSettingsAreThreeBytes) {
    EXPECT_EQ(Image(tagSCNOPTS{0x0102, 0x0B}), std::string("\x02\x01\x0B"));
    EXPECT_EQ(Image(common::kDefaultScanSettings), std::string("\x01\x00\x0B", 3));
    EXPECT_EQ(Image(tagMYSCNOPTS{0x0003, 1}), std::string("\x03\x00\x01", 3));
}

TEST(Codes, EngineMessages) {
    EXPECT_EQ(kMsgVirusFound, 1001);
    EXPECT_EQ(kMsgFileClean, 1002);
    EXPECT_EQ(kMsgScanningMember, 1003);
    EXPECT_EQ(kMsgNeedsDecision, 1004);
    EXPECT_EQ(kMsgCannotRead, 1005);
    EXPECT_EQ(kMsgVirusFoundSecondKind, 1007);
    EXPECT_EQ(kMsgRepaired, 3001);
    EXPECT_EQ(kMsgRepairFailed, 3002);
    EXPECT_EQ(kMsgDeleted, 3003);
    EXPECT_EQ(kMsgSkipped, 3004);
    EXPECT_EQ(kMsgMarkedForDeletion, 3006);
}

TEST(Codes, EngineReplies) {
    EXPECT_EQ(kReplyDismiss, 2000);
    EXPECT_EQ(kReplyRepair, 2001);
    EXPECT_EQ(kReplyDelete, 2002);
    EXPECT_EQ(kReplyLeave, 2003);
    EXPECT_EQ(kReplyStop, 2004);
    EXPECT_EQ(kReplyGoOn, 2005);
    EXPECT_EQ(kOpenFailed, 0);
    EXPECT_EQ(kOpenRefused, 4001);
}

TEST(Codes, UpdateStatuses) {
    EXPECT_EQ(kUpdateConnecting, 2000);
    EXPECT_EQ(kUpdateLoadingFiles, 2001);
    EXPECT_EQ(kUpdateUnshown, 2002);
    EXPECT_EQ(kUpdateLoadingIndex, 2003);
    EXPECT_EQ(kUpdateProcessingFailed, 2004);
    EXPECT_EQ(kUpdateLoadingDefinitions, 2005);
    EXPECT_EQ(kUpdateLoadingNamedFile, 2006);
    EXPECT_EQ(kUpdateInstalling, 2015);
    EXPECT_EQ(kFirstUpdateStatus, 2000);
    EXPECT_EQ(kLastUpdateStatus, 2015);
}

TEST(Codes, UpdaterResultsAndReplies) {
    EXPECT_EQ(kUpdaterFailed, 0);
    EXPECT_EQ(kUpdaterUpdated, 1);
    EXPECT_EQ(kUpdaterUpToDate, 2);
    EXPECT_EQ(kUpdaterInterrupted, 3);
    EXPECT_EQ(kUpdaterInvalidFiles, 4);
    EXPECT_EQ(kUpdateGoOn, 1);
    EXPECT_EQ(kUpdateStop, 2);
}

TEST(Codes, SettingsDatabase) {
    EXPECT_EQ(kPasswordCategory, 14U);
    EXPECT_EQ(kPasswordValue, 1U);
    EXPECT_EQ(kDbPasswordAccepted, 1000U);
}

TEST(Codes, Scheduler) {
    EXPECT_EQ(kScheduleNameTaken, 1019U);
    EXPECT_EQ(kScheduleFolderNotFull, 1021U);
    EXPECT_EQ(kScheduleFolderMissing, 1022U);
    EXPECT_EQ(kScheduleFolderIsFile, 1023U);
    EXPECT_EQ(kScheduleNameCharacter, 1024U);
    EXPECT_EQ(kScheduleNameTakenByOther, 1026U);
    EXPECT_EQ(kScheduleFoldersRefused, 1029U);
    EXPECT_EQ(kScheduleNameTooLong, 1030U);
    EXPECT_EQ(kScheduleNameEmpty, 1031U);
}

TEST(Codes, FieldsOfAScheduledScan) {
    EXPECT_EQ(kScheduleDaily, 0);
    EXPECT_EQ(kScheduleWeekly, 1);
    EXPECT_EQ(kScheduleAtTime, 0);
    EXPECT_EQ(kScheduleAtFirstBoot, 1);
    EXPECT_EQ(kScheduleHours, 0);
    EXPECT_EQ(kScheduleMinutes, 1);
    EXPECT_EQ(kScheduleArchives, 1);
    EXPECT_EQ(kScheduleAdware, 2);
    EXPECT_EQ(kScheduleDumb, 4);
    EXPECT_EQ(kSchedulePacked, 8);
    EXPECT_EQ(kScheduleRepairOnly, 0);
    EXPECT_EQ(kScheduleRepairOrDelete, 1);
    EXPECT_EQ(kScheduleDelete, 2);
    EXPECT_EQ(kScheduleReportOnly, 3);
}

TEST(Codes, ScannerSettings) {
    EXPECT_EQ(kActionRepairOnly, 0);
    EXPECT_EQ(kActionRepairOrDelete, 1);
    EXPECT_EQ(kActionDelete, 2);
    EXPECT_EQ(kActionReportOnly, 3);
    EXPECT_EQ(kActionPrompt, 4);
    EXPECT_EQ(kScanArchives, 1);
    EXPECT_EQ(kScanAdware, 2);
    EXPECT_EQ(kScanDumb, 4);
    EXPECT_EQ(kScanPacked, 8);
}

TEST(Names, OfLibrariesAndEntryPoints) {
    EXPECT_STREQ(kScanApiLibrary, "scanapi.so");
    EXPECT_STREQ(kOpsLibrary, "opsitf.so");
    EXPECT_STREQ(kOpsIgnoreProcess, "OPSIgnoreProcess");
    EXPECT_STREQ(kOpsUnignoreProcess, "OPSUnignoreProcess");
    EXPECT_STREQ(kDbLibrary, "libdbmod.so");
    EXPECT_STREQ(kDbGetClientSettingData, "AvGetClientSettingData");
    EXPECT_STREQ(kDbVerifyPassword, "AvVerfiyPassword");
    EXPECT_STREQ(kSchedulerLibrary, "schdlscn.so");
    EXPECT_STREQ(kScheduleTaskList, "tsklst.inf");
    EXPECT_STREQ(kValidateTaskName, "ValidateTaskName");
    EXPECT_STREQ(kAddScheduleScanTask, "AddScheduleScanTask");
    EXPECT_STREQ(kValidateDirectoryPath, "ValidateDirectoryPath");
    EXPECT_STREQ(kGetScheduleScanTaskDetails, "GetScheduleScanTaskDetails");
    EXPECT_STREQ(kModifyScheduleScanTask, "ModifyScheduleScanTask");
    EXPECT_STREQ(kReadScheduleScanTaskList, "ReadScheduleScanTaskList");
    EXPECT_STREQ(kDeleteScheduleScanTask, "DeleteScheduleScanTask");
    EXPECT_STREQ(kUpdaterLibrary, "updturl.so");
    EXPECT_STREQ(kUpdateFromSite, "ZQUpdateFromSite");
    EXPECT_STREQ(kUpdateFromIndex, "UpdateFromIndex");
    EXPECT_STREQ(kStatusLibrary, "scansts.so");
    EXPECT_STREQ(kStatusCommunicateChange, "StsCommunicateChange");
}

}  // namespace
