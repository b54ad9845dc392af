// libarchive reads in a confined worker what it reads elsewhere.

#include <archive.h>
#include <archive_entry.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

#include "product/scanhost/confinement.h"
#include "product/scanhost/late_parts.h"
#include "product/scanhost/refused_calls.h"
#include "tests/support/scratch.h"

namespace scanhost {
namespace {

constexpr char kName[] = "folder-\xc3\xa4/member.txt";

std::string Content() {
    std::string content;
    for (int i = 0; i < 20000; ++i) {
        content += std::to_string(i * 7919);
    }
    return content;
}

struct Kind {
    std::string name;
    int (*format)(archive* writer);
    int (*filter)(archive* writer);
};

const std::vector<Kind>& Kinds() {
    static const std::vector<Kind> kinds{
        {"tar", archive_write_set_format_pax, archive_write_add_filter_none},
        {"tar.gz", archive_write_set_format_ustar, archive_write_add_filter_gzip},
        {"tar.bz2", archive_write_set_format_ustar, archive_write_add_filter_bzip2},
        {"tar.xz", archive_write_set_format_ustar, archive_write_add_filter_xz},
        {"tar.lzma", archive_write_set_format_ustar, archive_write_add_filter_lzma},
        {"tar.lz", archive_write_set_format_ustar, archive_write_add_filter_lzip},
        {"tar.Z", archive_write_set_format_ustar, archive_write_add_filter_compress},
        {"tar.zst", archive_write_set_format_ustar, archive_write_add_filter_zstd},
        {"cpio", archive_write_set_format_cpio, archive_write_add_filter_none},
        {"7z", archive_write_set_format_7zip, archive_write_add_filter_none},
        {"zip", archive_write_set_format_zip, archive_write_add_filter_none},
        {"iso", archive_write_set_format_iso9660, archive_write_add_filter_none},
        {"xar", archive_write_set_format_xar, archive_write_add_filter_none},
    };
    return kinds;
}

/// The archive's bytes; empty when it could not be made.
std::string Made(const Kind& kind, const std::string& content) {
    std::string bytes(std::size_t{2} << 20U, '\0');
    std::size_t used = 0;
    const std::unique_ptr<archive, int (*)(archive*)> writer(archive_write_new(),
                                                             archive_write_free);
    const std::unique_ptr<archive_entry, void (*)(archive_entry*)> entry(archive_entry_new(),
                                                                         archive_entry_free);
    archive_entry_set_pathname(entry.get(), kName);
    archive_entry_set_size(entry.get(), static_cast<la_int64_t>(content.size()));
    archive_entry_set_filetype(entry.get(), AE_IFREG);
    archive_entry_set_perm(entry.get(), 0644);
    const bool done =
        kind.format(writer.get()) == ARCHIVE_OK && kind.filter(writer.get()) == ARCHIVE_OK &&
        archive_write_open_memory(writer.get(), bytes.data(), bytes.size(), &used) == ARCHIVE_OK &&
        archive_write_header(writer.get(), entry.get()) >= ARCHIVE_WARN &&
        archive_write_data(writer.get(), content.data(), content.size()) ==
            static_cast<la_ssize_t>(content.size()) &&
        archive_write_close(writer.get()) == ARCHIVE_OK;
    bytes.resize(done ? used : 0);
    return bytes;
}

/// Whether the first member has `content`.
bool Holds(const std::string& bytes, const std::string& content) {
    const std::unique_ptr<archive, int (*)(archive*)> reader(archive_read_new(), archive_read_free);
    archive_read_support_format_all(reader.get());
    archive_read_support_filter_all(reader.get());
    archive_entry* entry = nullptr;
    if (archive_read_open_memory(reader.get(), bytes.data(), bytes.size()) != ARCHIVE_OK) {
        return false;
    }
    int result = archive_read_next_header(reader.get(), &entry);
    while (result >= ARCHIVE_WARN && result != ARCHIVE_EOF &&
           archive_entry_filetype(entry) != AE_IFREG) {
        result = archive_read_next_header(reader.get(), &entry);
    }
    std::string got(content.size() + 1, '\0');
    if (result < ARCHIVE_WARN || result == ARCHIVE_EOF) {
        return false;
    }
    const auto size = archive_read_data(reader.get(), got.data(), got.size());
    got.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    return got == content;
}

TEST(ConfinedArchives, AreReadAsEverywhere) {
    const std::string content = Content();
    OpenLateParts();
    std::string why;
    const auto confinement = Confinement::Prepare({.memoryLimitMiB = 2048, .scratchBase = {}}, why);
    ASSERT_NE(confinement, nullptr) << why;
    const pid_t host = getpid();
    for (const Kind& kind : Kinds()) {
        const std::string bytes = Made(kind, content);
        ASSERT_FALSE(bytes.empty()) << kind.name;
        ASSERT_TRUE(Holds(bytes, content)) << kind.name;
        EXPECT_EQ(InChild([&] {
                      if (!confinement->Enter(0, host).empty()) {
                          return 200;
                      }
                      ForgetRefusals();
                      return !Holds(bytes, content) ? 1 : !FirstRefusal().empty() ? 2 : 0;
                  }),
                  0)
            << kind.name;
    }
}

}  // namespace
}  // namespace scanhost
