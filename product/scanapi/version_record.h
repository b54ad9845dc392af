#pragma once

#include <string>
#include <vector>

#include "abi/scanapi.h"
#include "product/definitions/engine_databases.h"

namespace scanapi {

using definitions::Database;

/// The version of the virus database: from "scanver.cnf" in `engineDirectory`, unless the newest of
/// `databases` that carries a number is newer than the date in there. Then, and without that file,
/// it is that database's number as major * 100 + minor; without such a database the date of the
/// newest file (year and month as the number). All zero without any.
///
/// Files that carry no number never count against "scanver.cnf": their date is that of the copying.
tagZQVERINFO ReadVersion(const std::string& engineDirectory,
                         const std::vector<Database>& databases);

}  // namespace scanapi
