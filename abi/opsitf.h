#pragma once

/// Entry points of the on-access protection service, "opsitf.so".
///
/// Both take the process id to exclude from on-access scanning (or to include again) and a status
/// word that nothing reads afterwards. Their result is the service's own and is not examined.
using PFNOPSIGNOREPROCESS = unsigned int (*)(int processId, unsigned int* status);
using PFNOPSUNIGNOREPROCESS = unsigned int (*)(int processId, unsigned int* status);

inline constexpr char kOpsLibrary[] = "opsitf.so";
inline constexpr char kOpsIgnoreProcess[] = "OPSIgnoreProcess";
inline constexpr char kOpsUnignoreProcess[] = "OPSUnignoreProcess";
