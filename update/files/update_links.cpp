#include "update/files/update_links.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string>

#include "common/io.h"
#include "common/log.h"
#include "common/paths.h"
#include "common/regular_file.h"
#include "common/text_field.h"
#include "update/files/admin_links.h"

namespace {

constexpr int kScrambleBits = 3;
constexpr char kNoHeader[] = "In CUpdate::ReadUpdLink(): Invalid UpdtHeader!!";

template <typename Record>
bool ReadRecord(int file, Record& record) {
    return common::ReadFull(file, common::BytesOf(record)) == std::ptrdiff_t{sizeof record};
}

void LogUpdate(const std::string& line) {
    WriteToLog(update::kUpdateLog, line.c_str());
}

}  // namespace

int CUpdate::Encrypt(unsigned char* bytes, int length) {
    if (bytes == nullptr || length < 1) {
        return 0;
    }
    std::transform(bytes, bytes + length, bytes,
                   [](unsigned char byte) { return ByteRotateLeft(byte, kScrambleBits); });
    return 1;
}

int CUpdate::Decrypt(unsigned char* bytes, int length) {
    if (bytes == nullptr || length < 1) {
        return 0;
    }
    std::transform(bytes, bytes + length, bytes,
                   [](unsigned char byte) { return ByteRotateRight(byte, kScrambleBits); });
    return 1;
}

unsigned char CUpdate::ByteRotateLeft(unsigned char byte, int bits) {
    return bits < 1 ? byte : std::rotl(byte, bits % 8);
}

unsigned char CUpdate::ByteRotateRight(unsigned char byte, int bits) {
    return bits < 1 ? byte : std::rotr(byte, bits % 8);
}

std::string update::UpdateLinkFile(std::span<const std::string> addresses) {
    std::string content;
    const auto append = [&](const auto& piece) {
        content.append(reinterpret_cast<const char*>(&piece), sizeof piece);
    };
    append(tagUPDLINKHEADER{{}, static_cast<std::int16_t>(addresses.size())});
    for (const std::string& address : addresses) {
        tagUPDLINKRECORD record{};
        common::CopyToField(std::span(record.address).first(update::kUpdateAddressSize), address);
        CUpdate::Encrypt(reinterpret_cast<unsigned char*>(&record), sizeof record);
        append(record);
    }
    return content;
}

update::ReadLinksResult update::ReadUpdateLinks(int file, update::AddressList& links) {
    tagUPDLINKHEADER header{};
    if (!ReadRecord(file, header)) {
        return update::ReadLinksResult::kNoHeader;
    }
    // A count below 0 asks for more than there is memory, so it fails like that: in silence.
    if (header.count < 0 || !links.Reserve(static_cast<std::size_t>(header.count))) {
        return update::ReadLinksResult::kFailed;
    }
    for (int index = 0; index < header.count; ++index) {
        tagUPDLINKRECORD record{};
        if (!ReadRecord(file, record)) {
            return update::ReadLinksResult::kFailed;
        }
        CUpdate::Decrypt(reinterpret_cast<unsigned char*>(&record), sizeof record);
        if (!links.Add(common::FieldText(record.address), update::kUpdateAddressSize)) {
            return update::ReadLinksResult::kFailed;
        }
    }
    return update::ReadLinksResult::kRead;
}

char** CUpdate::ReadUpdLink(int* count, const char* path) {
    if (count == nullptr || path == nullptr) {
        return nullptr;
    }
    const common::FileDescriptor file =
        common::OpenRegularFile(path, O_RDONLY, common::Links::kFollow);
    if (!file) {
        // A folder or a FIFO can be opened, and then has no head.
        LogUpdate(errno == EPERM
                      ? kNoHeader
                      : "In CUpdate::ReadUpdLink(): file (" + std::string(path) + ") open Error!!");
        return nullptr;
    }
    update::AddressList links;
    switch (update::ReadUpdateLinks(file.Get(), links)) {
        case update::ReadLinksResult::kRead:
            *count = static_cast<int>(links.Size());
            return links.Release();
        case update::ReadLinksResult::kNoHeader:
            LogUpdate(kNoHeader);
            break;
        case update::ReadLinksResult::kFailed:
            break;
    }
    return nullptr;
}

void CUpdate::FreeUpdtLink(char** list, int count) {
    update::FreeAddresses(list, count < 1 ? 0 : static_cast<std::size_t>(count));
}

char** CUpdate::GetURLsForAdmin(int* count) {
    if (count == nullptr) {
        return nullptr;
    }
    // The directory is fixed here, and looked up in SetUpdateUrl, which finds none on a machine
    // without the product: the updater reads whatever lies in the one place it knows.
    const std::string path = common::InProductDirectory(update::kAdminLinkFileName);
    tagADMNURLRECORD record{};
    unsigned short found = 0;
    char** list = nullptr;
    unsigned int error = 0;
    errno = 0;  // a file that is merely short sets none, and an old error would mislead
    if (ReadUpdateInfo(path.c_str(), &record, &found, &list, error) == 0) {
        const char* reason = std::strerror(errno);
        LogUpdate("In CUpdate::GetURLsForAdmin:ReadUpdateInfo() Failed. Error(" +
                  std::string(reason) + ")");
        return nullptr;
    }
    *count = found;
    return list;
}

namespace update {

UpdateAddresses::UpdateAddresses(bool areOfAdministrator, const std::string& directory)
    : m_list(areOfAdministrator
                 ? CUpdate::GetURLsForAdmin(&m_count)
                 : CUpdate::ReadUpdLink(&m_count, (directory + kUpdateLinkFileName).c_str())) {}

}  // namespace update
