#pragma once

namespace fetch {

/// Whether the open ".cld", a plain tar archive behind a head of 512 bytes, holds every file that
/// the list in it names. libclamav compares the files it comes by with the list, and misses none.
/// Says yes of what holds no list. Any thread.
bool HasListedFiles(int file);

}  // namespace fetch
