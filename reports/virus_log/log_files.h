#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <sys/types.h>

#include "common/file_descriptor.h"
#include "reports/virus_log/virus_record.h"

// The files of the virus log, all in "reports/" below the program directory. Their names can be
// foreseen and the folder is everybody's, so nothing is opened through a link. Any thread; who
// calls holds the mutex that guards the file.

namespace virus_log {

inline constexpr char kMainFile[] = "VirMain.dat";
inline constexpr char kRecordFile[] = "VirRcONE.dat";
inline constexpr char kSecondRecordFile[] = "VirRcTWO.dat";
inline constexpr char kOffsetFile[] = "RecOffset.dat";

/// Room for the name in "VirMain.dat" with a terminator.
inline constexpr std::size_t kLogFileNameSize = sizeof(tagVIRMAIN::fileName) + 1;

/// The full path of a file of the log.
std::string VirusLogPath(std::string_view name);

/// Makes "reports/" when it is missing.
void MakeVirusLogFolder();

/// Opens a file of the log read-write, or creates it with mode 0644.
common::FileDescriptor OpenLogFile(std::string_view name);

/// Opens a file of the log that is there already; `flags` is the access mode.
common::FileDescriptor OpenExistingLogFile(std::string_view name, int flags);

/// Makes a temporary file of the log, empty and open read-write, with mode 0644. What lies under
/// its name is removed first, whatever it is; where this user may not do that, an earlier temporary
/// file is emptied.
common::FileDescriptor OpenTemporaryLogFile(std::string_view name);

/// Deletes a file of the log. False when it is still there.
bool RemoveLogFile(std::string_view name);

/// Reads, or writes, all of `bytes` at `offset`. False when that many could not be.
bool ReadAt(int fd, off_t offset, std::span<std::byte> bytes);
bool WriteAt(int fd, off_t offset, std::span<const std::byte> bytes);

/// Lets everybody write `fd`, a file of this user's, if everybody can write "VirRcONE.dat": where
/// all users share the log, what one of them makes must not shut the others out.
void ShareAsRecords(int fd);

/// Whether a name is that of the main record file, or of the second one: it contains theirs in any
/// case.
bool IsMainRecordFile(std::string_view name);
bool IsSecondRecordFile(std::string_view name);

/// Makes the content of the open file `to` that of `from` and its mode 0755, where this user may
/// set it: what CopyFile does, but by descriptor, because everybody may put something else under a
/// path in "reports/" meanwhile. Nor is the target deleted when not all could be copied, which is
/// false.
bool CopyContent(int from, int to);

/// Gives the open file `to`, which is to take the place of `from`, its owner and the permission
/// bits `mode`. Who may not give files away stays the owner. False when the bits cannot be set.
bool TakeRights(int from, int to, mode_t mode);

/// Whether what was written to an open file has reached the disk, which it waits for. A file that
/// is to take the place of another one has to: after a power cut the name could be that of the new
/// file and the content nobody's.
bool IsOnDisk(int fd);

/// Gives the file `name` the name `target` in the place of the file that had it, and sees the
/// change on disk as far as it can. False with nothing changed.
bool RenameLogFile(std::string_view name, std::string_view target);

/// The size of an open file in bytes, -1 when it cannot be told.
off_t SizeOf(int fd);

/// Copies `length` bytes from one open file to another, at the given offsets. False on a short read
/// or a failed write.
bool CopyBytes(int from, off_t fromOffset, int to, off_t toOffset, std::uint64_t length);

}  // namespace virus_log

/// Reads the record file's name from "VirMain.dat", which is made when it is missing or short,
/// under mutex "10022" then. `name` has room for kLogFileNameSize bytes. False when the mutex stays
/// taken, the file cannot be made or read, or names no file inside "reports/".
bool GetFileNameFromMainFile(char* name);

namespace virus_log {

/// Writes the open "VirMain.dat": a reset is in progress and the second file receives records.
bool WriteResetMainFileHeader(int fd);

}  // namespace virus_log

/// Writes the open "VirMain.dat" as it is when no reset is in progress.
bool RestoreMainFileHeader(int fd);

/// Opens "RecOffset.dat" read-write, creating it with mode 0644. A descriptor that the caller
/// closes, or -1.
int OpenRecordOffsetDatabaseFile();

/// Stores a record's offset in the open "RecOffset.dat". False when it does not fit into 32 bits or
/// cannot be written.
bool WriteRecordOffsetDatabaseFile(int fd, long offset, unsigned int index);
