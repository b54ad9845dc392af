#pragma once

#include <string>
#include <string_view>

namespace reports {

/// What became of SaveCopy.
struct SaveOutcome {
    /// How it went wrong in general.
    enum Kind {
        kSaved,
        kNotRegular,    ///< a folder, device, FIFO or socket: nothing was opened or changed
        kFailed,        ///< for the reason in `error`; a file that was there holds what it held
        kLostOldBytes,  ///< as kFailed, and what the file held could not be put back either
    };
    Kind kind = kSaved;
    int error = 0;  ///< an errno value for kFailed and kLostOldBytes
};

/// Makes `bytes` the whole contents of the file `path`, on disk when it returns.
///
/// A file that is there is written in place, so that it keeps its owner, its mode and its further
/// names; a link is followed, because the person chose it. Room is reserved before the first byte
/// is changed, the rest of a longer file is cut last, and what was overwritten is put back when
/// anything fails, an error on closing included. What was overwritten is kept in memory meanwhile:
/// a power cut between the two loses it. A missing file is created with mode 0666 less the umask,
/// and removed when anything fails; a link that leads to no file is not followed into creating one.
///
/// Never waits at a FIFO, opens no device, and writes nothing beyond RLIMIT_FSIZE, whose signal
/// would end the program. A file that may be written but not read fails with EACCES. Takes as long
/// as the disk does. Any thread.
SaveOutcome SaveCopy(const std::string& path, std::string_view bytes);

}  // namespace reports
