#pragma once

namespace rapidupdate {

/// Whether NetworkManager says on the system bus that the way out is paid by volume, or guesses so.
/// False where there is no bus, no NetworkManager and no answer within two seconds: most machines
/// have none. Starts nothing. Any thread.
bool IsConnectionMetered();

}  // namespace rapidupdate
