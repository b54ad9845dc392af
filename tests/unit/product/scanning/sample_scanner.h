#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "product/scanning/library_engine.h"
#include "product/scanning/library_scan.h"
#include "tests/support/scratch.h"

/// libclamav with our own signature and further ones, and what a scan by it comes to.
class SampleScanner {
public:
    struct Result {
        scanning::ScanOutcome outcome;
        std::vector<std::string> members;  ///< as they were told of
    };

    /// `signatures`: further ones, as file name and contents.
    explicit SampleScanner(const std::vector<std::pair<std::string, std::string>>& signatures);

    static constexpr scanning::ScanProfile kAll{
        .archives = true, .packed = true, .unknownTypes = true, .unwanted = true};

    [[nodiscard]] Result Scan(std::string_view bytes,
                              const scanning::ScanProfile& profile = kAll) const;

    /// Whether libclamav by itself finds something that the profile asks for.
    [[nodiscard]] bool FindsByItself(std::string_view bytes,
                                     const scanning::ScanProfile& profile) const;

private:
    ScratchFolder m_folder;
    scanning::LoadedDatabases m_loaded;
    scanning::EngineOwner m_bare;  ///< calls nothing back
};

/// "clean", "infected", "unread" or "passed over", and after a colon why it is unread.
std::string VerdictOf(const scanning::ScanOutcome& outcome);
