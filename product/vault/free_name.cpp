#include "product/vault/free_name.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace vault {

bool MoveToFreeName(int folder, const char* from, const char* to) {
    if (renameat2(folder, from, folder, to, RENAME_NOREPLACE) == 0) {
        return true;
    }
    // Some file systems cannot move without replacing.
    return (errno == EINVAL || errno == ENOSYS) && linkat(folder, from, folder, to, 0) == 0 &&
           unlinkat(folder, from, 0) == 0;
}

}  // namespace vault
