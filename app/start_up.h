#pragma once

#include <string>

class QApplication;
class QTranslator;

// The steps of start-up, in the order in which main() takes them. GUI thread only.

inline constexpr char kTemporaryDirectory[] = "/tmp/";
/// Held while the program runs, so that it runs once on a machine.
inline constexpr char kInstanceLock[] = "/tmp/scan.lck";
/// The doubled slash is the name other programs of the product know.
inline constexpr char kScanLog[] = "/tmp//zqscanfile";

/// What the probe for a display server found.
enum class DisplayKind { kX11, kWayland, kUnknown };

/// Asks the on-access protection to leave this process alone; nothing happens where there is none.
void RegisterWithOnAccessService();

/// Undoes the registration of the process g_pCurrproc_pid; the argument is not looked at.
/// The service's own result, 0 where there is none.
int Unregfromonlineprot(int pid);

/// Reads WAYLAND_DISPLAY through the shell. Unknown when no shell could be started.
DisplayKind ProbeDisplay();

/// Tells the user through a desktop notification why the program ends.
void NotifyWaylandUnsupported();

/// Sets the font of all windows; to be called before the application object exists.
void SetApplicationFont();

/// While one lives, what the toolkit cannot go on without, a display that can be reached above all,
/// ends the process as start-up ends: a line on standard error, the on-access registration undone,
/// status 1. The toolkit's own way is to abort. One at a time.
class DisplayNeeded {
public:
    DisplayNeeded();
    ~DisplayNeeded();
    DisplayNeeded(const DisplayNeeded&) = delete;
    DisplayNeeded& operator=(const DisplayNeeded&) = delete;
};

/// Gives all windows the style of the house; to be called when the application object exists.
void SetApplicationStyle();

/// Records the directory of the running program, with its trailing "/", in g_szAppPath.
/// False, with nothing recorded, when it is no ASCII text, and after a line on standard error when
/// it does not fit.
bool RecordApplicationDirectory();

/// The same for a directory given as text.
bool RecordApplicationDirectory(const std::string& directory);

/// Installs the translation for a language code. False, after a warning, when there is none.
bool InstallTranslation(QTranslator& translator, const char* languageCode);

/// Makes the folder for reports in the application directory unless it is there.
bool MakeReportsDirectory();

/// Makes the folder for temporary files unless it is there and can be written.
bool MakeTemporaryDirectory(const char* path = kTemporaryDirectory);

/// From here on diagnostics go to kScanLog.
void OpenScanLog();
