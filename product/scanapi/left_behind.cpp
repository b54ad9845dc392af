#include "product/scanapi/left_behind.h"

#include <dlfcn.h>

namespace scanapi {

void KeepLibraryLoaded() {
    Dl_info here{};
    if (dladdr(reinterpret_cast<void*>(&KeepLibraryLoaded), &here) != 0) {
        // The handle is not needed: it is the flag that counts.
        (void)dlopen(here.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
    }
}

}  // namespace scanapi
