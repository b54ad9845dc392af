#pragma once

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "product/libdbmod/settings_database.h"

namespace dbmod {

inline constexpr char kProduct[] = "/usr/lib/Corvane/Corvane";
inline constexpr char kDatabase[] = "/usr/lib/Corvane/Corvane/settings.db";

/// corvane-admin over a fresh database in the product directory; skipped where that is not ours or
/// where we are not root.
class CorvaneAdminTest : public testing::Test {
protected:
    void SetUp() override;

    static void SetCheapPassword();

    /// The stored state, which must be readable.
    static PasswordState Stored();
};

struct Outcome {
    int exitStatus = -1;
    std::string output;
    std::string errors;
};

/// Runs corvane-admin with `input` on a pipe as its standard input.
Outcome RunAdmin(std::vector<std::string> arguments, const std::string& input = {},
                 const std::string& program = ADMIN_PROGRAM);

}  // namespace dbmod
