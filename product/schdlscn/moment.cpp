#include "product/schdlscn/moment.h"

#include <ctime>
#include <fcntl.h>

#include "common/io.h"
#include "common/regular_file.h"

namespace schdlscn {

namespace {

constexpr std::size_t kMostBytes = std::size_t{256} * 1024;
constexpr char kZoneFile[] = "/etc/localtime";
constexpr char kBootFile[] = "/proc/sys/kernel/random/boot_id";

std::string ReadAll(const char* path) {
    const common::FileDescriptor file =
        common::OpenRegularFile(path, O_RDONLY, common::Links::kFollow);
    std::string bytes(kMostBytes, '\0');
    const std::ptrdiff_t size =
        file ? common::ReadFull(file.Get(), std::as_writable_bytes(std::span(bytes))) : 0;
    bytes.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    return bytes;
}

std::chrono::seconds SecondsOf(clockid_t clock) {
    timespec time{};
    ::clock_gettime(clock, &time);
    return std::chrono::seconds(time.tv_sec);
}

}  // namespace

std::chrono::local_days Moment::Day() const {
    return std::chrono::floor<std::chrono::days>(zone.LocalOf(now));
}

Settled Moment::AllSettled() const {
    return {.until = now.time_since_epoch().count(),
            .day = std::nullopt,
            .boot = boot,
            .inBoot = sinceBoot.count()};
}

timetable::Zone ReadZone(const std::string& path) {
    return timetable::Zone::FromFile(ReadAll(path.c_str())).value_or(timetable::Zone());
}

Moment ReadMoment() {
    Moment moment;
    moment.now = std::chrono::sys_seconds(SecondsOf(CLOCK_REALTIME));
    moment.sinceBoot = SecondsOf(CLOCK_BOOTTIME);
    moment.asleep = moment.sinceBoot - SecondsOf(CLOCK_MONOTONIC);
    moment.boot = ReadAll(kBootFile);
    moment.boot.resize(std::min(moment.boot.size(), moment.boot.find('\n')));
    moment.zone = ReadZone(kZoneFile);
    return moment;
}

}  // namespace schdlscn
