#include "common/translation.h"

#include <clocale>
#include <libintl.h>

namespace {

constexpr char kDomain[] = "lang";
constexpr char kCatalogueDirectory[] = "/usr/lib/Corvane/Corvane/translation";

}  // namespace

const char* AvGetTranslation(const char* msgid) {
    if (msgid == nullptr) {
        return nullptr;
    }
    // Reports are always written with the English catalogue, but only where the environment names a
    // usable locale; otherwise the "C" locale stays and the ids are written.
    if (std::setlocale(LC_ALL, "") != nullptr) {
        std::setlocale(LC_ALL, "en_US.utf8");
    }
    bindtextdomain(kDomain, kCatalogueDirectory);
    bind_textdomain_codeset(kDomain, "utf-8");
    return dgettext(kDomain, msgid);
}
