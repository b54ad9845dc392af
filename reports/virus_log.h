#pragma once

/// The component code under which the scanner's window logs.
inline constexpr unsigned int kScannerUiComponent = 8000;

/// Adds one record to the virus log: what was done to which file because of which virus.
///
/// `component` is the code of the part of the product that logs. True when the record was added;
/// the log is not kept yet, so today always false. Any thread.
bool ZQVRAddRecVirusReport(unsigned int component, const char* filePath, const char* virusName,
                           const char* action);
