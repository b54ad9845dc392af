#include "tests/gui/scan/held_virus_log.h"

#include <atomic>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <string_view>

#include "common/paths.h"
#include "common/version_record.h"
#include "tests/support/scratch.h"

namespace {

constexpr char kKey[] = "10011";

std::atomic<bool> isWaitedFor{false};

}  // namespace

// The linker sends the program's calls of GetMutexOwnerShip here, which hands them on (--wrap).
int NotedTaking(const char* key, tagMUTEX_INFO* mutex,
                int retries) asm("__wrap__Z17GetMutexOwnerShipPKcP13tagMUTEX_INFOi");
int RealTaking(const char* key, tagMUTEX_INFO* mutex,
               int retries) asm("__real__Z17GetMutexOwnerShipPKcP13tagMUTEX_INFOi");
int NotedTaking(const char* key, tagMUTEX_INFO* mutex, int retries) {
    isWaitedFor = isWaitedFor || std::string_view(key) == kKey;
    return RealTaking(key, mutex, retries);
}

HeldVirusLog::HeldVirusLog() {
    std::filesystem::create_directories(kProductDirectory);
    WriteFile(std::string(kProductDirectory) + common::kVersionFileName, std::string(20, '\1'));
    EXPECT_EQ(RealTaking(kKey, &m_mutex, 0), 1);
    isWaitedFor = false;
}

HeldVirusLog::~HeldVirusLog() {
    if (IsHeld()) {
        Release();
    }
}

bool HeldVirusLog::IsWaitedFor() {
    return isWaitedFor;
}

void HeldVirusLog::Release() {
    EXPECT_EQ(ReleaseMutexOwnerShip(&m_mutex), 1);
}
