#pragma once

#include <map>
#include <string>

// Containers of every kind that Debian's packers make, and some that are put together by hand.

/// How a container is made: a shell script that runs in the folder of what goes in ("bad.com", if
/// it is to be found, "plain.txt" and "noise") and writes to "$OUT". "$WORK" is an empty folder.
/// The key is the kind, as it stands in the table of product/scanapi/README.md.
const std::map<std::string, std::string>& Packers();

/// The container of this kind; empty when the packer failed. `withFind`: with the test file in it.
std::string MakeSample(const std::string& kind, bool withFind);

/// What a packer of one's own makes, in the same way.
std::string RunPacker(const std::string& packer, bool withFind);
