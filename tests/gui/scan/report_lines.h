#pragma once

/// The rule below a path in the report of a scan: 66 hyphens.
inline constexpr char kLine66[] =
    "------------------------------------------------------------------";
