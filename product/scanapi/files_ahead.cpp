#include "product/scanapi/files_ahead.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <fcntl.h>
#include <new>
#include <string_view>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "common/file_state.h"
#include "common/text_field.h"
#include "product/scanapi/local_file_systems.h"
#include "product/scanapi/signals_held.h"

namespace scanapi {

namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::seconds;

// By then a change through a mapping has reached the disk, and the next one shows in the times.
constexpr nanoseconds kSettled = seconds(60);
// Two changes closer to each other may get the same time.
constexpr nanoseconds kTick = milliseconds(100);
// How soon after its end a scan is noticed, and a writer that waits for a lease.
constexpr milliseconds kLookInterval(2);

nanoseconds SinceEpoch(const timespec& time) {
    return seconds(time.tv_sec) + nanoseconds(time.tv_nsec);
}

/// How long ago the file was changed last; less than nothing when its times are in the future.
nanoseconds AgeOf(const struct stat& file) {
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return SinceEpoch(now) - std::max(SinceEpoch(file.st_mtim), SinceEpoch(file.st_ctim));
}

std::size_t SizeOf(const std::vector<std::string>& members) {
    std::size_t size = 0;
    for (const std::string& member : members) {
        size += sizeof(std::string) + member.size();
    }
    return size;
}

}  // namespace

bool FilesAhead::IsSame(const struct stat& left, const struct stat& right) {
    return common::IsSameFile(left, right) && common::IsUnchanged(left, right);
}

FilesAhead::~FilesAhead() {
    Stop();
}

void FilesAhead::Stop() {
    m_hints.Close();
    {
        const std::lock_guard lock(m_mutex);
        ForgetScans();
    }
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void FilesAhead::ForgetScans() {
    for (Scan& scan : m_scans) {
        GiveUp(scan, true);
    }
    m_scans.clear();
    m_isOpeningWanted = false;
}

void FilesAhead::GiveUp(Scan& scan, bool force) {
    if (scan.pending != nullptr) {
        scan.pending->Abandon(force);
        --m_underWay;
    }
}

void FilesAhead::Use(const std::shared_ptr<FileScanner>& scanner,
                     const scanning::ScanProfile& profile) {
    const std::lock_guard lock(m_mutex);
    if (m_hints.IsClosed()) {
        return;
    }
    if (m_scanner.lock() != scanner || m_profile != profile) {
        ForgetScans();
        m_scanner = scanner;
        m_profile = profile;
    }
    StartThread();
}

void FilesAhead::StartThread() {
    if (m_thread.joinable()) {
        return;
    }
    // The thread inherits the mask: no signal of the program's may end up in it, and those that a
    // lease brings are told to it and go nowhere.
    const SignalsHeld held;
    try {
        m_thread = std::thread(&FilesAhead::Run, this);
    } catch (const std::system_error&) {
        m_hints.Forget();  // the files are scanned when the program opens them
    }
}

std::shared_ptr<PendingScan> FilesAhead::Take(const std::shared_ptr<TargetFile>& file) {
    const std::lock_guard lock(m_mutex);
    if (m_hints.TakeForgotten()) {
        ForgetScans();
    }
    const auto found = std::find_if(m_scans.begin(), m_scans.end(),
                                    [&](const Scan& each) { return each.path == file->Path(); });
    if (found == m_scans.end()) {
        if (IsStillToOpen(file->Path())) {
            DropFirst(m_scans.size());
        }
        return nullptr;
    }
    DropFirst(static_cast<std::size_t>(found - m_scans.begin()));
    Scan& scan = m_scans.front();
    std::shared_ptr<PendingScan> pending;
    if (!IsWorthless(scan) && IsSame(scan.opened, file->Opened())) {
        if (scan.pending != nullptr) {
            // From here on like any scan of an open file: the lease need not keep writers away.
            pending = std::move(scan.pending);
            --m_underWay;
        } else {
            pending = PendingScan::Finished(file, m_profile, std::move(scan.members),
                                            std::move(scan.outcome));
        }
    }
    DropFirst(1);
    return pending;
}

// Whether the thread was still to open this file; it will not do so any more.
bool FilesAhead::IsStillToOpen(const std::string& path) {
    const bool isOpened = m_isOpening && m_isOpeningWanted && m_opening == path;
    const bool isStillToOpen = isOpened || m_hints.PassOver(path);
    m_isOpeningWanted = m_isOpeningWanted && !isStillToOpen;
    return isStillToOpen;
}

void FilesAhead::DropFirst(std::size_t count) {
    if (count > 0 && m_scans.size() >= kMostScanned) {
        m_hints.Wake();  // there is room again
    }
    for (; count > 0; --count) {
        GiveUp(m_scans.front(), false);
        m_scans.pop_front();
    }
}

bool FilesAhead::HasRoom() const {
    return m_underWay < kMostUnderWay && m_scans.size() < kMostScanned;
}

void FilesAhead::Run() noexcept {
    auto lastSweep = std::chrono::steady_clock::now();
    std::unique_lock lock(m_mutex);
    while (!m_hints.IsClosed()) {
        bool hasOpened = false;
        try {
            hasOpened = HasRoom() && OpenNext(lock);
            // Also between two files: a writer waits for no more than one to be opened.
            const auto now = std::chrono::steady_clock::now();
            if (!hasOpened || now - lastSweep >= kLookInterval) {
                Sweep();
                lastSweep = now;
            }
        } catch (const std::bad_alloc&) {
            m_hints.Forget();
        }
        if (!hasOpened) {
            WaitForMore(lock);
        }
    }
}

void FilesAhead::WaitForMore(std::unique_lock<std::mutex>& lock) {
    const bool wantsHint = HasRoom();
    const auto limit = m_underWay > 0 ? std::optional(kLookInterval) : std::nullopt;
    lock.unlock();
    m_hints.Wait(wantsHint, limit);
    lock.lock();
    if (m_hints.TakeForgotten()) {
        ForgetScans();
    }
}

// False when nothing is left to open.
bool FilesAhead::OpenNext(std::unique_lock<std::mutex>& lock) {
    const auto [forget, hint] = m_hints.TakeNext();
    if (forget) {
        ForgetScans();
    }
    const auto scanner = m_scanner.lock();
    if (!hint || scanner == nullptr) {
        return hint.has_value();
    }
    const scanning::ScanProfile profile = m_profile;
    m_opening = hint->path;
    m_isOpening = m_isOpeningWanted = true;
    lock.unlock();
    Scan scan;
    bool hasBegun = false;
    try {
        hasBegun = Begin(*hint, *scanner, profile, scan);
    } catch (const std::bad_alloc&) {
        hasBegun = false;  // it is scanned when the program opens it
    }
    lock.lock();
    m_isOpening = false;
    if (m_hints.TakeForgotten()) {
        ForgetScans();
    }
    if (hasBegun && !m_isOpeningWanted) {
        scan.pending->Abandon(true);
    } else if (hasBegun) {
        m_scans.push_back(std::move(scan));
        ++m_underWay;
    }
    return true;
}

std::shared_ptr<TargetFile> FilesAhead::Open(const HintLine::Hint& hint) {
    if (hint.folder == nullptr) {
        const auto folder = TargetFile::OpenFolderAhead(hint.path.substr(0, hint.name));
        return folder && IsOnLocalFileSystem(folder.Get())
                   ? TargetFile::OpenAhead(folder.Get(), hint.path, hint.name)
                   : nullptr;
    }
    if (m_folder.lock() != hint.folder) {
        m_folder = hint.folder;
        m_isFolderLocal = IsOnLocalFileSystem(hint.folder->Get());
    }
    return m_isFolderLocal ? TargetFile::OpenAhead(hint.folder->Get(), hint.path, hint.name)
                           : nullptr;
}

bool FilesAhead::Begin(const HintLine::Hint& hint, FileScanner& scanner,
                       const scanning::ScanProfile& profile, Scan& scan) {
    auto open = std::make_unique<OpenFile>();
    open->file = Open(hint);
    if (open->file == nullptr) {
        return false;
    }
    scan.opened = open->file->Opened();
    const nanoseconds age = AgeOf(scan.opened);
    if (age < kSettled) {
        if (age < kTick) {
            return false;
        }
        // What was changed before the lease was there shows when the program opens the file: its
        // time is another one by then.
        open->lease.emplace(open->file->Descriptor(), ::gettid());
        if (!open->lease->IsHeld()) {
            return false;
        }
    }
    scan.path = hint.path;
    scan.pending = scanner.Submit(open->file, profile, Urgency::kAhead);
    scan.open = std::move(open);
    return true;
}

// Takes what has finished, and drops what is not to be believed.
void FilesAhead::Sweep() {
    const auto worthless = [this](Scan& scan) {
        const bool isToDrop = IsWorthless(scan);
        if (isToDrop) {
            GiveUp(scan, false);
        }
        return isToDrop;
    };
    m_scans.erase(std::remove_if(m_scans.begin(), m_scans.end(), worthless), m_scans.end());
    LetGoOfTooMuch();
}

// Whether what was or will be found cannot be used. Takes it when the scan has finished.
bool FilesAhead::IsWorthless(Scan& scan) {
    if (scan.pending == nullptr) {
        return false;
    }
    // In this order: the lease covers the whole scan if it holds after its end.
    const bool isFinished = scan.pending->IsFinished();
    if (scan.open->lease && scan.open->lease->IsBroken()) {
        return true;
    }
    if (!isFinished) {
        scan.held = scan.pending->ToldBytes();
        return false;
    }
    scan.members = scan.pending->WaitForNews(milliseconds(0)).members;
    scan.outcome = scan.pending->TakeOutcome();
    scan.held = SizeOf(scan.members);
    scan.pending.reset();
    scan.open.reset();
    --m_underWay;
    return scan.outcome.verdict == scanning::Verdict::Stopped;
}

void FilesAhead::LetGoOfTooMuch() {
    std::size_t held = 0;
    for (const Scan& scan : m_scans) {
        held += scan.held;
    }
    while (held > kMostHeld) {
        held -= m_scans.back().held;
        GiveUp(m_scans.back(), true);
        m_scans.pop_back();
    }
}

}  // namespace scanapi
