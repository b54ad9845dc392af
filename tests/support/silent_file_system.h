#pragma once

/// While one lives, the kernel lists directories like a file system that does not say what an entry
/// is: every type is DT_UNKNOWN. The test is linked with "-Wl,--wrap=getdents64" and compiles
/// silent_file_system.cpp. One at a time.
class SilentFileSystem {
public:
    SilentFileSystem();
    ~SilentFileSystem();
    SilentFileSystem(const SilentFileSystem&) = delete;
    SilentFileSystem& operator=(const SilentFileSystem&) = delete;

    /// How many types were withheld since the last one began.
    static int EntriesWithheld();
};
