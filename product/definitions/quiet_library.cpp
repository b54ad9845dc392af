#include "product/definitions/quiet_library.h"

#include <clamav.h>

namespace definitions {

bool StartQuietLibrary() {
    cl_set_clcb_msg([](cl_msg, const char*, const char*, void*) {});
    return cl_init(CL_INIT_DEFAULT) == CL_SUCCESS;
}

}  // namespace definitions
