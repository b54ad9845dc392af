#pragma once

#include <string>

#include "product/updturl/asker.h"

namespace updturl {

/// A whole update, as the asker requests it: the stage that downloads, then the installation, under
/// the updater's own lock. They are told the result, and it is written down beside the definitions.
/// `program` is this one, for the stage. As root the process becomes the user that installs. 0 for
/// a result other than kUpdaterFailed, else 1. Once, in a process of one thread.
int RunUpdate(Asker& asker, const std::string& program);

}  // namespace updturl
