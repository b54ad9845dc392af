#pragma once

#include <string>

#include "product/vault/settings.h"

namespace scanapi {

inline constexpr char kSettingsFileName[] = "scanapi.conf";

/// What an administrator has set for the engine.
struct EngineSettings {
    vault::Settings vault;
};

/// Reads kSettingsFileName in `engineDirectory`, which ends in "/". What is not set there has its
/// default, and so has what is set to something that cannot be: a line in the common log says so.
/// A file that is not root's, or that others may write to, is not believed either. Any thread.
EngineSettings ReadEngineSettings(const std::string& engineDirectory);

}  // namespace scanapi
