#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

#include "product/definitions/candidate.h"
#include "product/definitions/limited_child.h"

namespace definitions {

enum class InstallStep {
    kCopying,
    kChecking,   ///< signatures of databases
    kLoading,    ///< all of them once, to see that they can be
    kSwitching,  ///< asked once: after a true nothing stops the switch
    kBackup,     ///< the new definitions are in use by then
};

/// Told what an installation does, on the thread that installs.
class InstallObserver {
public:
    virtual ~InstallObserver() = default;

    /// Asked again and again, at least four times a second; false stops the installation, or of
    /// kBackup the backup alone.
    virtual bool GoOn(InstallStep step) = 0;

    /// A database of the candidate is damaged or of somebody else, and left out; the log names it.
    virtual void Refused() {}

    /// A line for the log, without a newline.
    virtual void Log(const std::string& line) = 0;
};

enum class Outcome {
    kInstalled,
    kUpToDate,
    kRefused,       ///< a signature, a digest, an age or a database is wrong; nothing of it is used
    kNothingValid,  ///< no definitions with a valid signature in the folder
    kStopped,
    kLocked,  ///< another process installs
    kFailed,  ///< of a full disk, for instance
};

struct InstallResult {
    Outcome outcome = Outcome::kFailed;
    std::string why;   ///< in words; empty for kInstalled
    pid_t holder = 0;  ///< of kLocked: the other process, 0 when unknown
};

struct InstallOptions {
    std::string productDirectory;  ///< with "/" at its end; has the folders "defs", "updturl.keys"
    std::optional<std::string> backupFolder;  ///< where the files of the new set are kept, too
    ChildLimits limits;
};

/// Makes a set of definitions out of the candidate and puts it into use; the one in use before
/// stays for a way back. Whatever fails, and whenever the process is killed, the old set stays in
/// use or the new one is, whole; the next run removes what is left over.
///
/// Databases of the set in use that the candidate does not bring stay in use: those with a
/// signature of their own unless the old index named them, and all of them when the candidate has
/// no index. Nothing older replaces anything newer. The calling process has one thread.
InstallResult Install(const Candidate& candidate, const InstallOptions& options,
                      InstallObserver& observer);

}  // namespace definitions
