#pragma once

namespace virus_log {

inline constexpr char kKeptRecordFile[] = "tempdel.dat";

}  // namespace virus_log

/// Results of DeleteRecords; MergeFiles uses kDeleteIoFailed too.
enum DeleteResult : int {
    kDeleteNotReplaced = 134,   ///< the old file could not be removed or the new one renamed
    kDeleteIoFailed = 135,      ///< a read, write or seek failed
    kDeleteCannotCreate = 136,  ///< the temporary file could not be created
    kDeleteTooFew = 137,        ///< the file holds fewer records
    kDeleteBadRecord = 138,     ///< a record's strings could not be read
    kDeleteDone = 139,
    kDeleteNotReadable = 141,  ///< the file could not be prepared for reading
};

/// Removes the first `count` records of the record file `fileName` in "reports/" and stores where
/// the others lie in "RecOffset.dat". On every other result than 139 the file is as it was (but for
/// a table that can no longer be written once the records are replaced), and no temporary file
/// stays. The caller sees to it that nobody else writes the file.
int DeleteRecords(const char* fileName, unsigned int count);
