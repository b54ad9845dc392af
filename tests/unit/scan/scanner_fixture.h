#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>

#include "common/run_state.h"
#include "common/text_field.h"
#include "scan/scanner.h"
#include "tests/fakes/scanapi/fake_engine.h"

using OptionBytes = std::array<unsigned char, 546>;

inline std::string Hex(const OptionBytes& bytes) {
    std::string text;
    for (const unsigned char byte : bytes) {
        text += {"0123456789ABCDEF"[byte >> 4U], "0123456789ABCDEF"[byte & 15U]};
    }
    return text;
}

inline void PutText(OptionBytes& bytes, std::size_t offset, const std::string& text) {
    std::memcpy(&bytes.at(offset), text.data(), text.size());
}

/// The options record as the engine is to see it, byte by byte.
inline std::string ExpectedOptions(const std::string& directory, unsigned char archives,
                                   unsigned char packed, unsigned char dumb, unsigned char adware,
                                   unsigned char extraHigh = 0) {
    OptionBytes bytes{};
    bytes[0] = 0x22;  // 546 = 0x0222
    bytes[1] = 0x02;
    bytes[2] = 1;
    bytes[4] = 5;
    bytes[6] = archives;
    bytes[8] = packed;
    PutText(bytes, 10, directory);
    PutText(bytes, 266, directory + "/tmp");
    bytes[522] = dumb;
    bytes[524] = adware;
    bytes[527] = extraHigh;
    return Hex(bytes);
}

inline bool IsLoaded(const std::string& library) {
    void* handle = ::dlopen(library.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr) {
        ::dlclose(handle);
    }
    return handle != nullptr;
}

/// The bridge to a scripted engine, which writes down what it is asked.
class ScannerTest : public ::testing::Test {
protected:
    void SetUp() override { Use("good"); }
    void TearDown() override {
        Scanner::DestroyScan();
        g_iCleanFileSeqCnt = 0;
        g_iCntLabViruses = 0;
        g_scnopts = {};
    }

    void Use(const std::string& variant) {
        m_directory = FakeEngine::Variant(variant);
        ASSERT_TRUE(common::CopyToField(g_szAppPath, m_directory))
            << "the build folder's path is too long";
        ASSERT_TRUE(std::filesystem::exists(Library())) << Library();
    }
    [[nodiscard]] std::string Library() const { return m_directory + "scanapi.so"; }

    static int Init(std::uint16_t action = 1, std::uint8_t flags = 11) {
        tagSCNOPTS settings{action, flags};
        return Scanner::InitScan(&settings);
    }

    void ExpectNothingLoaded() const {
        EXPECT_EQ(g_hModScanAPI, nullptr);
        EXPECT_TRUE(pfnGetVer == nullptr);
        EXPECT_FALSE(IsLoaded(Library()));
        EXPECT_EQ(UnLoadScanAPI(), 0);
    }

    FakeEngine m_engine;
    std::string m_directory;
};
