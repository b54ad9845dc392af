#pragma once

#include "product/definitions/set_state.h"
#include "product/signed_index/index.h"

namespace definitions {

/// Whether the index has something new and leaves the way back alone: `heldBack` stands for all
/// sets that were gone back from, whatever its serial: another mirror may count otherwise. An index
/// is taken whole or not at all. Were each database of it to be newer than what was gone back from,
/// one that seldom changes would keep all updates away; so one such that is newer will do, of
/// numbered databases for numbered ones.
bool HasNewerThan(const signed_index::Index& index, const SetState& heldBack,
                  const SetState& inUse);

}  // namespace definitions
