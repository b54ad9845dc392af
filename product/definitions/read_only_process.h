#pragma once

namespace definitions {

/// From here on the process changes no file, starts no program and no process, and reaches no
/// network and no other process; what they try fails with EPERM. False, with the reason in errno,
/// where the kernel cannot do that. One thread.
bool BecomeReadOnly();

}  // namespace definitions
