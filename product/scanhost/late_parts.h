#pragma once

namespace scanhost {

/// Opens what libraries otherwise open in the middle of a scan, when no file can be opened any
/// more: the time zone and the tables of character sets. They stay open. In the host, before the
/// first worker is forked; a scan of one sample after it opens what the library itself still lacks.
void OpenLateParts();

}  // namespace scanhost
