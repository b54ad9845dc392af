#pragma once

namespace scan {

/// Raises the limit on open descriptors to what the system allows this process: a walk holds one
/// open for each level of the tree. True when the limit is at its highest afterwards. Called once,
/// at start-up.
bool RaiseDescriptorLimit();

}  // namespace scan
