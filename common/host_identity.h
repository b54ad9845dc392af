#pragma once

// Who and where this process is, as terminated texts of UTF-16 units. 1 for success, 0 for failure
// and for a null pointer. Any thread.

namespace common {

/// Room for any text of GetTheComputerName with its terminator, in units.
inline constexpr unsigned int kComputerNameSize = 65;

}  // namespace common

/// The NIS domain name, "(none)" on most machines. `*length` is the number of units that fit into
/// `out` beside its terminator; it becomes the name's length. 0 when it is too small for the name.
int GetDomainName(unsigned short* out, unsigned int* length);

/// The login name of the effective user. 0 when it has more than `capacity` units; `out` has room
/// for a terminator besides.
int GetTheUserName(unsigned short* out, unsigned int capacity);

/// The machine's node name; `out` has room for kComputerNameSize units.
int GetTheComputerName(unsigned short* out);
