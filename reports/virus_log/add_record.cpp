#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <unistd.h>
#include <vector>

#include "common/host_identity.h"
#include "common/io.h"
#include "common/text_field.h"
#include "common/times.h"
#include "common/utf16.h"
#include "common/version_record.h"
#include "reports/virus_log/log_files.h"
#include "reports/virus_log/log_mutex.h"
#include "reports/virus_log/size_limit.h"
#include "reports/virus_log/virus_log.h"

namespace {

constexpr unsigned int kMaxUserNameUnits = 255;
constexpr unsigned int kMaxDomainUnits = 260;

// Who logs, where and when.
struct Circumstances {
    tagVIRIDENTITY identity{};
    tagSYSTEMTIME time{};
    std::u16string userName;
    std::u16string domain;
};

template <std::size_t size>
std::u16string_view Terminated(const std::array<unsigned short, size>& text) {
    // The unit types differ in name only.
    const std::u16string_view whole(reinterpret_cast<const char16_t*>(text.data()), size);
    return whole.substr(0, whole.find(u'\0'));
}

// Copies as many units as `limit` allows, without half a pair at the end; the rest of the field is
// zero already.
void FillField(char16_t* field, std::size_t limit, std::u16string_view text) {
    if (text.size() > limit) {
        const bool splitsPair = text[limit - 1] >= 0xD800 && text[limit - 1] <= 0xDBFF;
        text = text.substr(0, splitsPair ? limit - 1 : limit);
    }
    std::memcpy(field, text.data(), text.size() * sizeof(char16_t));
}

bool FindOut(Circumstances& out) {
    tagZQVERINFO version{};
    std::array<unsigned short, common::kComputerNameSize> computer{};
    std::array<unsigned short, kMaxUserNameUnits + 1> user{};
    std::array<unsigned short, kMaxDomainUnits + 1> domain{};
    unsigned int domainLength = kMaxDomainUnits;
    if (GetVDBInfo(&version) == 0 || GetTheComputerName(computer.data()) == 0) {
        return false;
    }
    GetLocalTime(&out.time);
    if (GetTheUserName(user.data(), kMaxUserNameUnits) == 0 ||
        GetDomainName(domain.data(), &domainLength) == 0) {
        return false;
    }
    out.identity.majorVersion = static_cast<std::int16_t>(version.major);
    out.identity.minorVersion = static_cast<std::int16_t>(version.minor);
    FillField(out.identity.computerName, std::size(out.identity.computerName),
              Terminated(computer));
    out.userName = Terminated(user);
    out.domain = Terminated(domain);
    return true;
}

void Append(std::vector<std::byte>& bytes, std::span<const std::byte> more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

std::vector<std::byte> Encode(unsigned int component, std::string_view filePath,
                              std::string_view virusName, std::string_view action,
                              const Circumstances& circumstances) {
    const std::u16string path = common::Utf16FromBytes(filePath);
    tagVIRRECORD record{};
    record.pathLength = static_cast<std::uint32_t>(path.size() * sizeof(char16_t));
    record.domainLength =
        static_cast<std::uint32_t>(circumstances.domain.size() * sizeof(char16_t));
    record.component = component;
    common::CopyToUnterminatedField(record.virusName, virusName);
    FillField(record.action, std::size(record.action), common::Utf16FromBytes(action));
    record.time = circumstances.time;
    FillField(record.userName, std::size(record.userName) - 1, circumstances.userName);

    std::vector<std::byte> bytes;
    bytes.reserve(virus_log::RecordSize(record));
    Append(bytes, common::BytesOf(record));
    Append(bytes, std::as_bytes(std::span(path)));
    Append(bytes, std::as_bytes(std::span(circumstances.domain)));
    return bytes;
}

bool StoreOffset(off_t offset, std::uint32_t index) {
    const common::FileDescriptor table(OpenRecordOffsetDatabaseFile());
    return table && WriteRecordOffsetDatabaseFile(table.Get(), offset, index);
}

// A record file about to receive a record, and what it was before.
class Addition {
public:
    explicit Addition(std::string_view fileName)
        : m_file(virus_log::OpenLogFile(fileName)),
          m_size(m_file ? virus_log::SizeOf(m_file.Get()) : -1) {
        if (m_size < 0 || !virus_log::ReadAt(m_file.Get(), 0, HeadBefore())) {
            m_file.Reset();
        }
        if (m_file && m_size == 0) {
            virus_log::ShareAsRecords(m_file.Get());
        }
    }

    // Whether the count can be true. One that others have written may be any, and the table of
    // offsets would grow with it.
    [[nodiscard]] bool IsPossible() const { return m_file && off_t{CountBefore()} <= m_size; }

    // Writes the head, then the record at the end: whoever is killed between the two leaves a count
    // that is one too high, never a record that hides the next one.
    bool Write(const tagVIRIDENTITY& identity, std::span<const std::byte> record, bool isMain) {
        const tagVIRHEAD head{{0, CountBefore() + 1, 0}, identity};
        const off_t end = std::max(m_size, static_cast<off_t>(sizeof head));
        // The second file gets no offsets: where its records will lie is known once it is merged.
        if (virus_log::WriteAt(m_file.Get(), 0, common::BytesOf(head)) &&
            virus_log::WriteAt(m_file.Get(), end, record) &&
            (!isMain || StoreOffset(end, CountBefore()))) {
            return true;
        }
        // A disk that is full must not cost the records that were there.
        (void)virus_log::WriteAt(m_file.Get(), 0, HeadBefore());
        (void)::ftruncate(m_file.Get(), m_size);
        return false;
    }

private:
    // As much of the head as there was: a file just made has none.
    [[nodiscard]] std::size_t HeadSize() const {
        return static_cast<std::size_t>(std::clamp<off_t>(m_size, 0, sizeof m_before));
    }
    std::span<std::byte> HeadBefore() { return common::BytesOf(m_before).first(HeadSize()); }
    [[nodiscard]] std::uint32_t CountBefore() const {
        return HeadSize() < sizeof(tagVIRCOUNTER) ? 0 : m_before.counter.count;
    }

    common::FileDescriptor m_file;
    off_t m_size;
    tagVIRHEAD m_before{};
};

}  // namespace

bool ZQVRAddRecVirusReport(unsigned int component, const char* filePath, const char* virusName,
                           const char* action) {
    if (filePath == nullptr || virusName == nullptr || action == nullptr) {
        return false;
    }
    virus_log::MakeVirusLogFolder();
    Circumstances circumstances;
    if (!FindOut(circumstances)) {
        return false;
    }
    const std::vector<std::byte> record =
        Encode(component, filePath, virusName, action, circumstances);

    // Taken before the main file's mutex, which is needed only where that file is missing: whoever
    // took it first could wait for us then, and both go on when their time is up.
    const virus_log::LogMutex mutex(virus_log::kRecordMutex, virus_log::kAddWait);
    std::array<char, virus_log::kLogFileNameSize> fileName{};
    if (!mutex.IsHeld() || !GetFileNameFromMainFile(fileName.data())) {
        return false;
    }
    const bool isMain = virus_log::IsMainRecordFile(fileName.data());
    if (!isMain && !virus_log::IsSecondRecordFile(fileName.data())) {
        return false;  // everybody may write the name, and no other file is to be written over
    }
    {
        Addition addition(fileName.data());
        if (!addition.IsPossible() || !addition.Write(circumstances.identity, record, isMain)) {
            return false;
        }
    }
    // The record is in, whether or not the log could be cut.
    (void)ResetVirusLog(fileName.data());
    return true;
}
