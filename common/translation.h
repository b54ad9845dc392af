#pragma once

/// The text of the reports for a message id: an English sentence or a key such as
/// "schddmn_str_on". A missing catalogue or id yields the id itself; null yields null.
///
/// Sets the whole process's locale on every call, so call it on one thread only and with no other
/// thread formatting text meanwhile. The result lives as long as the process.
const char* AvGetTranslation(const char* msgid);
