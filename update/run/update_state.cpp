#include "update/run/update_state.h"

std::int16_t g_siUpdateRetFlag = kUpdaterFailed;
tagUPDATEINFO g_updFileInfo{};
PFNZQUPDATEFROMSITE g_pfnZqUpdateFromSite = nullptr;
PFNUPDATEFROMINDEX g_pfnUpdateFromIndex = nullptr;
