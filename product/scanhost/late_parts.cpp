#include "product/scanhost/late_parts.h"

#include <array>
#include <ctime>
#include <iconv.h>
#include <openssl/crypto.h>

namespace scanhost {

namespace {

// The character sets that libclamav has names for, in code pages of office documents, in installers
// and in mails. Not all have a table on every machine.
constexpr std::array kCharacterSets{
    "US-ASCII",      "UTF-7",        "UTF-16",       "UTF-16LE",     "UTF-16BE",
    "UTF-32",        "UTF-32LE",     "UTF-32BE",     "UCS-2",        "UCS-4",
    "UCS-4LE",       "UCS-4BE",      "ISO-8859-1",   "ISO-8859-2",   "ISO-8859-3",
    "ISO-8859-4",    "ISO-8859-5",   "ISO-8859-6",   "ISO-8859-7",   "ISO-8859-8",
    "ISO-8859-9",    "ISO-8859-13",  "ISO-8859-15",  "ISO-2022-JP",  "ISO-2022-JP-2",
    "ISO-2022-JP-3", "ISO-2022-KR",  "KOI8-R",       "KOI8-U",       "SHIFT_JIS",
    "BIG5",          "GB2312",       "GB18030",      "JOHAB",        "EUC-CN",
    "EUC-JP",        "EUC-KR",       "MACINTOSH",    "ASMO-708",     "WINDOWS-874",
    "WINDOWS-1250",  "WINDOWS-1251", "WINDOWS-1252", "WINDOWS-1253", "WINDOWS-1254",
    "WINDOWS-1255",  "WINDOWS-1256", "WINDOWS-1257", "WINDOWS-1258", "CP866",
    "CP875",         "CP949",        "CP1025",       "IBM037",       "IBM273",
    "IBM277",        "IBM278",       "IBM280",       "IBM284",       "IBM285",
    "IBM290",        "IBM297",       "IBM420",       "IBM423",       "IBM424",
    "IBM437",        "IBM500",       "IBM775",       "IBM850",       "IBM852",
    "IBM855",        "IBM857",       "IBM860",       "IBM861",       "IBM863",
    "IBM864",        "IBM865",       "IBM869",       "IBM870",       "IBM871",
    "IBM880",        "IBM905",       "IBM1026",
};

// Kept open for good: a table nobody uses is thrown away.
void KeepOpen(const char* to, const char* from) {
    static_cast<void>(::iconv_open(to, from));
}

}  // namespace

void OpenLateParts() {
    ::tzset();
    OPENSSL_init_crypto(
        OPENSSL_INIT_LOAD_CONFIG | OPENSSL_INIT_ADD_ALL_DIGESTS | OPENSSL_INIT_ADD_ALL_CIPHERS,
        nullptr);
    for (const char* const set : kCharacterSets) {
        KeepOpen("UTF-8", set);
    }
    // Without an exact counterpart a character becomes a similar one.
    KeepOpen("UTF-8//TRANSLIT", "UTF-16LE");
}

}  // namespace scanhost
