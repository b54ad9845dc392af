#include "product/scanning/layer_reader.h"

#include <algorithm>
#include <vector>

#include "product/scanning/container_reader.h"
#include "product/scanning/gzip_streams.h"
#include "product/scanning/layer_check.h"
#include "product/scanning/scan_profile.h"
#include "product/scanning/unread_reasons.h"
#include "product/scanning/zip_directory.h"

namespace scanning {

namespace {

bool Tell(const LayerNews& news, std::string_view problem) {
    if (!problem.empty()) {
        news.unread(problem);
    }
    return problem.empty();
}

bool UnpackStream(ContainerKind kind, std::span<const std::byte> bytes, const LayerNews& news) {
    std::vector<std::byte> contents;
    const auto problem = ReadStream(kind, bytes, news.room, &contents);
    news.scan({}, contents);
    return Tell(news, problem);
}

// libclamav takes damaged contents for the end.
bool CheckGzip(std::span<const std::byte> bytes, bool thorough, const LayerNews& news) {
    std::size_t room = std::min(news.room, static_cast<std::size_t>(kMaxFileSize));
    const std::size_t before = room;
    const GzipStreams streams = ReadGzip(bytes, room, nullptr);
    news.room -= before - room;
    const bool handsOver = streams.count > 1 || thorough;
    if (handsOver) {
        std::vector<std::byte> contents;
        std::size_t once = before;
        ReadGzip(bytes, once, &contents);
        news.scan({}, contents);
    }
    return Tell(news, streams.problem) && handsOver;
}

bool CheckStream(ContainerKind kind, std::span<const std::byte> bytes, bool thorough,
                 const LayerNews& news) {
    if (kind == ContainerKind::Gzip) {
        return CheckGzip(bytes, thorough, news);
    }
    if (thorough || MayHaveFurtherStreams(kind, bytes)) {
        return UnpackStream(kind, bytes, news);
    }
    Tell(news, ReadStream(kind, bytes, news.room, nullptr));
    return false;
}

bool Expect(const LayerNews& news, const Listing& listing) {
    news.expect(listing.members, listing.bytes);
    return Tell(news, listing.problem);
}

bool HandOverMembers(ContainerKind kind, std::span<const std::byte> bytes, const LayerNews& news) {
    return Tell(news, ReadMembers(kind, bytes, news.room, news.scan));
}

}  // namespace

bool LookInside(ContainerKind kind, std::span<const std::byte> bytes, bool thorough,
                const LayerNews& news) {
    if (kind == ContainerKind::None) {
        return false;
    }
    if (kind == ContainerKind::NoReader) {
        return Tell(news, kHasNoReader);
    }
    if (IsForeignStream(kind)) {
        return UnpackStream(kind, bytes, news);
    }
    if (IsKnownStream(kind)) {
        return CheckStream(kind, bytes, thorough, news);
    }
    if (kind == ContainerKind::Ar || kind == ContainerKind::Rar) {
        return HandOverMembers(kind, bytes, news);
    }
    if (kind == ContainerKind::Arj) {
        Expect(news, ListArj(TextOf(bytes)));
        return false;
    }
    const auto problem =
        kind == ContainerKind::Zip ? CheckZip(TextOf(bytes)) : CheckLength(kind, TextOf(bytes));
    if (!Tell(news, problem)) {
        return false;
    }
    const bool isListed = kind == ContainerKind::Zip || IsListedByBoth(kind);
    if (thorough && isListed) {
        return HandOverMembers(kind, bytes, news);
    }
    if (IsListedByBoth(kind)) {
        Expect(news, ListMembers(kind, bytes));
    }
    return false;
}

}  // namespace scanning
