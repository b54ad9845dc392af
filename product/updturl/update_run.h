#pragma once

#include <optional>
#include <string>

#include "product/updturl/account.h"
#include "product/updturl/asker.h"

namespace updturl {

/// A whole update, as the asker requests it: the stage that downloads, then the installation, under
/// the updater's own lock. They are told the result, and it is written down beside the definitions.
/// `program` is this one, for the stage. The process becomes `installer`; with none, it and the
/// stage stay who they are. 0 for a result other than kUpdaterFailed, else 1. Once, in a process of
/// one thread.
int RunUpdate(Asker& asker, const std::string& program, const std::optional<Account>& installer);

}  // namespace updturl
