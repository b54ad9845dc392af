#pragma once

/// Notes for the administrator when a folder scan was started: the local time as a tagSYSTEMTIME
/// (16 bytes, milliseconds 0) at the start of "reports/CmplScn.dat", created with mode 0600 and
/// then set to 0666; what stands behind it stays. Failures are ignored. GUI thread.
void WriteCmpScnRptforAdmin();
