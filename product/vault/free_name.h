#pragma once

namespace vault {

/// Gives the file `from` in the open folder the name `to`, never over another file. False with the
/// reason in errno, EEXIST where the name is taken. Any thread.
bool MoveToFreeName(int folder, const char* from, const char* to);

}  // namespace vault
