#include "app/start_up.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include <QApplication>
#include <QFile>
#include <QFont>
#include <QTranslator>
#include <QtGlobal>

#include "abi/opsitf.h"
#include "common/libraries.h"
#include "common/paths.h"
#include "common/run_state.h"
#include "common/text_field.h"
#include "widgets/display_name.h"
#include "widgets/house_style.h"
#include "widgets/messages.h"

namespace {

constexpr char kWaylandNotice[] =
    "notify-send -i /usr/lib/Corvane/Corvane/zq.png 'ZQ GUI scanner is not supported on Wayland "
    "Display Manager.' 'Please logout and switch to X11 display Server on Xorg.' ";

constexpr mode_t kReportsMode = 0777;
constexpr mode_t kTemporaryMode = 777;  // decimal, which is octal 1411: kept as it always was
constexpr mode_t kMadeDirectoryMode = 0666;

struct PipeCloser {
    void operator()(std::FILE* pipe) const { ::pclose(pipe); }
};

std::string_view Trimmed(std::string_view text) {
    constexpr std::string_view kWhiteSpace = " \t\n\r\v\f";
    const std::size_t first = text.find_first_not_of(kWhiteSpace);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(kWhiteSpace) - first + 1);
}

bool IsAscii(std::string_view text) {
    for (const char c : text) {
        if (static_cast<unsigned char>(c) > 0x7f) {
            return false;
        }
    }
    return true;
}

bool MakeDirectory(const char* path, mode_t mode) {
    if (::mkdir(path, mode) != 0) {
        return false;
    }
    // The mode set afterwards is what stays; a directory just made cannot be a link.
    (void)::chmod(path, kMadeDirectoryMode);
    return true;
}

void Complain(const char* what) {
    (void)std::fprintf(stderr, "corvane: %s\n", what);
}

QtMessageHandler otherMessages = nullptr;

void EndOnFatalMessage(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    if (type != QtFatalMsg) {
        otherMessages(type, context, text);
        return;
    }
    Complain("no window can be shown: no display can be reached, or no plug-in draws on it");
    Complain(text.toLocal8Bit().constData());
    Unregfromonlineprot(g_pCurrproc_pid);
    std::_Exit(EXIT_FAILURE);  // the application object is half made: nothing may be undone
}

}  // namespace

void RegisterWithOnAccessService() {
    void* library = nullptr;
    unsigned int status = 0;
    const auto ignoreProcess = reinterpret_cast<PFNOPSIGNOREPROCESS>(
        LoadDylibAndGetPFN(kOpsLibrary, kOpsIgnoreProcess, &library, &status));
    if (ignoreProcess == nullptr) {
        ZQFreeLibrary(library);
        return;
    }
    g_pCurrproc_pid = ::getpid();
    ignoreProcess(g_pCurrproc_pid, &status);
    // The library stays loaded: the service holds the registration for as long as the process runs.
}

int Unregfromonlineprot(int /*pid*/) {
    void* library = nullptr;
    unsigned int status = 0;
    const auto unignoreProcess = reinterpret_cast<PFNOPSUNIGNOREPROCESS>(
        LoadDylibAndGetPFN(kOpsLibrary, kOpsUnignoreProcess, &library, &status));
    if (unignoreProcess == nullptr) {
        ZQFreeLibrary(library);
        return 0;
    }
    return static_cast<int>(unignoreProcess(g_pCurrproc_pid, &status));
}

DisplayKind ProbeDisplay() {
    const std::unique_ptr<std::FILE, PipeCloser> pipe(::popen("echo $WAYLAND_DISPLAY", "r"));
    if (pipe == nullptr) {
        return DisplayKind::kUnknown;
    }
    std::array<char, 1024> line{};
    if (std::fgets(line.data(), static_cast<int>(line.size()), pipe.get()) == nullptr) {
        return DisplayKind::kX11;
    }
    return Trimmed(line.data()).empty() ? DisplayKind::kX11 : DisplayKind::kWayland;
}

void NotifyWaylandUnsupported() {
    // The notification is a courtesy: that it could not be shown changes nothing.
    [[maybe_unused]] const int shown = std::system(kWaylandNotice);
}

void SetApplicationFont() {
    QApplication::setFont(QFont(QStringLiteral("Tahoma"), 10));
}

DisplayNeeded::DisplayNeeded() {
    otherMessages = qInstallMessageHandler(EndOnFatalMessage);
}

DisplayNeeded::~DisplayNeeded() {
    qInstallMessageHandler(otherMessages);
}

void SetApplicationStyle() {
    QApplication::setStyle(new HouseStyle);
}

bool RecordApplicationDirectory() {
    return RecordApplicationDirectory(
        QFile::encodeName(QApplication::applicationDirPath()).toStdString());
}

bool RecordApplicationDirectory(const std::string& directory) {
    if (directory.empty() || !IsAscii(directory)) {
        return false;
    }
    std::string path = directory;
    if (path.back() != '/') {
        path += '/';
    }
    if (path.size() >= sizeof(g_szAppPath)) {
        // A cut path would be another directory.
        Complain("the path of the program's directory is longer than 255 bytes");
        return false;
    }
    return common::CopyToField(g_szAppPath, path);
}

bool InstallTranslation(QTranslator& translator, const char* languageCode) {
    const std::string file =
        common::InProgramDirectory(std::string("zqscan_") + languageCode + ".qm");
    if (IsValidPath(file.c_str()) == 0) {
        ShowWarning(nullptr, QStringLiteral("File error"),
                    QStringLiteral("Cannot find translation for language: ") + DisplayName(file) +
                        QStringLiteral("\n(try for 'en' )"));
        return false;
    }
    QApplication::removeTranslator(&translator);
    // A file that holds no translation leaves the built-in English texts.
    if (translator.load(QFile::decodeName(file.c_str()), QStringLiteral("."))) {
        QApplication::installTranslator(&translator);
    }
    return true;
}

bool MakeReportsDirectory() {
    const std::string path = common::InProgramDirectory("reports");
    return IsValidPath(path.c_str()) != 0 || MakeDirectory(path.c_str(), kReportsMode);
}

bool MakeTemporaryDirectory(const char* path) {
    return ::access(path, W_OK) == 0 || MakeDirectory(path, kTemporaryMode);
}

void OpenScanLog() {
    common::CopyToField(g_szLogFile, kScanLog);
}
