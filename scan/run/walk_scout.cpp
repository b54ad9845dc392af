#include "scan/run/walk_scout.h"

#include <algorithm>
#include <functional>
#include <string_view>
#include <sys/resource.h>
#include <utility>

#include "scan/run/scan_engine.h"

namespace scan {

namespace {

using Step = TreeCursor::Step;

constexpr std::size_t kMostAhead = 384;  // files
constexpr std::size_t kBatch = 32;       // files that are told together
constexpr int kMostSteps = 512;          // entries looked at before one file is scanned
constexpr std::size_t kMostLevels = 64;  // each is an open directory

// A walk down the longest path there is has some five hundred directories open. With this many
// descriptors there are enough beside it for the scout and for what the engine does with its hints.
constexpr rlim_t kEnoughDescriptors = 1024;

bool HasEnoughDescriptors() {
    rlimit limit{};
    return ::getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur >= kEnoughDescriptors;
}

std::size_t DigestOf(const char* path) {
    return std::hash<std::string_view>()(path);
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
    const auto found = std::find(m_told.begin(), m_told.end(), DigestOf(walk.Path()));
    if (found != m_told.end()) {
        m_told.erase(m_told.begin(), found + 1);
        m_missed = 0;
    } else if (m_told.empty() || ++m_missed == kMostAhead) {
        // The walk may have overtaken the scout, or what was told is not there any more.
        if (!m_told.empty()) {
            Forget();
        }
        m_cursor.StartAt(walk);
        m_next = m_behind;
        m_missed = 0;
    }
    if (m_told.size() + kBatch <= kMostAhead) {
        GoAhead();
    }
}

void WalkScout::GoAhead() {
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
    m_cursor.Start(m_next.front());  // the walk passes over one that cannot be opened, too
    m_next = m_next.subspan(1);
    return true;
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
