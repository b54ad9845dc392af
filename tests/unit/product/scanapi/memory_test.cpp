// What the engine says when the program has no memory left: that the file was not read, each time.

#include <array>

#include "common/text_field.h"
#include "tests/support/failing_new.h"
#include "tests/unit/product/scanapi/archives.h"
#include "tests/unit/product/scanapi/loaded_engine.h"

namespace {

// What a program hears that has no memory either.
struct Heard {
    std::array<std::int16_t, 8> codes{};
    std::size_t count = 0;
    std::array<char, kEngineVirusNameSize> reason{};
};

int Hear(const tagZQFILEINFO* info, void* context) {
    auto& heard = *static_cast<Heard*>(context);
    if (info->code != 0 && heard.count < heard.codes.size()) {
        heard.codes[heard.count++] = info->code;
        common::CopyToField(heard.reason, common::FieldText(info->virusName));
    }
    return info->code == kMsgVirusFound ? kReplyLeave : kReplyGoOn;
}

class MemoryTest : public EngineTest {
protected:
    /// A scan for which memory is granted so many times.
    Heard ScanWith(const std::string& path, int granted) {
        Heard heard;
        std::uint64_t handle = 0;
        EXPECT_EQ(m_library.openFile(path.c_str(), &handle), 1);
        SetRequestsGranted(granted);
        m_library.scanFile(handle, &heard);
        SetRequestsGranted(-1);
        m_library.closeFile(&handle);
        return heard;
    }

    static std::size_t LinesOf(const std::string& what) {
        const std::string log = ReadAll("/zqcommon.log");
        std::size_t lines = 0;
        for (auto at = log.find(what); at != std::string::npos; at = log.find(what, at + 1)) {
            ++lines;
        }
        return lines;
    }
};

TEST_F(MemoryTest, WithoutMemoryAFileIsUnreadAndNeverPassedOverInSilence) {
    Start();
    m_library.setCallback(Hear);
    // Longer than what fits into a string without memory; each one new, so that it is scanned.
    const auto file = [this](int number) {
        return m_tree.Write("a file with a long name " + std::to_string(number), "nothing in it");
    };
    ASSERT_EQ(ScanWith(file(-1), -1).codes[0], kMsgFileClean);
    int unread = 0;
    int granted = 0;
    while (granted < 10'000) {
        const std::string path = file(granted);
        const Heard heard = ScanWith(path, granted++);
        ASSERT_EQ(heard.count, 1U) << granted;
        if (heard.codes[0] == kMsgFileClean) {
            break;
        }
        EXPECT_EQ(heard.codes[0], kMsgCannotRead) << granted;
        EXPECT_STREQ(heard.reason.data(), "no memory") << granted;
        ++unread;
    }
    EXPECT_GT(unread, 0);
    EXPECT_LT(granted, 10'000);
    // There was none for their lines; the next run has some.
    EXPECT_EQ(LinesOf("was not read"), 0U);
    m_library.resetFlags();
    EXPECT_EQ(LinesOf("scanapi: " + std::to_string(unread) + " more files were not read\n"), 1U);
    EXPECT_EQ(ScanWith(file(-2), -1).codes[0], kMsgFileClean);
}

TEST_F(MemoryTest, AFindIsToldOfOrTheFileIsUnread) {
    Start();
    m_library.setCallback(Hear);
    const std::string path =
        m_tree.Write("a file with a long name",
                     "X5O!P%@AP[4\\PZX54(P^)7CC)7}$EICAR-STANDARD-ANTIVIRUS-TEST-FILE!$H+H*");
    for (int granted = 0; granted < 10'000; ++granted) {
        const Heard heard = ScanWith(path, granted);
        ASSERT_GT(heard.count, 0U) << granted;
        ASSERT_TRUE(heard.codes[0] == kMsgVirusFound || heard.codes[0] == kMsgCannotRead)
            << heard.codes[0];
        if (heard.count == 2 && heard.codes[1] == kMsgSkipped) {
            return;
        }
    }
    ADD_FAILURE() << "never found";
}

}  // namespace
