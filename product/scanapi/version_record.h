#pragma once

#include <string>
#include <vector>

#include "abi/scanapi.h"
#include "product/scanapi/database_list.h"

namespace scanapi {

/// The version of the virus database: from "scanver.cnf" in `engineDirectory`, else that of the
/// newest of `databases` that carries one (its number as major * 100 + minor), else the date of the
/// newest file (year and month as the number). All zero without any.
tagZQVERINFO ReadVersion(const std::string& engineDirectory,
                         const std::vector<Database>& databases);

}  // namespace scanapi
