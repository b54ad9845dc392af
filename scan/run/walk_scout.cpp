#include "scan/run/walk_scout.h"

#include <algorithm>
#include <fcntl.h>
#include <functional>
#include <sys/resource.h>
#include <sys/stat.h>
#include <utility>

#include "common/file_descriptor.h"
#include "scan/run/scan_engine.h"

namespace scan {

namespace {

using Step = TreeCursor::Step;

constexpr std::size_t kMostAhead = 384;  // files
constexpr std::size_t kBatch = 32;       // files that are told together
constexpr int kMostSteps = 512;          // entries looked at before one file is scanned
constexpr std::size_t kMostLevels = 64;  // each is an open directory
constexpr std::size_t kMostOfPath = kWalkPathSize - 1;

// A walk down the longest path there is has some five hundred directories open. With this many
// descriptors there are enough beside it for the scout and for what the engine does with its hints.
constexpr rlim_t kEnoughDescriptors = 1024;

bool HasEnoughDescriptors() {
    rlimit limit{};
    return ::getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur >= kEnoughDescriptors;
}

std::size_t DigestOf(std::string_view path) {
    return std::hash<std::string_view>()(path);
}

bool IsRegularFile(const char* path) {
    struct stat status {};
    return ::lstat(path, &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace

WalkScout::WalkScout(ScanEngine& engine, const StopFlag& stop, const PathFilter* filter)
    : m_engine(engine),
      m_stop(stop),
      m_mayRun(HasEnoughDescriptors()),
      m_cursor(kMostLevels, filter) {}

void WalkScout::Forget() {
    m_told.clear();
    if (std::exchange(m_hasTold, false)) {
        m_engine.FilesAhead(-1, "", {});
    }
}

void WalkScout::BeforeFile(const TreeCursor& walk) {
    if (!m_mayRun) {
        return;
    }
    if (MustStartAt(walk.Path())) {
        m_cursor.StartAt(walk);
    }
    GoAhead();
}

void WalkScout::BeforeListedFile(const char* path) {
    if (!m_mayRun) {
        return;
    }
    if (MustStartAt(path)) {
        m_cursor.Start(path);  // no directory: at its end
    }
    GoAhead();
}

/// Whether the scout has to begin behind this file of the walk, all that was told being behind.
bool WalkScout::MustStartAt(const char* path) {
    const auto found = std::find(m_told.begin(), m_told.end(), DigestOf(path));
    if (found != m_told.end()) {
        m_told.erase(m_told.begin(), found + 1);
        m_missed = 0;
        return false;
    }
    if (!m_told.empty() && ++m_missed < kMostAhead) {
        return false;
    }
    // The walk may have overtaken the scout, or what was told is not there any more.
    if (!m_told.empty()) {
        Forget();
    }
    m_next = m_behind;
    m_missed = 0;
    return true;
}

void WalkScout::GoAhead() {
    if (m_told.size() + kBatch > kMostAhead) {
        return;
    }
    for (int step = 0; step < kMostSteps && m_told.size() < kMostAhead && !m_stop.IsSet(); ++step) {
        const Step met = m_cursor.Advance();
        if (met == Step::kFile) {
            Take();
        } else if (met == Step::kEnd && !StartNextPath()) {
            break;
        }
    }
    Tell();
}

bool WalkScout::StartNextPath() {
    if (m_next.empty()) {
        return false;
    }
    const char* const path = m_next.front();
    m_next = m_next.subspan(1);
    if (m_hasFiles && IsRegularFile(path)) {
        TakeListed(path);
    } else {
        m_cursor.Start(path);  // the walk passes over one that cannot be opened, too
    }
    return true;
}

/// One whose name the engine could not put together again from folder and file is not told.
void WalkScout::TakeListed(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string_view::npos || path.size() > kMostOfPath ||
        (slash > 0 && path[slash - 1] == '/')) {
        return;
    }
    const std::string_view folder = path.substr(0, std::max<std::size_t>(slash, 1));
    if (m_folder == nullptr || m_path != folder || m_names.size() == kBatch) {
        Tell();
        auto opened = std::make_shared<const common::FileDescriptor>(
            ::open(std::string(folder).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        if (!opened->IsOpen()) {
            return;
        }
        m_folder = std::move(opened);
        m_path = folder;
    }
    m_told.push_back(DigestOf(path));
    m_names.emplace_back(path.substr(slash + 1));
}

void WalkScout::Take() {
    if (m_names.size() == kBatch || m_folder != m_cursor.Folder()) {
        Tell();
    }
    m_told.push_back(DigestOf(m_cursor.Path()));
    m_names.emplace_back(m_cursor.Name());
    if (m_folder == nullptr) {
        m_folder = m_cursor.Folder();
        m_path = m_cursor.Directory();
    }
}

void WalkScout::Tell() {
    if (m_names.empty()) {
        return;
    }
    m_readAhead.Ahead(m_path, m_names);
    std::vector<const char*> names(m_names.size());
    std::transform(m_names.begin(), m_names.end(), names.begin(),
                   [](const std::string& name) { return name.c_str(); });
    m_engine.FilesAhead(m_folder->Get(), m_path.c_str(), names);
    m_hasTold = true;
    m_names.clear();
    m_folder.reset();
}

}  // namespace scan
