#pragma once

#include <memory>

#include "product/scanapi/pending_scan.h"

namespace scanapi {

/// Where files are handed in to be scanned with one set of databases. Any thread.
class FileScanner {
public:
    FileScanner() = default;
    virtual ~FileScanner() = default;
    FileScanner(const FileScanner&) = delete;
    FileScanner& operator=(const FileScanner&) = delete;

    /// Scans the file once its turn comes. Never null; finished at once when the file cannot be
    /// scanned.
    virtual std::shared_ptr<PendingScan> Submit(std::shared_ptr<TargetFile> file,
                                                const scanning::ScanProfile& profile,
                                                Urgency urgency) = 0;
};

}  // namespace scanapi
