#include "product/shellscan/notification.h"

namespace shellscan {

using notifying::Notification;
using notifying::PlainText;

namespace {

std::string Counted(std::uint64_t count, const char* one, const char* many) {
    return std::to_string(count) + (count == 1 ? one : many);
}

}  // namespace

Notification NotificationOf(const RunSummary& summary, std::string_view subject,
                            std::string_view problem) {
    if (!problem.empty()) {
        return {"The scan failed", PlainText(problem), true};
    }
    const std::string where = subject.empty() ? "" : " in " + PlainText(subject);
    const std::string unread =
        summary.unread == 0
            ? ""
            : " " + Counted(summary.unread, " file was", " files were") + " not read.";
    if (summary.infected != 0) {
        return {
            "Viruses were found",
            Counted(summary.infected, " infected file was found", " infected files were found") +
                where + "." + unread,
            true};
    }
    return {
        "No virus was found",
        Counted(summary.scanned, " file was scanned", " files were scanned") + where + "." + unread,
        false};
}

}  // namespace shellscan
