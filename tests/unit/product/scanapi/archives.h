#pragma once

#include <string>
#include <string_view>
#include <vector>

// Archives written by hand, so that the tests need no archiver and can write hostile ones.

namespace archives {

struct Member {
    std::string name;
    std::string content;
    bool encrypted = false;  ///< marked as such; what is stored is then no readable text
    int method = 0;          ///< how a zip file says it is packed; it is stored all the same
};

/// The harmless file that every scanner reports, put together here so that none reports us.
std::string Eicar();

/// A zip file with stored members.
std::string Zip(const std::vector<Member>& members);

/// A zip file whose one member is `size` zero bytes, deflated.
std::string ZipOfZeros(std::string_view name, std::size_t size);

/// An uncompressed tape archive.
std::string Tar(const std::vector<Member>& members);

/// A gzip stream.
std::string Gzip(std::string_view content);

}  // namespace archives
