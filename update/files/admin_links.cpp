#include "update/files/admin_links.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <span>
#include <string>
#include <string_view>
#include <sys/stat.h>

#include "common/io.h"
#include "common/nibble_swap.h"
#include "common/paths.h"
#include "common/regular_file.h"
#include "common/text_field.h"
#include "common/times.h"
#include "common/version_record.h"

namespace {

using AdminEntry = char[update::kAdminEntrySize];

// Encrypt and Decrypt are one and the same; both names stand where they say what happens.
template <typename Record>
unsigned char* ScrambledBytes(Record& record) {
    return reinterpret_cast<unsigned char*>(&record);
}

common::FileDescriptor OpenForWriting(const char* path) {
    // Not truncated: the count in the record keeps readers from older entries behind the new ones,
    // and whoever reads meanwhile finds a whole record.
    common::FileDescriptor file =
        common::OpenRegularFile(path, O_RDWR | O_CREAT, common::Links::kFollow, 0600);
    if (file) {
        return file;
    }
    file =
        common::OpenRegularFile(path, O_WRONLY | O_CREAT | O_TRUNC, common::Links::kFollow, 0666);
    if (file && ::fchmod(file.Get(), 0666) != 0) {
        file.Reset();
    }
    return file;
}

// The folder of the database's release on an update server.
std::string ReleaseFolder(const tagZQVERINFO& version) {
    char text[64];
    (void)std::snprintf(text, sizeof text, "/%s/%02d%02d", "update",
                        static_cast<std::int16_t>(version.major),
                        static_cast<std::int16_t>(version.minor));
    return text;
}

// In place: what other tools leave behind the terminator is theirs, but for the last byte, without
// which a text that fills the field would have no end.
void AppendReleaseFolder(std::span<char> field, std::string_view release) {
    field.back() = '\0';
    const std::string_view text = common::FieldText(field);
    if (text.empty() || text.find(release) != std::string_view::npos) {
        return;
    }
    const std::span<char> rest = field.subspan(text.size());
    release = release.substr(0, rest.size() - 1);
    *std::copy(release.begin(), release.end(), rest.begin()) = '\0';
}

bool HasNull(char** list, unsigned short count) {
    return count > 0 && (list == nullptr || std::find(list, list + count, nullptr) != list + count);
}

tagADMNURLRECORD NewRecord() {
    tagADMNURLRECORD record{};
    record.kind = update::kAdminRecordKind;
    GetLocalTime(&record.created);
    record.value18 = update::kAdminRecordValue18;
    record.value22 = update::kAdminRecordValue22;
    return record;
}

}  // namespace

int ReadUpdateInfo(const char* path, tagADMNURLRECORD* record, unsigned short* count, char*** list,
                   unsigned int& error) {
    if (path == nullptr || record == nullptr || count == nullptr || list == nullptr) {
        return 0;
    }
    error = 0;
    // For writing too, so that who may not write the file does not get to read it either.
    const common::FileDescriptor file =
        common::OpenRegularFile(path, O_RDWR, common::Links::kFollow);
    tagADMNURLRECORD head{};
    if (!file ||
        common::ReadFull(file.Get(), common::BytesOf(head)) != std::ptrdiff_t{sizeof head}) {
        return 0;
    }
    Decrypt(ScrambledBytes(head), sizeof head);
    *record = head;

    update::AddressList addresses;
    if (head.addressCount > 0 && !addresses.Reserve(head.addressCount)) {
        return 0;
    }
    while (addresses.Size() < head.addressCount) {
        AdminEntry entry{};
        if (common::ReadFull(file.Get(), common::BytesOf(entry)) != std::ptrdiff_t{sizeof entry}) {
            return 0;
        }
        Decrypt(ScrambledBytes(entry), sizeof entry);
        const std::string_view text = common::FieldText(entry);
        if (!addresses.Add(text, text.size() + 1)) {
            return 0;
        }
    }
    *count = head.addressCount;
    *list = addresses.Release();
    return 1;
}

int WriteUpdateInfo(const char* path, tagADMNURLRECORD* record, unsigned short count, char** list,
                    unsigned int& error) {
    tagZQVERINFO version{};
    if (path == nullptr || record == nullptr || HasNull(list, count) || GetVDBInfo(&version) == 0) {
        return 0;
    }
    const std::string release = ReleaseFolder(version);
    for (auto& folder : record->folders) {
        AppendReleaseFolder(folder, release);
    }
    // Only now: callers that tell the failures above by their own code keep it.
    error = 0;
    const common::FileDescriptor file = OpenForWriting(path);
    if (!file) {
        return 0;
    }
    // The caller's own record stays scrambled: it is spent, whoever needs it again reads the file.
    Encrypt(ScrambledBytes(*record), sizeof *record);
    if (!common::WriteAll(file.Get(), common::BytesOf(*record))) {
        return 0;
    }
    for (const char* address : std::span(list, count)) {
        AdminEntry entry{};
        common::CopyToField(entry, address + release);
        Encrypt(ScrambledBytes(entry), sizeof entry);
        if (!common::WriteAll(file.Get(), common::BytesOf(entry))) {
            return 0;
        }
    }
    return 1;
}

int SetUpdateUrl(char** list, unsigned short count) {
    const auto path = common::InFoundProductDirectory(update::kAdminLinkFileName);
    if (list == nullptr || !path) {
        return 0;
    }
    tagADMNURLRECORD record{};
    unsigned short oldCount = 0;
    char** oldList = nullptr;
    unsigned int error = 0;
    if (ReadUpdateInfo(path->c_str(), &record, &oldCount, &oldList, error) == 0) {
        record = NewRecord();
    }
    FreeMemory(oldList, oldCount);
    record.addressCount = count;
    // The result says that the list was taken, not that it was stored: callers have always got 1.
    (void)WriteUpdateInfo(path->c_str(), &record, count, list, error);
    return 1;
}
