#pragma once

#include <cstddef>
#include <span>
#include <string_view>

namespace scanning {

/// What a layer is by its own bytes, as far as it matters who reads it and how that is checked.
enum class ContainerKind {
    None,
    // One stream of compressed bytes.
    Gzip,
    Bzip2,
    Xz,
    Lzma,
    Lzip,
    Compress,
    Zstd,
    Lz4,
    Rpm,  ///< a compressed stream behind a head
    // Members with names.
    Ar,
    Rar,
    SevenZip,
    Zip,
    Tar,
    Cab,
    Cpio,
    Lha,
    Xar,
    Arj,
    // Read by libclamav; whether they are whole is seen from a size that they state.
    Iso,
    Chm,
    Pdf,
    NoReader,  ///< nothing here opens it
};

/// By the first bytes, which costs next to nothing.
ContainerKind KindOfContainer(std::span<const std::byte> bytes);

/// A stream that libclamav does not unpack.
bool IsForeignStream(ContainerKind kind);
/// A stream that libclamav unpacks, the first part of it at least.
bool IsKnownStream(ContainerKind kind);
/// An archive whose members libclamav reads and libarchive lists.
bool IsListedByBoth(ContainerKind kind);

std::string_view TextOf(std::span<const std::byte> bytes);

}  // namespace scanning
