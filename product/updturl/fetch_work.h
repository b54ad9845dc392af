#pragma once

#include <string>

#include "product/updturl/asker.h"

// What the stage that downloads does, and the test of a connection: both in a process that has
// given up what rights it had. The results are exit statuses. Once, in a process of one thread.

namespace updturl {

/// Downloads what the asker requests, and tells where it is. 0, or 1 for kUpdaterFailed.
int RunFetch(Asker& asker);

/// Says that the test cannot be made, and why.
void RefuseTest(Asker& asker, const std::string& why);

/// Says in one line "test ..." whether the addresses can be reached. 0 when they can, else 1.
int RunTest(Asker& asker);

}  // namespace updturl
