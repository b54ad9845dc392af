#pragma once

#include <csignal>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

#include "common/file_descriptor.h"
#include "tests/support/scratch.h"

inline constexpr char kProduct[] = "/usr/lib/Corvane/Corvane/";
inline constexpr char kReports[] = "/usr/lib/Corvane/Corvane/reports/";
inline constexpr char kRecords[] = "/usr/lib/Corvane/Corvane/reports/VirRcONE.dat";
inline constexpr char kOffsets[] = "/usr/lib/Corvane/Corvane/reports/RecOffset.dat";
inline constexpr char kSecondRecords[] = "/usr/lib/Corvane/Corvane/reports/VirRcTWO.dat";
inline constexpr char kCopy[] = "/usr/lib/Corvane/Corvane/reports/cpyONE.dat";
inline constexpr int kMainKey = 10022;
inline constexpr int kRecordKey = 10011;
inline constexpr uid_t kNobody = 65534;

/// A message queue that stands for a held lock; it lasts until it is removed, and at most as long
/// as the object.
class Queue {
public:
    explicit Queue(int key);
    ~Queue() { Remove(); }
    Queue(const Queue&) = delete;
    Queue& operator=(const Queue&) = delete;
    void Remove() const;
    [[nodiscard]] int Id() const { return m_id; }

private:
    int m_id;
};

bool IsHeld(int key);

/// One run of corvane-virlog, its output caught in files.
class VirlogRun {
public:
    explicit VirlogRun(std::vector<std::string> arguments, std::string_view input = {},
                       uid_t user = 0);
    /// With standard output on a descriptor of the caller's.
    VirlogRun(std::vector<std::string> arguments, int output);
    ~VirlogRun();
    VirlogRun(const VirlogRun&) = delete;
    VirlogRun& operator=(const VirlogRun&) = delete;

    /// What was written so far.
    [[nodiscard]] std::string Output() const { return ReadFile(m_scratch / "out"); }
    [[nodiscard]] std::string Errors() const { return ReadFile(m_scratch / "err"); }

    /// Types a line, where no input was given.
    void Type(std::string_view text) const;
    void CloseInput() { m_input.Reset(); }
    void Signal(int signal) const { ::kill(m_pid, signal); }

    /// The exit status, or 128 + the signal that ended it.
    int Status();

private:
    void Start(std::vector<std::string> arguments, int output, uid_t user);

    ScratchFolder m_scratch;
    common::FileDescriptor m_input;
    pid_t m_pid = -1;
    std::optional<int> m_status;
};

/// A log in the product directory, which is the test's own.
class VirlogProgramTest : public testing::Test {
protected:
    void SetUp() override;

    /// A log of these records, with its table; every record has its offset in it.
    static void WriteLog(const std::vector<std::string>& records);
};

/// "text" as UTF-16 bytes.
std::string Wide(std::u16string_view text);

/// The head of a record file.
std::string Head(std::uint32_t count);

/// A record of "Eicar-Signature", "File is skipped", alice, 2026-03-05 07:04:09.
std::string Record(std::u16string_view path, std::uint16_t day = 5);

/// The number as four bytes.
std::string Number(std::uint32_t number);

inline constexpr char kCsvHeading[] = "time,component,virus,action,user,path,domain\r\n";

/// How such a record of 2026-03-05 is listed as CSV; `path` as it is listed.
std::string CsvOf(const std::string& path);

/// What a run with these arguments lists, which ends well and says nothing.
std::string Listed(std::vector<std::string> arguments);
