#include "product/definitions/folder_names.h"

#include <algorithm>
#include <fcntl.h>
#include <memory>

#include "common/directory_reader.h"
#include "common/file_descriptor.h"
#include "common/retrying.h"

namespace definitions {

std::vector<std::string> NamesIn(int folder) {
    const common::FileDescriptor own(common::Retrying(
        [&] { return ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
    const auto reader = std::make_unique<common::DirectoryReader>();
    reader->Start(own.Get(), common::DirectoryReader::Want::kAll);
    std::vector<std::string> names;
    while (const auto entry = reader->Next()) {
        names.emplace_back(entry->name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace definitions
