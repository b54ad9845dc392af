#include <algorithm>
#include <array>
#include <cstdio>
#include <iostream>
#include <map>
#include <random>
#include <zlib.h>

#include "tests/unit/product/definitions/definitions_fixture.h"

// Databases that were changed on their way: what is signed in them is never installed otherwise
// than it was signed.

namespace fs = std::filesystem;

namespace {

using definitions::Outcome;

constexpr std::size_t kHead = 512;
constexpr int kRounds = 1100;  // of each kind

std::string Unpacked(const std::string& packed) {
    std::string bytes(1U << 20U, '\0');
    z_stream stream{};
    EXPECT_EQ(::inflateInit2(&stream, 15 + 32), Z_OK);
    std::string input = packed;
    stream.next_in = reinterpret_cast<Bytef*>(input.data());
    stream.avail_in = static_cast<uInt>(input.size());
    stream.next_out = reinterpret_cast<Bytef*>(bytes.data());
    stream.avail_out = static_cast<uInt>(bytes.size());
    (void)::inflate(&stream, Z_FINISH);
    bytes.resize(stream.total_out);
    ::inflateEnd(&stream);
    return bytes;
}

// The signed files in an archive, and their list but for what follows its signature.
std::map<std::string, std::string> SignedFiles(const std::string& archive) {
    std::map<std::string, std::string> files;
    for (std::size_t at = 0; at + kHead <= archive.size() && archive[at] != '\0';) {
        const std::string name = archive.substr(at, archive.find('\0', at) - at);
        const std::size_t size = std::strtoul(archive.substr(at + 124, 11).c_str(), nullptr, 8);
        std::string content = archive.substr(at + kHead, size);
        if (name.ends_with(".info")) {
            content.resize(std::min(content.size(), content.find("\nDSIG:")));
        }
        if (name.starts_with("test.")) {
            files.emplace(name, content);
        }
        at += kHead + (size + kHead - 1) / kHead * kHead;
    }
    return files;
}

class MutatedDatabase : public DefinitionsTest {
protected:
    void SetUp() override {
        NEED_SIGNED_DATABASES();
        m_three = ReadFile(SignedDatabases() + "test-3.cvd");
        m_six = ReadFile(SignedDatabases() + "test-6.cvd");
        PutFiles({{"test.cvd", m_three}});
        ASSERT_EQ(Install().outcome, Outcome::kInstalled);
        fs::copy(m_defs, m_scratch / "start",
                 fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    }

    std::size_t Below(std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(m_random);
    }

    std::string Mutated() {
        std::string bytes = m_six;
        switch (Below(6)) {
            case 0:  // one bit of the head
                Flip(bytes, Below(kHead));
                break;
            case 1:  // a version or a date in the head
                bytes[Below(48)] = static_cast<char>('0' + Below(10));
                break;
            case 2:
                bytes.resize(kHead + Below(bytes.size() - kHead));
                break;
            case 3:
                bytes.append(1 + Below(600), static_cast<char>(Below(256)));
                break;
            case 4: {  // parts of both
                const std::size_t at = Below(m_three.size());
                bytes = Below(2) == 0 ? m_six.substr(0, at) + m_three.substr(at)
                                      : m_three.substr(0, at) + m_six.substr(at);
                break;
            }
            default:
                for (std::size_t i = 0, count = 1 + Below(3); i < count; ++i) {
                    Flip(bytes, kHead + Below(bytes.size() - kHead));
                }
        }
        return bytes;
    }

    // A change of what is packed, packed again: only the signed list can tell.
    std::string MutatedInside() {
        std::string archive = Unpacked(m_six.substr(kHead));
        // From the list on: the licence before it is nobody's signed word.
        const std::size_t list = archive.find("test.info");
        Flip(archive, list + Below(archive.size() - list));
        return m_six.substr(0, kHead) + archive;
    }

    void Flip(std::string& bytes, std::size_t at) {
        bytes[at] = static_cast<char>(static_cast<unsigned char>(bytes[at]) ^ 1U << Below(8));
    }

    void ExpectNothingAlteredInstalled(const std::string& name, const std::string& bytes) {
        if (bytes == m_six || bytes == m_three) {
            return;
        }
        PutFiles({{name, bytes}});
        const Outcome outcome = Install().outcome;
        ++m_tried;
        if (outcome != Outcome::kInstalled) {
            EXPECT_EQ(CurrentFile("test.cvd"), m_three);
            EXPECT_EQ(Names(), (std::vector<std::string>{"current", "set-1"}));
            return;
        }
        ++m_installed;
        const std::string found = CurrentFile(name);
        if (name == "test.cvd") {
            EXPECT_EQ(found.substr(kHead), m_six.substr(kHead));
        } else {
            const std::string unpacked = Unpacked(found.substr(kHead));
            EXPECT_TRUE(SignedFiles(unpacked.empty() ? found.substr(kHead) : unpacked) ==
                        SignedFiles(Unpacked(m_six.substr(kHead))));
        }
        EXPECT_EQ(CurrentFile("scanver.cnf"),
                  std::string("\0\0\x06\0\xE5\x07\x06\0\x03\0\x17\0\x01\0\x22\0\x05\0\0\0", 20));
        fs::remove_all(m_defs);
        fs::copy(m_scratch / "start", m_defs,
                 fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    }

    void Report() const {
        std::cout << m_tried << " changed databases, " << m_installed
                  << " installed with what is signed in them as it was\n";
    }

    std::mt19937 m_random{20261122};
    std::string m_three;
    std::string m_six;
    int m_tried = 0;
    int m_installed = 0;
};

TEST_F(MutatedDatabase, OneWithASignatureInItsHeadIsInstalledAsItWasSignedOrNotAtAll) {
    for (int round = 0; round < kRounds; ++round) {
        SCOPED_TRACE(round);
        ExpectNothingAlteredInstalled("test.cvd", Mutated());
    }
    Report();
    EXPECT_GE(m_tried, 1000);
}

TEST_F(MutatedDatabase, OneWithASignatureInItsListIsInstalledAsItWasSignedOrNotAtAll) {
    for (int round = 0; round < kRounds; ++round) {
        SCOPED_TRACE(round);
        ExpectNothingAlteredInstalled("test.cld", round % 2 == 0 ? Mutated() : MutatedInside());
    }
    Report();
    EXPECT_GE(m_tried, 1000);
    EXPECT_GT(m_installed, 0) << "what nobody signed may differ";
}

// Each of them is sound, and the list is: only that one is missing.
TEST_F(MutatedDatabase, AFileThatWasSignedIsNotLeftOut) {
    const std::string archive = Unpacked(m_six.substr(kHead));
    int left = 0;
    for (std::size_t at = 0; archive[at] != '\0';) {
        const std::string name = archive.substr(at, archive.find('\0', at) - at);
        const std::size_t size = std::strtoul(archive.substr(at + 124, 11).c_str(), nullptr, 8);
        const std::size_t whole = kHead + (size + kHead - 1) / kHead * kHead;
        if (name.starts_with("test.") && name != "test.info") {
            std::string changed = archive;
            changed.erase(at, whole);
            PutFiles({{"test.cld", m_six.substr(0, kHead) + changed}});
            EXPECT_EQ(Install().outcome, Outcome::kNothingValid) << name;
            // The library takes it for a file of no kind it knows.
            changed = archive;
            changed[at + name.size()] = ' ';
            PutFiles({{"test.cld", m_six.substr(0, kHead) + changed}});
            EXPECT_EQ(Install().outcome, Outcome::kNothingValid) << name << " and a blank";
            ++left;
        }
        at += whole;
    }
    EXPECT_EQ(left, 18);
}

// A file that the list does not name, in front of it, right behind it and behind all others.
TEST_F(MutatedDatabase, AFileThatNobodySignedIsNotTakenAlong) {
    const std::string archive = Unpacked(m_six.substr(kHead));
    std::string member(kHead, '\0');
    const std::string content = OwnSignature('A');
    const auto put = [&](std::size_t at, const std::string& text) {
        member.replace(at, text.size(), text);
    };
    put(0, "extra.ndb");
    put(100, "0000644");
    put(108, "0000000");
    put(116, "0000000");
    std::array<char, 13> size{};
    (void)std::snprintf(size.data(), size.size(), "%011zo", content.size());
    put(124, size.data());
    put(136, "00000000000");
    put(156, "0");
    put(257, "ustar  ");
    std::string padded = content;
    padded.resize(kHead, '\0');
    std::size_t list = 0;
    while (archive.compare(list, 9, "test.info") != 0) {
        list += kHead;
    }
    const std::size_t behindList = list + kHead + 4 * kHead;
    ASSERT_EQ(archive.compare(behindList, 8, "test.cfg"), 0);
    const std::size_t end = archive.find_last_not_of('\0') / kHead * kHead + kHead;
    for (const std::size_t at : {std::size_t{0}, list, behindList, end}) {
        SCOPED_TRACE(at);
        std::string changed = archive;
        changed.insert(at, member + padded);
        PutFiles({{"test.cld", m_six.substr(0, kHead) + changed}});
        EXPECT_NE(Install().outcome, Outcome::kInstalled);
        EXPECT_EQ(CurrentFile("test.cvd"), m_three);
    }
}

// Every byte of the head, which but for two fields nobody signed.
TEST_F(MutatedDatabase, NoByteOfTheHeadMakesItAnotherVersion) {
    for (std::size_t at = 0; at < 64; ++at) {
        SCOPED_TRACE(at);
        std::string bytes = m_six;
        bytes[at] = bytes[at] == '9' ? '8' : '9';
        ExpectNothingAlteredInstalled("test.cvd", bytes);
        bytes[at] = ':';
        ExpectNothingAlteredInstalled("test.cvd", bytes);
    }
    Report();
}

}  // namespace
