#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "common/regular_file.h"

// The files of the help viewer: ".history" and ".bookmarks", each a list of paths as the toolkit
// streams a list of texts. All numbers have their most significant byte first.
//
//   offset 0    u32   how many texts follow
//   each text   u32   its length in bytes, 0xFFFFFFFF for a null text
//               ...   that many bytes, two for each unit of UTF-16
//
// Any thread.

namespace help {

/// Paths of pages, in UTF-16 as the file has them.
using PageList = std::vector<std::u16string>;

/// What a longer file holds is no list of pages.
inline constexpr std::size_t kMaxPageListSize = std::size_t{1} << 20U;  // bytes

/// The list that stands at the start of `bytes`; what follows it is not looked at. A null text is
/// an empty one. Nothing when the list is cut off or announces more than there is. Takes no more
/// memory than a few times the size of `bytes`, whatever they announce.
std::optional<PageList> ParsePageList(std::span<const std::byte> bytes);

/// The bytes of a list.
std::string PageListBytes(const PageList& pages);

/// The list in an open file, read from its present place on. Empty for one that is damaged, cannot
/// be read or is longer than kMaxPageListSize.
PageList ReadPageList(int fd);

/// The list in the file `path`, opened as OpenRegularFile does. Empty as well where it does not.
PageList LoadPageList(const char* path, common::Links links);

/// Makes the list that of an option file (common/option_file.h), which is made, and opened to
/// everybody, where it is missing. The file holds what it held when there is no room for the list.
/// False when the list is not in the file at the end, as when it is longer than kMaxPageListSize;
/// nothing is written when it is there already.
bool SavePageList(const char* path, const PageList& pages);

}  // namespace help
