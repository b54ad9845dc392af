#pragma once

/// While one lives, the kernel protects files as with fs.protected_regular=2, the default of many
/// systems, in folders that everybody may write and as if all of them were another user's: opening
/// one that exists is refused with EACCES where O_CREAT is given, but O_EXCL is not. The test is
/// linked with "-Wl,--wrap=open,--wrap=openat" and compiles protected_folders.cpp. One at a time.
class ProtectedFolders {
public:
    ProtectedFolders();
    ~ProtectedFolders();
    ProtectedFolders(const ProtectedFolders&) = delete;
    ProtectedFolders& operator=(const ProtectedFolders&) = delete;
};
