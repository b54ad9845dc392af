#include "product/scanhost/first_scan.h"

#include <span>
#include <string_view>
#include <unistd.h>

#include "product/confining/scratch_directory.h"
#include "product/scanning/library_scan.h"

namespace scanhost {

namespace {

// Has a reader of mail, of web pages and of text look at it, and a file unpacked.
constexpr std::string_view kLetter =
    "From: <a@example.com>\n"
    "To: <b@example.com>\n"
    "Subject: first\n"
    "MIME-Version: 1.0\n"
    "Content-Type: multipart/mixed; boundary=\"b\"\n"
    "\n"
    "--b\n"
    "Content-Type: text/html; charset=utf-16le\n"
    "Content-Transfer-Encoding: base64\n"
    "\n"
    "//48AGgAdABtAGwAPgBhADwALwBoAHQAbQBsAD4A\n"
    "--b\n"
    "Content-Type: application/octet-stream; name=\"a.gz\"\n"
    "Content-Transfer-Encoding: base64\n"
    "\n"
    "H4sIAAAAAAAAA0tMSk5JTeMCAESCb6oHAAAA\n"
    "--b--\n";

}  // namespace

void ScanOnce(const cl_engine* engine, const std::string& scratchBase) {
    const auto scratch = confining::ScratchDirectory::Make(scratchBase);
    if (scratch == nullptr || ::chdir(scratch->Path().c_str()) != 0) {
        return;
    }
    constexpr scanning::ScanProfile kEverything{
        .archives = true, .packed = true, .unknownTypes = true, .unwanted = true};
    (void)scanning::ScanBytes(engine, kEverything, {.baseName = "first", .size = kLetter.size()},
                              std::as_bytes(std::span(kLetter)), {});
    (void)!::chdir("/");
}

}  // namespace scanhost
