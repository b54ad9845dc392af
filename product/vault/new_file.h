#pragma once

#include <string>
#include <sys/types.h>

#include "common/file_descriptor.h"

namespace vault {

/// A file in the making: under a name nobody can foresee, for its maker alone, until it is whole.
/// Gone with the object unless it was finished. For one thread.
class NewFile {
public:
    /// In the open folder `folder`, which outlives it. Get() is -1 on failure, with the reason in
    /// errno.
    explicit NewFile(int folder);
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    [[nodiscard]] int Get() const { return m_file.Get(); }

    /// Syncs it and gives it its name, never over another file's; the name is on the disk then.
    /// False with the reason in errno.
    bool Finish(const std::string& name);

private:
    int m_folder;
    std::string m_name;
    common::FileDescriptor m_file;
};

}  // namespace vault
